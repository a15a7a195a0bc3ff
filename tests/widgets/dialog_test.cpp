#include "widgets/dialog.h"

#include <gtest/gtest.h>

#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QWheelEvent>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "platform/post_command.h"
#include "widgets/number_spin.h"
#include "widgets/spin_scroll_edit.h"

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
    return handles;
  }
  bool handles = true;
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

/// A control of every kind: how the user works it, the commands that this raises, and how a program changes it.
struct KindCase {
  const char* why;
  std::function<QWidget*(Form&)> make;
  std::function<void(QWidget*)> change;  // by the program
  std::function<void(QWidget*)> use;     // by the user
  Gots want;
};

template <class T>
std::function<QWidget*(Form&)> make(std::function<void(T&)> fill = [](T&) {}) {
  return [fill](Form& form) {
    T* control = form.add<T>(7);
    fill(*control);
    return control;
  };
}
template <class T>
std::function<void(QWidget*)> on(std::function<void(T&)> act) {
  return [act](QWidget* control) { act(dynamic_cast<T&>(*control)); };
}

void fillList(QListWidget& list) {
  list.addItems({"one", "two", "three"});
  for (int row = 0; row < list.count(); ++row) list.item(row)->setCheckState(Qt::Unchecked);
  list.setCurrentRow(0);
}

void typeInto(QWidget& field, const char* text) {
  field.findChild<QLineEdit*>()->selectAll();
  QTest::keyClicks(field.findChild<QLineEdit*>(), text);
}

std::vector<KindCase> choiceCases() {
  return {
      {"button",
       make<QCheckBox>(),
       on<QCheckBox>([](auto& c) { c.setChecked(true); }),
       on<QCheckBox>([](auto& c) { c.click(); }),
       {{7, kCodeClicked, 0}}},
      {"check group",
       make<QGroupBox>([](auto& c) { c.setCheckable(true); }),
       on<QGroupBox>([](auto& c) { c.setChecked(true); }),
       on<QGroupBox>([](auto& c) { press(&c, Qt::Key_Space); }),
       {{7, kCodeClicked, 0}}},
      {"combo box",
       make<QComboBox>([](auto& c) {
         c.addItems({"one", "two", "three"});
       }),
       on<QComboBox>([](auto& c) { c.setCurrentIndex(1); }),
       on<QComboBox>([](auto& c) { press(&c, Qt::Key_Down); }),
       {{7, kCodeAccepted, 2}, {7, kCodeSelected, 2}}},
      {"combo box's text",
       make<QComboBox>([](auto& c) { c.setEditable(true); }),
       on<QComboBox>([](auto& c) { c.setEditText("x"); }),
       on<QComboBox>([](auto& c) { press(c.lineEdit(), Qt::Key_Y, "y"); }),
       {{7, kCodeComboEdited, 0}}},
      {"list's entry",
       make<QListWidget>(fillList),
       on<QListWidget>([](auto& c) { CDialog::setListRow(&c, 1); }),
       on<QListWidget>([](auto& c) { press(&c, Qt::Key_Down); }),
       {{7, kCodeSelected, 2}}},
      {"list's check",
       make<QListWidget>(fillList),
       on<QListWidget>([](auto& c) { CDialog::setListCheck(&c, 0, true); }),
       on<QListWidget>([](auto& c) { press(&c, Qt::Key_Space, " "); }),
       {{7, kCodeClicked, 0}}},
      {"tab bar",
       make<QTabBar>([](auto& c) { c.addTab("one"), c.addTab("two"), c.addTab("three"); }),
       on<QTabBar>([](auto& c) { CDialog::setTab(&c, 1); }),
       on<QTabBar>([](auto& c) { press(&c, Qt::Key_Right); }),
       {{7, kCodeSelected, 2}}},
      {"slider",
       make<QSlider>(),
       on<QSlider>([](auto& c) { c.setValue(3); }),
       on<QSlider>([](auto& c) { c.triggerAction(QAbstractSlider::SliderSingleStepAdd); }),
       {{7, kCodeScrolled, 4}}},
      {"label", make<QLabel>(), on<QLabel>([](auto& c) { c.setText("x"); }), [](QWidget*) {}, {}},
  };
}

