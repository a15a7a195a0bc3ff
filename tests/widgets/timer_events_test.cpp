#include "widgets/timer_events.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <functional>

#include "manual_ticks.h"
#include "quillbay/host_services.h"

namespace quillbay {
namespace {

constexpr int kPeriodMs = 500;

/// A host whose messages are windows; what a user and the time do meanwhile is a function.
class WindowHost final : public CKxUnknownImpl<IEvents> {
 public:
  std::function<void(QDialog&)> during;
  std::vector<std::string> notes;
  bool marks = true, hasDefault = true;

  int Note(const char*, const char* text) override {
    notes.emplace_back(text);
    return 1;
  }
  int Subject(const char*, const char*) override { return 1; }
  int Finished(int) override { return 1; }
  int Event(int, const char* detail, int buttons) override { return Message(0, detail, 0, buttons); }
  int Message(int, const char* text, int, int) override {
    QDialog window;
    window.setWindowTitle(text);
    window.setModal(true);
    if (marks) window.setProperty(kMessageWindowMark, true);
    auto* column = new QVBoxLayout(&window);
    for (const char* name : {"Yes", "No"}) {
      auto* button = new QPushButton(name, &window);
      button->setObjectName(name);
      button->setAutoDefault(false);
      button->setDefault(hasDefault && std::string(name) == "No");
      column->addWidget(button);
      QObject::connect(button, &QPushButton::clicked, &window, [&window] { window.done(2); });
    }
    window.show();
    const auto now = during;  // which may set another one for a message over this one
    now(window);
    return window.result();
  }
  int AskText(const char*, int, std::string*) override { return 0; }
};

struct World {
  KxPtr<WindowHost> host = KxPtr<WindowHost>::adopt(new WindowHost);
  AnswerSettings settings{true, 5};
  ManualTicks* ticks = nullptr;
  KxPtr<CTimerEvents> events;
  World() {
    auto source = std::make_unique<ManualTicks>();
    ticks = source.get();
    events = KxPtr<CTimerEvents>::adopt(new CTimerEvents(
        KxPtr<IEvents>::share(host.get()), "Product", [this] { return settings; }, std::move(source)));
  }
  /// The window's title after each of some periods; "answered" ends them.
  std::string titles(QDialog& window, int periods) {
    std::string all;
    for (int i = 0; i < periods; ++i) {
      ticks->pass(kPeriodMs);
      const std::string title = window.windowTitle().toStdString();
      QCoreApplication::processEvents();
      all += (all.empty() ? "" : "|") + title;
      if (window.result() != 0) return all + "|answered";
    }
    return all;
  }
};

TEST(AutomaticAnswer, CountsDownInTheTitleAndPressesTheDefaultButton) {
  struct Case {
    const char* why;
    AnswerSettings settings;
    int periods;
    const char* want;
    int answer;
  };
  const Case cases[] = {
      {"from 5 to 0", {true, 5}, 20, "M (5)|M (4)|M (3)|M (2)|M (1)|M (0)|answered", 2},
      {"not yet", {true, 5}, 3, "M (5)|M (4)|M (3)", 0},
      {"at once", {true, 0}, 20, "M (0)|answered", 2},
      {"switched off", {false, 5}, 3, "M|M|M", 0},
      {"no delay that counts", {true, -1}, 2, "M|M", 0},
  };
  for (const Case& c : cases) {
    World w;
    w.settings = c.settings;
    std::string got;
    w.host->during = [&](QDialog& window) { got = w.titles(window, c.periods); };
    EXPECT_EQ(w.events->Message(14, "M", 0, 1), c.answer) << c.why;
    EXPECT_EQ(got, c.want) << c.why;
    EXPECT_EQ(w.host->notes.size(), c.answer ? 1U : 0U) << c.why << ": an answer nobody gave is in the log";
    EXPECT_FALSE(w.ticks->runs()) << c.why;
  }
}

TEST(AutomaticAnswer, AUserStopsIt) {
  const std::pair<const char*, std::function<void(QDialog&)>> touches[] = {
      {"key", [](QDialog& w) { QTest::keyClick(&w, Qt::Key_Shift); }},
      {"key of a control", [](QDialog& w) { QTest::keyClick(w.findChild<QPushButton*>("No"), Qt::Key_Tab); }},
      {"mouse", [](QDialog& w) { QTest::mousePress(&w, Qt::LeftButton, {}, QPoint(1, 1)); }},
      {"wheel",
       [](QDialog& w) {
         QWheelEvent turn({1, 1}, {1, 1}, {}, {0, -120}, Qt::NoButton, {}, Qt::NoScrollPhase, false);
         QCoreApplication::sendEvent(w.findChild<QPushButton*>("Yes"), &turn);
       }},
  };
  for (const int before : {2, 0}) {  // counts; 0: before the first one
    for (const auto& [why, touch] : touches) {
      World w;
      std::string got;
      w.host->during = [&, act = touch](QDialog& window) {
        got = w.titles(window, before);
        act(window);
        got += "|" + w.titles(window, 4);
      };
      EXPECT_EQ(w.events->Event(9, "M", 1), 0) << why;
      EXPECT_EQ(got, before ? "M (5)|M (4)|M|M|M|M" : "|M|M|M|M") << why;
    }
  }
}

TEST(AutomaticAnswer, OnlyAUserAnswersWhatCanCostWork) {
  World w;
  std::string got, lower;
  const auto showInner = [&](QDialog& window) { got = w.titles(window, 9); };
  EXPECT_EQ((w.host->during = showInner, w.events->Message(14, "Discard?", kMessageForUser, 1)), 0);
  EXPECT_EQ(got, "Discard?|Discard?|Discard?|Discard?|Discard?|Discard?|Discard?|Discard?|Discard?");
  // Over a message that is answered, before its first count: that one waits, and presses nothing here.
  w.host->during = [&](QDialog& window) {
    w.host->during = showInner;
    EXPECT_EQ(w.events->Message(14, "Discard?", kMessageForUser, 1), 0);
    EXPECT_EQ(w.events->Event(kEventNextDocument, "Discard?", 2), 0);
    lower = w.titles(window, 1);
  };
  w.events->Message(14, "M", 0, 1);
  EXPECT_EQ(got, "Discard?|Discard?|Discard?|Discard?|Discard?|Discard?|Discard?|Discard?|Discard?");
  EXPECT_EQ(lower, "M (5)");
}

TEST(AutomaticAnswer, NestedMessagesCountForThemselves) {
  World w;
  std::string outer, inner;
  const auto showInner = [&](QDialog& window) { inner = w.titles(window, 20); };
  w.host->during = [&](QDialog& window) {
    outer = w.titles(window, 3);
    w.host->during = showInner;
    EXPECT_EQ(w.events->Message(14, "in", 0, 1), 2);
    outer += "|" + w.titles(window, 20);
  };
  EXPECT_EQ(w.events->Message(14, "out", 0, 1), 2);
  EXPECT_EQ(inner, "in (5)|in (4)|in (3)|in (2)|in (1)|in (0)|answered");
  EXPECT_EQ(outer, "out (5)|out (4)|out (3)|out (2)|out (1)|out (0)|answered");
}

TEST(AutomaticAnswer, StopsInOneMessageNotInTheOther) {
  World w;
  std::string outer;
  w.host->during = [&](QDialog& window) {
    outer = w.titles(window, 1);
    w.host->during = [&](QDialog& in) {
      w.titles(in, 1);
      QTest::keyClick(&in, Qt::Key_Shift);
      EXPECT_EQ(w.titles(in, 9), "in|in|in|in|in|in|in|in|in");
    };
    EXPECT_EQ(w.events->Message(14, "in", 0, 1), 0);
    outer += "|" + w.titles(window, 2);
  };
  w.events->Message(14, "out", 0, 1);
  EXPECT_EQ(outer, "out (5)|out (4)|out (3)");
}

TEST(AutomaticAnswer, OnlyOfWindowsThatItMayAnswer) {
  struct Case {
    const char* why;
    bool marked, hasDefault;
    int event;
    const char* title;
    const char* want;
  };
  const Case cases[] = {
      {"no mark", false, true, 9, "M", "M|M|M"},
      {"no default button", true, false, 9, "M", "M|M|M"},
      {"the next document", true, true, kEventNextDocument, "M", "M|M|M"},
      {"no title", true, true, 9, "", "Product (5)|Product (4)|Product (3)"},
  };
  for (const Case& c : cases) {
    World w;
    w.host->marks = c.marked;
    w.host->hasDefault = c.hasDefault;
    std::string got;
    w.host->during = [&](QDialog& window) { got = w.titles(window, 3); };
    w.events->Event(c.event, c.title, 1);
    EXPECT_EQ(got, c.want) << c.why;
  }
}

TEST(AutomaticAnswer, CountsOnlyWhileAMessageIsTheUppermostWindow) {
  World w;
  std::string got;
  w.host->during = [&](QDialog& window) {
    got = w.titles(window, 1);
    QDialog other;
    other.setModal(true);
    other.show();
    got += "|" + w.titles(window, 2);
    other.hide();
    window.hide();  // closed early: nothing to press
    w.ticks->pass(20 * kPeriodMs);
    QCoreApplication::processEvents();
  };
  EXPECT_EQ(w.events->Message(14, "M", 0, 1), 0);
  EXPECT_EQ(got, "M (5)|M (5)|M (5)");
}

/// An application with a registry for one object.
class RegistryApp final : public CKxUnknownImpl<IApp, IInterfaceRegistry> {
 public:
  std::string GetProductName() override { return "Product 1"; }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (wanted == typeid(IEvents)) return (registered ? registered : own)->QueryInterface(wanted, out);
    return CKxUnknownImpl::QueryInterface(wanted, out);
  }
  int Register(const std::type_info&, IKxUnknown* object) override {
    registered = KxPtr<IKxUnknown>::share(object);
    return 1;
  }
  int Withdraw(const std::type_info&, IKxUnknown* object) override {
    if (registered.get() != object) return 0;
    registered = nullptr;
    return 1;
  }
  KxPtr<IKxUnknown> own = KxPtr<IKxUnknown>::adopt(static_cast<IEvents*>(new WindowHost)), registered;
};

TEST(AutomaticAnswer, PanelsShareOneRegistrationForAsLongAsOneOfThemLives) {
  const auto app = KxPtr<RegistryApp>::adopt(new RegistryApp);
  const auto settings = [] { return AnswerSettings{}; };
  const auto first = CTimerEvents::enter(app.get(), settings);
  const auto second = CTimerEvents::enter(app.get(), settings);
  EXPECT_EQ(first.get(), second.get()) << "a message counts down once";
  EXPECT_TRUE(query<IEvents>(app.get()).as<CTimerEvents>());
  first->leave();
  EXPECT_TRUE(app->registered);
  second->leave();
  EXPECT_FALSE(app->registered);
  EXPECT_FALSE(query<IEvents>(app.get()).as<CTimerEvents>());
}

TEST(AutomaticAnswer, AMessageThatThrowsLeavesNothingBehind) {
  World w;
  w.host->during = [](QDialog&) { throw 1; };
  EXPECT_THROW(w.events->Message(14, "M", 0, 1), int);
  EXPECT_FALSE(w.ticks->runs());
}

}  // namespace
}  // namespace quillbay
