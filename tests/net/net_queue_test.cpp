#include "net/net_queue.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>

#include "net/net_world.h"

namespace quillbay {
namespace {

using test::NetWorld;
using namespace std::chrono_literals;

constexpr int kPatience = 20000;
constexpr CourierPauses kQuick{1ms, 5ms, 1ms, 10ms};

struct QueueWorld : NetWorld {
  void open() {
    queue = nullptr;
    couriers.reset();
    couriers = std::make_shared<NetCouriers>(dir.file("spool"), kQuick);
    queue = KxPtr<CNetQueue>::adopt(new CNetQueue(couriers));
  }
  void close() {
    queue = nullptr;
    couriers.reset();
  }
  void add(const std::string& name) {
    const std::string id = queue->stage();
    const std::string file = queue->place(id, target(name));
    test::writeFile(file, name);
    queue->enqueue(id, file, target(name));
  }
  /// Waits until the first page says why it waits, or is stuck.
  [[nodiscard]] NetPage firstTold() const {
    NetPage page;
    couriers->wait(kPatience, [&] {
      const auto pages = queue->GetPages();
      if (!pages.empty()) page = pages.front();
      return !page.why.empty();
    });
    return page;
  }
  std::shared_ptr<NetCouriers> couriers;
  KxPtr<CNetQueue> queue;
};

TEST(NetQueue, PagesWaitForTheirFolderOverARestart) {
  QueueWorld world;
  std::filesystem::remove(world.hot);
  world.open();
  for (const char* name : {"b1.tif", "b2.tif", "a3.tif"}) world.add(name);
  EXPECT_EQ(world.firstTold().state, NetPage::Waiting);
  EXPECT_EQ(world.queue->GetPages().size(), 3U);
  EXPECT_TRUE(world.queue->holds(world.hot + "b2.tif"));
  EXPECT_TRUE(world.queue->holds(world.hot + "b2.png")) << "the same hand-off file";
  EXPECT_FALSE(world.queue->holds(world.hot + "b3.tif"));
  EXPECT_FALSE(fio::exists(world.hot)) << "it is the server's";
  world.close();
  world.open();
  const auto pages = world.queue->GetPages();
  ASSERT_EQ(pages.size(), 3U);
  EXPECT_EQ(pages[2].file, world.hot + "a3.tif") << "in their order";
  fio::createFolder(world.hot);
  EXPECT_EQ(world.queue->Wait(kPatience), 0);
  EXPECT_EQ(world.hotNames(),
            (std::vector<std::string>{"a3.ini", "a3.tif", "b1.ini", "b1.tif", "b2.ini", "b2.tif"}));
  EXPECT_EQ(test::readFile(world.hot + "b2.tif"), "b2.tif");
}

TEST(NetQueue, RemovedAndReassigned) {
  QueueWorld world;
  std::filesystem::remove(world.hot);
  world.open();
  for (const char* name : {"1.tif", "2.tif", "3.tif"}) world.add(name);
  const auto pages = world.queue->GetPages();
  std::string why;
  const auto until = [&](const std::function<int()>& change) {
    int done = 0;
    world.couriers->wait(kPatience, [&] { return (done = change()) != 0; });
    return done;
  };
  EXPECT_EQ(until([&] { return world.queue->Remove(pages[0].id, &why); }), 1) << why;
  EXPECT_EQ(world.queue->Remove(pages[0].id, &why), 0);
  EXPECT_NE(why, "");
  const std::string other = world.dir.file("other/");
  fio::createFolder(other);
  EXPECT_EQ(until([&] {
              return world.queue->Reassign(pages[2].id, {"\\\\PC2", other, "KX:\\\\PC2", {}}, &why);
            }),
            1)
      << why;
  world.couriers->wait(kPatience, [&] { return fio::exists(other + "3.ini"); });
  EXPECT_NE(test::readFile(other + "3.ini").find("Client=\\\\PC2\r\n"), std::string::npos);
  ASSERT_EQ(world.queue->GetPages().size(), 1U) << "one folder does not hold up the other";
  EXPECT_EQ(world.queue->GetPages()[0].id, pages[1].id);
}

TEST(NetQueue, TwoProgramsAtOnceSendEachPageOnce) {
  QueueWorld world;
  std::vector<pid_t> children;
  for (int program = 0; program < 3; ++program) {
    const pid_t child = ::fork();
    if (child == 0) {
      world.open();
      for (int i = 0; i < 8; ++i) world.add("p" + std::to_string(program) + "-" + std::to_string(i) + ".tif");
      const int left = world.queue->Wait(kPatience);
      world.close();
      ::_exit(left == 0 ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(world.hotNames().size(), 48U);
  EXPECT_TRUE(world.spool.list().empty());
}

TEST(NetQueue, WhatAKilledProgramLeft) {
  QueueWorld world;
  const pid_t child = ::fork();
  if (child == 0) {
    Spool spool(world.dir.file("spool"));
    for (const char* name : {"whole.tif", "short.tif", "none.tif"}) {
      const std::string id = spool.stage();
      const std::string file = spool.place(id, world.target(name));
      if (*name == 'w') test::writeFile(file, "page");
      if (*name == 's') test::writeFile(file + ".part", "pa");
    }
    (void)spool.stage();
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  const std::string live = world.spool.stage();  // of a program that runs
  world.open();
  EXPECT_EQ(world.queue->Wait(kPatience), 0);
  EXPECT_EQ(world.hotNames(), (std::vector<std::string>{"whole.ini", "whole.tif"}));
  EXPECT_TRUE(fio::isFolder(world.dir.file("spool/staging/" + live)));
  world.spool.discard(live);
  EXPECT_TRUE(std::filesystem::is_empty(world.dir.file("spool/staging")));
}

TEST(NetQueue, ADamagedPageHoldsUpNobody) {
  QueueWorld world;
  world.put(world.spool, world.target("1.tif"), "one");
  world.put(world.spool, world.target("2.tif"), "two");
  test::writeFile(world.spool.list()[0].folder + "/" + kRecordFile, "{");
  world.open();
  EXPECT_EQ(world.queue->Wait(kPatience), 1);
  EXPECT_EQ(world.hotNames(), (std::vector<std::string>{"2.ini", "2.tif"}));
  const NetPage stuck = world.queue->GetPages().at(0);
  EXPECT_EQ(stuck.state, NetPage::Stuck);
  EXPECT_NE(stuck.why, "");
  EXPECT_TRUE(fio::exists(stuck.kept));
  std::string why;
  EXPECT_EQ(world.queue->Remove(stuck.id, &why), 1) << why;
  EXPECT_TRUE(world.queue->GetPages().empty());
}

/// Holds up the courier before a step until it is let go.
class Hang final : public HandOffHook {
 public:
  Hang() { setHandOffHook(this); }
  ~Hang() override { setHandOffHook(nullptr); }
  Hang(const Hang&) = delete;
  Hang& operator=(const Hang&) = delete;
  void before(const char*) override {
    std::unique_lock lock(m_mutex);
    m_hangs = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_free; });
  }
  void waitUntilItHangs() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_hangs; });
  }
  void letGo() {
    const std::lock_guard lock(m_mutex);
    m_free = true;
    m_changed.notify_all();
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_hangs = false, m_free = false;
};

TEST(NetQueue, AFolderThatDoesNotAnswerHoldsUpNoProgram) {
  QueueWorld world;
  Hang hang;
  world.open();
  world.add("1.tif");
  hang.waitUntilItHangs();
  EXPECT_EQ(world.queue->GetPages().at(0).state, NetPage::Sending);
  world.add("2.tif");
  EXPECT_EQ(world.queue->waitFor("none", 1), "");
  std::string why;
  EXPECT_EQ(world.queue->Remove(world.queue->GetPages().at(0).id, &why), 0);
  EXPECT_NE(why, "");
  world.close();  // returns
  hang.letGo();
  world.open();
  EXPECT_EQ(world.queue->Wait(kPatience), 0);
  EXPECT_EQ(world.hotNames(), (std::vector<std::string>{"1.ini", "1.tif", "2.ini", "2.tif"}));
}

}  // namespace
}  // namespace quillbay
