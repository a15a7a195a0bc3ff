#include "widgets/dialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QWheelEvent>
#include <memory>
#include <thread>
#include <vector>

#include "platform/post_command.h"

namespace quillbay {
namespace {

struct Got {
  int id, code;
  std::int64_t value;
  bool operator==(const Got&) const = default;
};

void PrintTo(const Got& got, std::ostream* out) {
  *out << "(" << got.id << ", " << got.code << ", " << got.value << ")";
}

class Form : public CDialog {
 public:
  template <class T>
  T* add(int id) {
    auto* control = new T(this);
    control->setProperty("controlId", id);
    return control;
  }
  using CDialog::attachControls;
  bool OnCommand(int id, int code, std::int64_t value) override {
    got.push_back({id, code, value});
    if (id == 99) PostCommand(this, 98, 0, 0, true);
    return true;
  }
  std::vector<Got> take() {
    for (int round = 0; round < 3; ++round) QCoreApplication::processEvents();  // what a handler posts comes later
    return std::exchange(got, {});
  }
  std::vector<Got> got;
};

using Gots = std::vector<Got>;

void press(QWidget* control, int key, const QString& text = {}) {
  QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, text), up(QEvent::KeyRelease, key, Qt::NoModifier, text);
  QCoreApplication::sendEvent(control, &down);
  QCoreApplication::sendEvent(control, &up);
}

TEST(Dialog, OnlyThePersonRaisesCommands) {
  Form form;
  auto* box = form.add<QCheckBox>(70);
  auto* list = form.add<QComboBox>(52);
  auto* text = form.add<QComboBox>(53);
  auto* edit = form.add<QLineEdit>(54);
  auto* slider = form.add<QSlider>(55);
  auto* spin = form.add<QSpinBox>(56);
  text->setEditable(true);
  list->addItems({"one", "two", "three"});
  form.attachControls();
  EXPECT_EQ(form.GetDlgItem(52), list);
  EXPECT_EQ(form.GetDlgItem(1), nullptr);

  box->setChecked(true);
  list->setCurrentIndex(1);
  text->setEditText("x");
  edit->setText("x");
  slider->setValue(3);
  CDialog::setSpinValue(spin, 4);
  EXPECT_EQ(form.take(), Gots{}) << "set by the program";

  box->click();
  press(list, Qt::Key_Down);
  press(text->lineEdit(), Qt::Key_Y, "y");
  press(edit, Qt::Key_Z, "z");
  slider->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  spin->stepUp();
  EXPECT_EQ(form.take(), (Gots{{70, kCodeClicked, 0},
                               {52, kCodeAccepted, 2},
                               {52, kCodeSelected, 2},
                               {53, kCodeComboEdited, 0},
                               {54, kCodeEdited, 0},
                               {55, kCodeScrolled, 4},
                               {56, kCodeEdited, 5}}));
}

TEST(Dialog, TheWheelChangesNothingThatIsMerelyUnderThePointer) {
  Form form;
  auto* list = form.add<QComboBox>(52);
  list->addItems({"one", "two"});
  form.attachControls();
  QWheelEvent wheel({5, 5}, {5, 5}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(list, &wheel);
  EXPECT_EQ(list->currentIndex(), 0);
}

TEST(PostCommand, KeepsOrderAndMergesWhatWaits) {
  Form form;
  PostCommand(&form, 6499, 1, 7);
  PostCommand(&form, 6502, 1, 0);
  PostCommand(&form, 6499, 2, 0, true);
  PostCommand(&form, 6499, 3, 0, false);
  EXPECT_TRUE(form.got.empty()) << "posted, never sent";
  EXPECT_EQ(form.take(), (Gots{{6499, 1, 7}, {6502, 1, 0}, {6499, 3, 0}}));
  PostCommand(&form, 6499, 4, 0, true);
  EXPECT_EQ(form.take(), (Gots{{6499, 4, 0}})) << "what was delivered waits no longer";
  PostCommand(&form, 98, 0, 0, true);
  PostCommand(&form, 99, 0, 0, true);
  EXPECT_EQ(form.take(), (Gots{{98, 0, 0}, {99, 0, 0}, {98, 0, 0}})) << "a handler may post the number again";
}

TEST(PostCommand, AThreadMayPostWhileTheDialogGoes) {
  for (int round = 0; round < 50; ++round) {
    auto form = std::make_unique<Form>();
    QObject* volatile address = form.get();  // volatile: to use it after its time is the point here
    std::thread poster([address] {
      for (int i = 0; i < 200; ++i) PostCommand(address, i % 3, 0, i, i % 2 == 0);
    });
    QCoreApplication::processEvents();
    form.reset();
    poster.join();
    PostCommand(address, 1);
    QCoreApplication::processEvents();
  }
}

}  // namespace
}  // namespace quillbay
