#include "params/shared_scan_params.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "params/scan_units.h"

namespace quillbay {
namespace {

/// A store slot needs something in it; these tests put no stripe there.
class IdleStor final : public ISStripStor {
 public:
  int IsAvailable() override { return 1; }
  int AddStripe(IScanBuffer*) override { return 1; }
  void Reset() override {}
  int Finish(IRStor**, int, int) override { return 1; }
  void Paint(IRasterDC*, const CRDirectTfm*) override {}
  void GetRect(double*) override {}
  void GetRectMM(double*) override {}
  bool IsEmpty() override { return true; }
};
KxPtr<ISStripStor> idleStore() { return KxPtr<ISStripStor>::adopt(new IdleStor); }

/// Writes down what it hears, and does something on the way.
class Listener {
 public:
  Listener(std::string name, std::vector<std::string>& log) : m_name(std::move(name)), m_log(log), m_sink(this) {}
  void listen(CSharedScanParams& params) { m_sink.Subscribe(params.connectionPoint()); }
  void leave() { m_sink.Unsubscribe(); }
  std::function<void(const std::string&)> onChanging;

 private:
  class Sink final : public TSinkImpl<IChangeParams, Listener> {
   public:
    using TSinkImpl::TSinkImpl;
    int OnParamChanging(const char* key) override {
      owner()->m_log.push_back(owner()->m_name + "1 " + key);
      if (owner()->onChanging) owner()->onChanging(key);
      return 0;
    }
    int OnParamChanged(const char* key) override {
      owner()->m_log.push_back(owner()->m_name + "2 " + key);
      return 0;
    }
  };
  std::string m_name;
  std::vector<std::string>& m_log;
  Sink m_sink;
};

class SharedScanParams : public testing::Test {
 protected:
  KxPtr<CSharedScanParams> params = CSharedScanParams::acquire(nullptr, &idleStore);
  std::vector<std::string> log;
};

TEST_F(SharedScanParams, ABroadcastHasTwoPassesInTheOrderOfSubscription) {
  Listener a("a", log), b("b", log);
  a.listen(*params);
  b.listen(*params);
  params->set(scan_key::Dpi, 300);
  EXPECT_EQ(log, (std::vector<std::string>{"a1 m_uiDPI", "b1 m_uiDPI", "a2 m_uiDPI", "b2 m_uiDPI"}));
  log.clear();
  params->setIfChanged(scan_key::Dpi, 300);
  EXPECT_TRUE(log.empty()) << "nothing changed";
}

TEST_F(SharedScanParams, AWriteWithinABroadcastIsStoredSilently) {
  Listener a("a", log);
  a.listen(*params);
  a.onChanging = [&](const std::string&) { params->set(scan_key::CurrMode, 5); };
  params->set(scan_key::Units, 0);
  EXPECT_EQ(log, (std::vector<std::string>{"a1 m_nUnits", "a2 m_nUnits"}));
  EXPECT_EQ(params->values().currMode, 5);
  EXPECT_EQ(params->NotifyParam("m_CurrMode"), 1) << "the guard is clear again";
}

TEST_F(SharedScanParams, TheGuardIsOfItsThreadAndSurvivesAThrow) {
  Listener a("a", log);
  a.listen(*params);
  {
    const NotifyGuard guard;
    EXPECT_EQ(params->NotifyParam("m_Dir"), 48);
    bool elsewhere = true;
    std::thread([&] { elsewhere = NotifyGuard::isSet(); }).join();
    EXPECT_FALSE(elsewhere);
  }
  EXPECT_TRUE(log.empty());
  a.onChanging = [](const std::string&) { throw std::runtime_error("a handler failed"); };
  EXPECT_THROW(params->set(scan_key::Mask, "plan"), std::runtime_error);
  a.onChanging = nullptr;
  log.clear();
  params->set(scan_key::Mask, "plan");
  EXPECT_EQ(log.size(), 2U);
}

TEST_F(SharedScanParams, ASubscriberThatLeftInBetweenIsSkipped) {
  Listener a("a", log), b("b", log);
  a.listen(*params);
  b.listen(*params);
  a.onChanging = [&](const std::string&) { b.leave(); };
  params->set(scan_key::Counter, 1);
  EXPECT_EQ(log, (std::vector<std::string>{"a1 m_nCounter", "a2 m_nCounter"}));
}

TEST_F(SharedScanParams, IsOneForTheProcessAndKnowsItsThread) {
  params->set(scan_key::Dpi, 1234);
  const auto again = CSharedScanParams::acquire(nullptr, &idleStore);
  EXPECT_EQ(again->values().dpi, 1234) << "a second panel sees what the first one left";
  EXPECT_TRUE(CSharedScanParams::onUserInterfaceThread());
  bool elsewhere = true;
  std::thread([&] { elsewhere = CSharedScanParams::onUserInterfaceThread(); }).join();
  EXPECT_FALSE(elsewhere);
}

TEST(SimpleUnit, FormatsByItsKind) {
  struct Case {
    int kind;
    double value;
    const char* want;
  };
  const Case cases[] = {{0, 12.5, "12"}, {0, 13.5, "14"}, {4, -2.4, "-2"}, {1, 0.5, "0.500000"}, {2, 7, ""}};
  for (const Case& c : cases) {
    char text[32] = "?";
    CSimpleUnit* unit = new CSimpleUnit(c.kind);
    const auto held = KxPtr<CSimpleUnit>::adopt(unit);
    EXPECT_EQ(unit->FormatValue(c.value, text, sizeof text), 32);
    EXPECT_STREQ(text, c.want) << "kind " << c.kind << " value " << c.value;
  }
  const auto unit = KxPtr<CSimpleUnit>::adopt(new CSimpleUnit(1));
  char text[64];
  std::memset(text, 'x', sizeof text);
  unit->FormatValue(-1e40, text, sizeof text);
  EXPECT_EQ(std::strlen(text), 31U) << "never more than 31 characters";
}

TEST(SimpleUnit, ParsesPairs) {
  struct Case {
    const char* text;
    int answer;
    double first, second;
  };
  const Case cases[] = {
      {"3, 4.5", 1, 3, 4.5}, {"12,", 1, 12, 0}, {",5", 1, 0, -1}, {"7", 0, -1, -1}, {"x, +2", 1, 0, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const auto unit = KxPtr<CSimpleUnit>::adopt(new CSimpleUnit(0));
    double values[2] = {-1, -1};
    EXPECT_EQ(unit->ParsePair(c.text, values), c.answer);
    EXPECT_EQ(values[0], c.first);
    EXPECT_EQ(values[1], c.second);
  }
}

TEST(SimpleUnit, ParsesLeadingDecimalNumbers) {
  const std::pair<const char*, double> cases[] = {{"12.7", 12.7}, {" +2x", 2},  {"-3 mm", -3},
                                                  {"+-5", 0},     {"1e999", 0}, {"nan", 0},
                                                  {"inf", 0},     {"", 0},      {".5", 0.5}};
  for (const auto& [text, want] : cases) {
    const auto unit = KxPtr<CSimpleUnit>::adopt(new CSimpleUnit(0));
    double value = -1;
    EXPECT_EQ(unit->ParseValue(text, &value), 1) << text;
    EXPECT_EQ(value, want) << text;
  }
}

TEST(ScanUnits, WithoutTheHostsUnitsMakeNoText) {
  const auto units = KxPtr<CScanUnits>::adopt(new CScanUnits);
  char text[8] = "old";
  double value = 3;
  EXPECT_EQ(units->FormatLength(25.4, text, sizeof text, 1), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(units->ParseLength("1 in", &value, 1), 0);
  EXPECT_EQ(value, 3);
}

}  // namespace
}  // namespace quillbay
