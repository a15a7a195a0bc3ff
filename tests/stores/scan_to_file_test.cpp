#include "stores/scan_to_file_stor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "fake_channel.h"
#include "platform/base_services.h"
#include "stripes.h"

namespace quillbay {
namespace {

using test::ChannelScript;
using test::othersHolding;
using test::pageLine;
using test::pageStripe;
using Pull = ChannelScript::Pull;
using Fate = std::vector<std::string>;

constexpr std::int32_t kWidth = 100;
constexpr KxColorSpace kGrey = KxColorSpace::Grey;

PageTarget target(bool joinsPart = false, bool isLast = true) {
  PageTarget page;
  page.path = "/scans/plan.tif";
  page.joinsPart = joinsPart;
  page.isLast = isLast;
  return page;
}

// A store for small pages: four stripes of ten grey lines may wait.
KxPtr<CScanToFileStor> newStore(const PageTarget& to, const FileStoreLimits& limits = {4000}) {
  const auto app = KxPtr<test::FakeApp>::adopt(new test::FakeApp);
  auto store = KxPtr<CScanToFileStor>::adopt(new CScanToFileStor(app.get(), nullptr, limits));
  store->SetTarget(to);
  return store;
}

// Adds lines `first`..`end` in stripes of `height`; answers whether all were accepted.
bool scan(CScanToFileStor* store, KxColorSpace colorSpace, std::int32_t first, std::int32_t end,
          std::int32_t height) {
  for (std::int32_t at = first; at < end; at += height)
    if (store->AddStripe(pageStripe(colorSpace, kWidth, at, std::min(height, end - at)).get()) == 0) return false;
  return true;
}

void expectPage(const ChannelScript& script, KxColorSpace colorSpace, std::size_t lines) {
  ASSERT_EQ(script.lines.size(), lines);
  for (std::size_t i = 0; i < lines; ++i)
    ASSERT_EQ(script.lines[i], pageLine(colorSpace, kWidth, static_cast<std::int64_t>(i))) << "line " << i;
}

TEST(ScanToFile, WritesThePageHoweverItComesAndIsPulled) {
  for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::Palette, kGrey, KxColorSpace::Rgb}) {
    for (const std::int32_t height : {1, 7, 64, 150}) {
      for (const Pull pull : {Pull::Lines, Pull::LinePointers, Pull::Stripes}) {
        SCOPED_TRACE(::testing::Message() << static_cast<int>(cs) << " by " << height << " pull " << int(pull));
        ChannelScript script;
        script.pull = pull;
        const auto store = newStore(target());
        EXPECT_TRUE(store->IsEmpty());
        ASSERT_TRUE(scan(store.get(), cs, 0, 150, height));
        EXPECT_FALSE(store->IsEmpty());
        EXPECT_EQ(store->Finish(nullptr, 100, 1), 1) << "more lines than asked for: nothing is padded";
        expectPage(script, cs, 150);
        EXPECT_EQ(script.fate, Fate{"commit"});
        EXPECT_EQ(store->IsPublished(), 1);
        EXPECT_EQ(store->GetLines(), 150);
        EXPECT_TRUE(store->IsEmpty());
        EXPECT_EQ(store->Finish(nullptr, 0, 1), 1) << "a second wait does not hang";
        EXPECT_EQ(store->AddStripe(pageStripe(cs, kWidth, 0, 1).get()), 0) << "one page";
      }
    }
  }
}

TEST(ScanToFile, PadsWithBlankLines) {
  for (const Pull pull : {Pull::Lines, Pull::Stripes}) {
    for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::Palette, KxColorSpace::Rgb}) {
      ChannelScript script;
      script.pull = pull;
      const auto store = newStore(target());
      ASSERT_TRUE(scan(store.get(), cs, 0, 20, 8));
      ASSERT_EQ(store->Finish(nullptr, 53, 1), 1);
      ASSERT_EQ(script.lines.size(), 53u);
      EXPECT_EQ(store->GetLines(), 53);
      double rect[4], mm[4];
      store->GetRect(rect);
      store->GetRectMM(mm);
      EXPECT_EQ(rect[2], kWidth - 1);
      EXPECT_EQ(rect[3], 52);
      EXPECT_DOUBLE_EQ(mm[3], 52 * 25.4 / 200);
      std::vector<std::uint8_t> blank(kWidth * 3, 255);
      if (cs == KxColorSpace::Bitonal) blank = pageLine(cs, 0, 0);
      // Of (i, 255 - i, i / 2), entry 170 or so is nearest to white: the sum of squared distances is least there.
      if (cs == KxColorSpace::Palette) blank.assign(kWidth, script.lines[20][0]);
      for (std::size_t i = 20; i < 53; ++i) ASSERT_EQ(script.lines[i], blank) << i;
      if (cs == KxColorSpace::Palette) {
        EXPECT_EQ(script.palette.size(), pull == Pull::Lines ? 256u : 0u);
        EXPECT_EQ(blank[0], 170);
      }
    }
  }
}