std::vector<KindCase> fieldCases() {
  const auto setUp = [](CSpinScrollEdit& c) { c.SetUp(nullptr, 0, 10, 0, 255); };
  return {
      {"edit field",
       make<QLineEdit>(),
       on<QLineEdit>([](auto& c) { c.setText("x"); }),
       on<QLineEdit>([](auto& c) { press(&c, Qt::Key_Z, "z"); }),
       {{7, kCodeEdited, 0}}},
      {"plain text",
       make<QPlainTextEdit>(),
       on<QPlainTextEdit>([](auto& c) { CDialog::setText(&c, "x"); }),
       on<QPlainTextEdit>([](auto& c) { press(&c, Qt::Key_Z, "z"); }),
       {{7, kCodeEdited, 0}}},
      {"spin box",
       make<QSpinBox>(),
       on<QSpinBox>([](auto& c) { CDialog::setSpinValue(&c, 4); }),
       on<QSpinBox>([](auto& c) { c.stepUp(); }),
       {{7, kCodeEdited, 5}}},
      {"double spin box",
       make<QDoubleSpinBox>(),
       on<QDoubleSpinBox>([](auto& c) { CDialog::setSpinValue(&c, 4.5); }),
       on<QDoubleSpinBox>([](auto& c) { c.stepUp(); }),
       {{7, kCodeEdited, 0}}},
      {"number field",
       make<NumberSpin>(),
       on<NumberSpin>([](auto& c) { c.setValue(4); }),
       on<NumberSpin>([](auto& c) { c.stepUp(); }),
       {{7, kCodeEdited, 0}}},
      {"slider edit, its slider",
       make<CSpinScrollEdit>(setUp),
       on<CSpinScrollEdit>([](auto& c) { c.setValue(12.5); }),
       on<CSpinScrollEdit>([](auto& c) { c.slider()->triggerAction(QAbstractSlider::SliderSingleStepAdd); }),
       {{7, kCodeEdited, 0}}},
      {"slider edit, its field",
       make<CSpinScrollEdit>(setUp),
       on<CSpinScrollEdit>([](auto& c) { c.setValue(12.5); }),
       on<CSpinScrollEdit>([](auto& c) { typeInto(c, "9"); }),
       {{7, kCodeEdited, 0}}},
  };
}

TEST(Dialog, OnlyTheUserRaisesCommands) {
  std::vector<KindCase> cases = choiceCases();
  for (KindCase& c : fieldCases()) cases.push_back(std::move(c));
  for (const KindCase& c : cases) {
    SCOPED_TRACE(c.why);
    Form form;
    QWidget* control = c.make(form);
    form.attachControls();
    EXPECT_EQ(form.GetDlgItem(7), control);
    EXPECT_TRUE(CDialog::knows(*control));
    c.change(control);
    EXPECT_EQ(form.take(), Gots{}) << "set by the program";
    c.use(control);
    EXPECT_EQ(form.take(), c.want);
  }
  EXPECT_FALSE(CDialog::knows(QCalendarWidget()));
}

TEST(Dialog, ToolsAndNestedDialogsHaveTheirOwnNumbers) {
  Form outer;
  auto* inner = new Form;
  inner->setParent(&outer);
  auto* box = inner->add<QCheckBox>(70);
  auto* bar = new QToolBar(&outer);
  bar->addAction("numbered")->setProperty("controlId", 107);
  bar->addAction("none");
  outer.attachControls();
  inner->attachControls();
  box->click();
  for (QAction* action : bar->actions()) action->trigger();
  EXPECT_EQ(inner->take(), (Gots{{70, kCodeClicked, 1}}));
  EXPECT_EQ(outer.take(), (Gots{{107, kCodeClicked, 0}})) << "nothing of the dialog inside";
  EXPECT_EQ(outer.GetDlgItem(70), nullptr);
  ASSERT_TRUE(outer.tool(107));
  delete bar;
  EXPECT_EQ(outer.tool(107), nullptr);
}

