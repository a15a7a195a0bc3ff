#include "widgets/dialog.h"

#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>
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

void fillList(QListWidget& list) {
  list.addItems({"one", "two", "three"});
  for (int row = 0; row < list.count(); ++row) list.item(row)->setCheckState(Qt::Unchecked);
  list.setCurrentRow(0);
}

void typeInto(QWidget& field, const char* text) {
  field.findChild<QLineEdit*>()->selectAll();
  QTest::keyClicks(field.findChild<QLineEdit*>(), text);
}

/// A control of one kind: how it is filled, how a program changes it, how the user works it, and what that raises.
template <class T, class Fill, class Change, class Use>
void checkKind(const char* why, Fill fill, Change change, Use use, const Gots& want) {
  SCOPED_TRACE(why);
  Form form;
  T* control = form.add<T>(7);
  fill(*control);
  form.attachControls();
  EXPECT_EQ(form.GetDlgItem(7), control);
  EXPECT_TRUE(CDialog::knows(*control));
  change(*control);
  EXPECT_EQ(form.take(), Gots{}) << "set by the program";
  use(*control);
  EXPECT_EQ(form.take(), want);
}

TEST(Dialog, OnlyTheUserRaisesCommands) {
  using Spin = CSpinScrollEdit;
  const auto none = [](auto&) {};
  const auto three = [](auto& c) { c.addItems({"one", "two", "three"}); };
  const auto step = [](auto& c) { c.stepUp(); };
  const auto typeZ = [](auto& c) { press(&c, Qt::Key_Z, "z"); };
  const auto setUp = [](Spin& c) { c.SetUp(nullptr, 0, 10, 0, 255); };
  const auto add = [](QAbstractSlider& c) { c.triggerAction(QAbstractSlider::SliderSingleStepAdd); };
  const Gots clicked{{7, kCodeClicked, 0}}, edited{{7, kCodeEdited, 0}}, selected{{7, kCodeSelected, 2}};
  checkKind<QCheckBox>(
      "button", none, [](auto& c) { c.setChecked(true); }, [](auto& c) { c.click(); }, clicked);
  checkKind<QGroupBox>(
      "check group", [](auto& c) { c.setCheckable(true); }, [](auto& c) { c.setChecked(true); },
      [](auto& c) { press(&c, Qt::Key_Space); }, clicked);
  checkKind<QComboBox>(
      "combo box", three, [](auto& c) { c.setCurrentIndex(1); }, [](auto& c) { press(&c, Qt::Key_Down); },
      {{7, kCodeAccepted, 2}, {7, kCodeSelected, 2}});
  checkKind<QComboBox>(
      "combo box's text", [](auto& c) { c.setEditable(true); }, [](auto& c) { c.setEditText("x"); },
      [](auto& c) { press(c.lineEdit(), Qt::Key_Y, "y"); }, {{7, kCodeComboEdited, 0}});
  checkKind<QListWidget>(
      "list's entry", fillList, [](auto& c) { CDialog::setListRow(&c, 1); },
      [](auto& c) { press(&c, Qt::Key_Down); }, selected);
  checkKind<QListWidget>(
      "list's check", fillList, [](auto& c) { CDialog::setListCheck(&c, 0, true); },
      [](auto& c) { press(&c, Qt::Key_Space, " "); }, clicked);
  checkKind<QTabBar>(
      "tab bar", [](auto& c) { c.addTab("one"), c.addTab("two"), c.addTab("three"); },
      [](auto& c) { CDialog::setTab(&c, 1); }, [](auto& c) { press(&c, Qt::Key_Right); }, selected);
  checkKind<QSlider>("slider", none, [](auto& c) { c.setValue(3); }, add, {{7, kCodeScrolled, 4}});
  checkKind<QLabel>("label", none, [](auto& c) { c.setText("x"); }, none, {});
  checkKind<QLineEdit>(
      "edit field", none, [](auto& c) { c.setText("x"); }, typeZ, edited);
  checkKind<QPlainTextEdit>(
      "plain text", none, [](auto& c) { CDialog::setText(&c, "x"); }, typeZ, edited);
  checkKind<QSpinBox>("spin box", none, [](auto& c) { CDialog::setSpinValue(&c, 4); }, step, {{7, kCodeEdited, 5}});
  checkKind<QDoubleSpinBox>(
      "double spin box", none, [](auto& c) { CDialog::setSpinValue(&c, 4.5); }, step, edited);
  checkKind<NumberSpin>(
      "number field", none, [](auto& c) { c.setValue(4); }, step, edited);
  const auto half = [](Spin& c) { c.setValue(12.5); };
  checkKind<Spin>(
      "slider edit, its slider", setUp, half, [&](Spin& c) { add(*c.slider()); }, edited);
  checkKind<Spin>(
      "slider edit, its field", setUp, half, [](Spin& c) { typeInto(c, "9"); }, edited);
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
  const Case cases[] = {{"7", 7, false},    {" -3 ", -3, false}, {"", 0, false},    {"+5", 5, false},
                        {"9.7", 9, false},  {"-3.9", -3, false}, {"+-5", 12, true}, {"1e999", 12, true},
                        {"nan", 12, true},  {"inf", 12, true},   {"4 5", 12, true}, {"0x10", 12, true},
                        {"1e1", 10, false}, {"999", 100, true}};
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