TEST(ScanToFile, EndsThePageAsItsTargetSays) {
  struct Case {
    const char* why;
    bool joinsPart, isLast, paged;
    int published;
  };
  const Case cases[] = {{"a single page", false, true, false, 1},
                        {"a single page has no batch to wait for", false, false, false, 1},
                        {"a page of a batch", true, false, true, 0},
                        {"the last page of a batch", true, true, true, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ChannelScript script;
    PageTarget to = target(c.joinsPart, c.isLast);
    to.mayReplace = true;
    to.expectedLines = 4711;
    const auto store = newStore(to);
    ASSERT_TRUE(scan(store.get(), kGrey, 0, 30, 10));
    EXPECT_EQ(store->Finish(nullptr, 0, 1), 1);
    EXPECT_EQ(script.fate, Fate{"commit"});
    EXPECT_EQ(script.savedPaged, c.paged);
    EXPECT_TRUE(script.target.mayReplace);
    EXPECT_EQ(script.target.expectedLines, 4711);
    EXPECT_EQ(store->IsPublished(), c.published);
    EXPECT_EQ(store->GetFile(), "/scans/plan.tif");
  }
}

TEST(ScanToFile, RefusalsAtTheFirstStripeStick) {
  struct Case {
    const char* why;
    void (*set)(ChannelScript&, PageTarget&);
    const char* text;
  };
  const Case cases[] = {
      {"colours", [](ChannelScript& s, PageTarget&) { s.accepts = false; }, "colours"},
      {"no paged format", [](ChannelScript& s, PageTarget& o) { o.joinsPart = true, s.paged = false; }, "one page"},
      {"not written", [](ChannelScript& s, PageTarget&) { s.single = false; }, "cannot be written"},
      {"thrown", [](ChannelScript& s, PageTarget&) { s.openError = "read-only file system"; }, "read-only"},
      {"no name", [](ChannelScript&, PageTarget& o) { o.path.clear(); }, "no file name"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ChannelScript script;
    PageTarget to = target();
    c.set(script, to);
    const auto store = newStore(to);
    EXPECT_FALSE(scan(store.get(), kGrey, 0, 10, 10));
    EXPECT_FALSE(scan(store.get(), kGrey, 0, 10, 10));
    EXPECT_NE(store->GetError().find(c.text), std::string::npos) << store->GetError();
    EXPECT_NE(store->GetError().find(fio::fileNameOf(to.path)), std::string::npos) << store->GetError();
    EXPECT_FALSE(store->IsEmpty()) << "so that the page's end gets to report it";
    EXPECT_EQ(store->Finish(nullptr, 50, 1), 0);
    store->Reset();
    EXPECT_EQ(store->GetError(), "");
    EXPECT_TRUE(store->IsEmpty());
    EXPECT_FALSE(scan(store.get(), kGrey, 0, 10, 10)) << "a stripe that comes late finds no page";
    EXPECT_TRUE(store->IsEmpty());
  }
}

TEST(ScanToFile, AFailedWriteSticksAndNothingBlocks) {
  for (const Pull pull : {Pull::Lines, Pull::Stripes}) {
    for (const std::int64_t failAt : {0, 1, 35, 149}) {
      SCOPED_TRACE(failAt);
      ChannelScript script;
      script.pull = pull;
      script.failAtLine = failAt;
      const auto store = newStore(target(true, false));
      const auto stripe = pageStripe(kGrey, kWidth, 0, 10);
      int accepted = 0;
      while (accepted < 15 && store->AddStripe(stripe.get())) ++accepted;
      EXPECT_EQ(store->Finish(nullptr, 1000, 1), 0);
      EXPECT_EQ(store->AddStripe(stripe.get()), 0);
      EXPECT_NE(store->GetError().find("plan.tif"), std::string::npos);
      EXPECT_NE(store->GetError().find("no space left"), std::string::npos);
      EXPECT_EQ(script.fate, Fate{"abandon"});
      EXPECT_EQ(store->IsPublished(), 0);
      EXPECT_EQ(othersHolding(stripe), 0u) << "no stripe is held any more";
    }
  }
}

TEST(ScanToFile, OtherWaysToFail) {
  const auto endsWith = [](void (*set)(ChannelScript&), std::int32_t secondWidth, const char* text,
                           const Fate& fate, bool published = false) {
    SCOPED_TRACE(text);
    ChannelScript script;
    set(script);
    const auto store = newStore(target());
    EXPECT_TRUE(scan(store.get(), kGrey, 0, 10, 10));
    store->AddStripe(pageStripe(kGrey, secondWidth, 10, 10).get());
    EXPECT_EQ(store->Finish(nullptr, 0, 1), 0);
    EXPECT_NE(store->GetError().find(text), std::string::npos) << store->GetError();
    EXPECT_EQ(script.fate, fate);
    EXPECT_EQ(store->IsPublished(), published ? 1 : 0);
  };
  endsWith([](ChannelScript&) {}, kWidth + 1, "changed the width", {"abandon"});
  // What the format had room for is kept.
  endsWith([](ChannelScript& s) { s.endAtLine = 5; }, kWidth, "ended before the page", {"commit"}, true);
  // The page is whole in its part; dropping it would lose it.
  endsWith([](ChannelScript& s) { s.commitError = "a file of this name is there"; }, kWidth, "of this name", {});
}

TEST(ScanToFile, GivesUpBeforeTheDiskIsFull) {
  ChannelScript script;
  const auto store = newStore({"/tmp/plan.tif", false, true, false, 0}, {4000, INT64_MAX, 5000});
  EXPECT_FALSE(scan(store.get(), kGrey, 0, 100, 10));
  EXPECT_NE(store->GetError().find("nearly full"), std::string::npos);
  EXPECT_EQ(store->GetLines(), 50) << "looked at after every 5000 bytes";
  EXPECT_EQ(store->Finish(nullptr, 0, 1), 0);
  EXPECT_EQ(script.fate, Fate{"abandon"});
}

TEST(ScanToFile, FinishBeforeAnyStripe) {
  ChannelScript script;
  const auto store = newStore(target());
  EXPECT_EQ(store->Finish(nullptr, 100, 1), 1);
  EXPECT_EQ(store->GetLines(), 0);
  EXPECT_EQ(store->IsPublished(), 0);
  EXPECT_TRUE(script.fate.empty());
  int calls = 0;
  store->BeginFinish(
      100, [](void* n) { ++*static_cast<int*>(n); }, &calls);
  EXPECT_EQ(calls, 1);
}

TEST(ScanToFile, BeginFinishDoesNotWait) {
  ChannelScript script;
  Event gate(Event::Kind::Manual), through(Event::Kind::Manual);
  script.gate = &gate;
  const auto store = newStore(target());
  ASSERT_TRUE(scan(store.get(), kGrey, 0, 30, 10));
  store->BeginFinish(
      40, [](void* e) { static_cast<Event*>(e)->set(); }, &through);
  EXPECT_FALSE(through.isSet()) << "the writer stands at its gate";
  EXPECT_FALSE(scan(store.get(), kGrey, 30, 40, 10)) << "the page is closed";
  gate.set();
  through.wait();
  EXPECT_EQ(store->IsPublished(), 1) << "published before it is told";
  EXPECT_EQ(store->Finish(nullptr, 9999, 1), 1);
  EXPECT_EQ(script.lines.size(), 40u);
}

// A scanner within AddStripe, before a full queue and a writer that stands still.
class FullQueue {
 public:
  FullQueue() : m_store(newStore(target())) {
    m_script.gate = &m_gate;
    m_script.pull = Pull::Stripes;
    m_scanner = std::thread([this, store = m_store.get()] {
      const auto stripe = pageStripe(kGrey, kWidth, 0, 10);
      // The writer holds one, four wait: the sixth one blocks.
      while (m_accepted < 5) m_accepted += store->AddStripe(stripe.get());
      m_inside.set();
      m_accepted += store->AddStripe(stripe.get());
    });
    m_inside.wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // by then it stands within
  }
  ~FullQueue() {
    m_gate.set();
    if (m_scanner.joinable()) m_scanner.join();
  }
  void join() { m_scanner.join(); }
  void letWrite() { m_gate.set(); }
  [[nodiscard]] int accepted() const { return m_accepted; }
  [[nodiscard]] ChannelScript& script() { return m_script; }
  KxPtr<CScanToFileStor>& store() { return m_store; }

 private:
  ChannelScript m_script;
  Event m_gate{Event::Kind::Manual}, m_inside{Event::Kind::Manual};
  std::atomic<int> m_accepted{0};
  KxPtr<CScanToFileStor> m_store;
  std::thread m_scanner;
};

TEST(ScanToFile, WakeFreesTheScannerAndKeepsThePage) {
  FullQueue full;
  full.store()->Wake();
  full.join();
  EXPECT_EQ(full.accepted(), 5);
  full.letWrite();
  EXPECT_EQ(full.store()->Finish(nullptr, 60, 1), 1);
  EXPECT_EQ(full.script().lines.size(), 60u);
  EXPECT_EQ(full.script().fate, Fate{"commit"});
}

TEST(ScanToFile, WhateverEndsThePageFreesTheScannerAndDropsIt) {
  using Store = KxPtr<CScanToFileStor>;
  const std::pair<const char*, void (*)(Store&)> ways[] = {{"Stop", [](Store& s) { s->Stop(); }},
                                                           {"destroyed", [](Store& s) { s = nullptr; }},
                                                           {"Reset", [](Store& s) { s->Reset(); }}};
  for (const auto& [why, end] : ways) {
    SCOPED_TRACE(why);
    FullQueue full;
    std::thread control([&, act = end] { act(full.store()); });
    full.join();  // the scanner is refused while the writer still stands
    EXPECT_EQ(full.accepted(), 5);
    full.letWrite();
    control.join();
    EXPECT_EQ(full.script().fate, Fate{"abandon"});
    EXPECT_LE(full.script().lines.size(), 10u) << "what is queued is not written any more";
  }
}

TEST(ScanToFile, AStoreThatWasResetTakesAPage) {
  FullQueue full;
  full.letWrite();
  full.join();
  full.store()->Reset();
  EXPECT_TRUE(full.store()->IsEmpty());
  full.store()->SetTarget(target());
  full.script().lines.clear();
  full.script().written = 0;
  EXPECT_TRUE(scan(full.store().get(), kGrey, 0, 20, 10));
  EXPECT_EQ(full.store()->Finish(nullptr, 0, 1), 1);
  expectPage(full.script(), kGrey, 20);
}

TEST(ScanToFile, ASlowWriterHoldsTheScannerToTheQueuesBound) {
  ChannelScript script;
  script.pull = Pull::Stripes;
  Event gate(Event::Kind::Auto);
  script.gate = &gate;
  std::atomic<int> accepted{0};
  const auto store = newStore(target());
  std::thread scanner([&] {
    for (int i = 0; i < 200; ++i) {
      ASSERT_EQ(store->AddStripe(pageStripe(kGrey, kWidth, i * 10, 10).get()), 1);
      ++accepted;
    }
    store->BeginFinish(0, nullptr, nullptr);
  });
  for (int i = 0; i < 200; ++i) {
    gate.set();
    while (gate.isSet()) std::this_thread::yield();
    // Let through: i + 1 stripes; one may be fetched behind them, four may wait.
    EXPECT_LE(accepted, i + 1 + 1 + 4);
  }
  scanner.join();
  EXPECT_EQ(store->Finish(nullptr, 0, 1), 1);
  expectPage(script, kGrey, 2000);
}

TEST(ScanToFile, AStripeBeyondTheBoundPassesAlone) {
  ChannelScript script;
  const auto store = newStore(target(), {50});
  EXPECT_TRUE(scan(store.get(), kGrey, 0, 100, 10));
  EXPECT_EQ(store->Finish(nullptr, 0, 1), 1);
  expectPage(script, kGrey, 100);
}

TEST(ScanToFile, RacesBetweenScannerAndController) {
  // Whatever the moment of the reset or the page's end, nothing hangs and the page ends in exactly one way.
  for (int i = 0; i < 300; ++i) {
    ChannelScript script;
    script.keepLines = false;
    script.pull = i % 2 ? Pull::Lines : Pull::Stripes;
    const auto store = newStore(target());
    Event first(Event::Kind::Manual);
    std::thread scanner([&] {
      const auto stripe = pageStripe(kGrey, kWidth, 0, 10);
      for (int n = 0; store->AddStripe(stripe.get()); ++n)
        if (n == i % 7) first.set();
      first.set();
    });
    if (i % 3 != 0) first.wait();
    const bool reset = i % 4 == 0;
    if (reset) {
      store->Reset();
    } else {
      EXPECT_EQ(store->Finish(nullptr, 0, 1), 1);
    }
    scanner.join();
    const bool kept = store->GetLines() > 0;  // a page that ended before its first line leaves no file
    const Fate want = script.fate.empty() ? Fate{} : Fate{kept ? "commit" : "abandon"};
    EXPECT_EQ(script.fate, want);
    EXPECT_EQ(store->IsPublished(), kept ? 1 : 0);
    EXPECT_TRUE(reset || script.written == store->GetLines());
  }
}

}  // namespace
}  // namespace quillbay