TEST(Dialog, TheWheelChangesNothingThatIsMerelyUnderThePointer) {
  Form form;
  auto* list = form.add<QComboBox>(1);
  auto* slider = form.add<QSlider>(2);
  auto* spin = form.add<QDoubleSpinBox>(3);
  auto* both = form.add<CSpinScrollEdit>(4);
  auto* tabs = form.add<QTabBar>(5);
  list->addItems({"one", "two"});
  tabs->addTab("one"), tabs->addTab("two");
  both->SetUp(nullptr, 0, 5, 0, 10);
  slider->setValue(5);
  form.attachControls();
  QWheelEvent wheel({5, 5}, {5, 5}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  for (QWidget* control : {static_cast<QWidget*>(list), static_cast<QWidget*>(slider), static_cast<QWidget*>(spin),
                           static_cast<QWidget*>(both->slider()), static_cast<QWidget*>(tabs)}) {
    QCoreApplication::sendEvent(control, &wheel);
    EXPECT_EQ(control->focusPolicy() & Qt::WheelFocus & ~Qt::StrongFocus, 0);
  }
  EXPECT_EQ(list->currentIndex() + tabs->currentIndex(), 0);
  EXPECT_EQ(slider->value(), 5);
  EXPECT_EQ(both->value(), 5);
  EXPECT_EQ(form.take(), Gots{});
}

TEST(Dialog, AModalDialogEndsInEveryWay) {
  struct Case {
    const char* why;
    std::function<void(Form*, QWidget*)> act;
    int want;
    bool lives;
  };
  const Case cases[] = {
      {"ended", [](Form* d, QWidget*) { d->EndDialog(12); }, 12, true},
      {"closed", [](Form* d, QWidget*) { d->close(); }, kAnswerCancel, true},
      {"Esc", [](Form* d, QWidget*) { press(d, Qt::Key_Escape); }, kAnswerCancel, true},
      {"Return", [](Form* d, QWidget*) { press(d, Qt::Key_Return); }, kAnswerOk, true},
      {"refused first",
       [](Form* d, QWidget*) {
         d->handles = true;
         press(d, Qt::Key_Return);
         d->handles = false;
         press(d, Qt::Key_Escape);
       },
       kAnswerCancel, true},
      {"destroyed", [](Form* d, QWidget*) { delete d; }, kAnswerCancel, false},
      {"its parent destroyed", [](Form*, QWidget* parent) { delete parent; }, kAnswerCancel, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const QPointer<QWidget> parent(new QWidget);
    const QPointer<Form> dialog(new Form);
    dialog->setParent(parent);
    dialog->handles = false;
    auto* ok = dialog->add<QPushButton>(kAnswerOk);
    ok->setDefault(true);
    dialog->attachControls();
    QTimer::singleShot(0, [&] { c.act(dialog, parent); });
    EXPECT_EQ(dialog->DoModal(), c.want);
    EXPECT_EQ(!dialog.isNull(), c.lives);
    delete parent;
  }
}

/// What becomes of a text in a number field when its edit ends.
TEST(NumberField, TextThatIsNoNumberRestoresTheValueBefore) {
  struct Case {
    const char* text;
    double want;
    bool noted;
  };
  const Case cases[] = {{"7", 7, false},   {" -3 ", -3, false}, {"", 0, false},     {"+5", 5, false},
                        {"+-5", 12, true}, {"1e999", 12, true}, {"nan", 12, true},  {"inf", 12, true},
                        {"4 5", 12, true}, {"0x10", 12, true},  {"1e1", 10, false}, {"999", 100, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    NumberSpin field;
    QString note;
    QObject::connect(&field, &UnitSpin::noted, [&](const QString& why) { note = why; });
    field.setLimits(-100, 100);
    field.setValue(12);
    auto* edit = field.findChild<QLineEdit*>();
    edit->setText(c.text);
    Q_EMIT edit->textEdited(c.text);
    field.finishEdit();
    EXPECT_EQ(field.value(), c.want);
    EXPECT_EQ(!note.isEmpty(), c.noted) << note.toStdString();
  }
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
