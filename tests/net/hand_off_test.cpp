#include "net/hand_off.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <thread>

#include "net/hand_off_file.h"
#include "net/net_world.h"

namespace quillbay {
namespace {

using test::NetWorld;

class StepHook final : public HandOffHook {
 public:
  explicit StepHook(std::function<void(std::string)> call) : m_call(std::move(call)) { setHandOffHook(this); }
  ~StepHook() override { setHandOffHook(nullptr); }
  StepHook(const StepHook&) = delete;
  StepHook& operator=(const StepHook&) = delete;
  void before(const char* step) override { m_call(step); }

 private:
  std::function<void(std::string)> m_call;
};

/// Whether pages are copied from the queue or linked.
enum class Way { Link, Copy };

/// A folder whose files get another group is not linked into.
void forceWay(const NetWorld& world, Way way) {
  if (way == Way::Link) return;
  ASSERT_EQ(::chown(world.hot.c_str(), static_cast<uid_t>(-1), 1), 0);
  ASSERT_EQ(::chmod(world.hot.c_str(), 02777), 0);
}

TEST(HandOff, NamesThatAreTaken) {
  struct Case {
    const char* why;
    std::vector<std::string> there;
    bool mayReplace;
    const char* name;
  };
  const Case cases[] = {
      {"free", {}, false, "scan0009.tif"},
      {"taken", {"scan0009.tif"}, false, "scan0010.tif"},
      {"its hand-off file is another image's", {"scan0009.ini"}, false, "scan0010.tif"},
      {"both, several", {"scan0009.ini", "scan0010.tif", "scan0011.ini"}, false, "scan0012.tif"},
      {"may be replaced", {"scan0009.tif", "scan0009.ini"}, true, "scan0009.tif"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    NetWorld world;
    for (const std::string& name : c.there) test::writeFile(world.hot + name, "old");
    HandOff target = world.target("scan0009.tif");
    target.mayReplace = c.mayReplace;
    world.put(world.spool, target, "page");
    const auto ends = world.deliver(world.spool);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].how, HandOffEnd::Handed) << ends[0].why;
    EXPECT_EQ(ends[0].file, world.hot + c.name);
    EXPECT_EQ(test::readFile(world.hot + c.name), "page");
    EXPECT_EQ(test::readFile(handOffName(world.hot + c.name)), handOffText(world.hot + c.name, "\\\\PC1"));
    for (const std::string& name : c.there) EXPECT_EQ(test::readFile(world.hot + name) == "old", !c.mayReplace);
    EXPECT_TRUE(world.spool.list().empty());
  }
  const std::pair<const char*, const char*> next[] = {{"/h/a9.tif", "/h/a10.tif"},
                                                      {"/h/a.tif", "/h/a-2.tif"},
                                                      {"/h2/099.tif", "/h2/100.tif"},
                                                      {"/h2/99", "/h2/100"}};
  for (const auto& [name, wanted] : next) EXPECT_EQ(nextImageName(name), wanted);
}

TEST(HandOff, ANameThatIsTakenInTheLastMoment) {
  for (const char* taken : {"scan1.tif", "scan1.ini"}) {
    SCOPED_TRACE(taken);
    NetWorld world;
    world.put(world.spool, world.target("scan1.tif"), "page");
    const std::string when = std::string(taken) == "scan1.tif" ? "image" : "ini";
    const StepHook hook([&](const std::string& step) {
      if (step == when && !fio::exists(world.hot + taken)) test::writeFile(world.hot + taken, "theirs");
    });
    ASSERT_EQ(world.deliver(world.spool)[0].file, world.hot + "scan2.tif");
    EXPECT_EQ(world.hotNames(), (std::vector<std::string>{taken, "scan2.ini", "scan2.tif"}));
    EXPECT_EQ(test::readFile(world.hot + taken), "theirs");
  }
}

/// What a server found: images with what their hand-off files say.
struct Server {
  explicit Server(const NetWorld& from) : world(from) {}
  void take() {
    for (const std::string& name : world.hotNames()) {
      if (!name.ends_with(".ini")) continue;
      const std::string image = world.hot + name.substr(0, name.size() - 4) + ".tif";
      ++taken;
      EXPECT_EQ(test::readFile(image), content) << "the image of a hand-off file";
      EXPECT_EQ(test::readFile(world.hot + name), handOffText(image, "\\\\PC1"));
      std::filesystem::remove(image);
      std::filesystem::remove(world.hot + name);
    }
  }
  const NetWorld& world;
  std::string content = std::string(10000, 'p') + "end";
  int taken = 0;
};

/// Runs `work` in a process that is killed before its step `last`. Returns whether it got to that.
bool killedAt(int last, const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    int step = 0;
    const StepHook hook([&](const std::string&) {
      if (step++ == last) ::raise(SIGKILL);
    });
    work();
    ::_exit(0);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

TEST(HandOff, KilledAtEveryStepItIsHandedOffOnce) {
  const bool mayCopy = ::geteuid() == 0;  // who may give a folder another group
  for (const Way way : {Way::Link, Way::Copy}) {
    if (way == Way::Copy && !mayCopy) continue;
    for (const bool serverIsQuick : {false, true}) {
      int last = 0;
      for (bool killed = true; killed; ++last) {
        SCOPED_TRACE("step " + std::to_string(last) + (serverIsQuick ? ", quick server" : ""));
        NetWorld world;
        forceWay(world, way);
        Server server(world);
        world.put(world.spool, world.target("scan7.tif"), server.content);
        killed = killedAt(last, [&] { (void)world.deliver(world.spool); });
        if (serverIsQuick) server.take();
        // Killed once more while it continues.
        Spool again(world.dir.file("spool"));
        std::ignore = killedAt(last % 3, [&] { (void)world.deliver(again); });
        if (serverIsQuick) server.take();
        Spool third(world.dir.file("spool"));
        for (const HandOffEnd& end : world.deliver(third)) EXPECT_EQ(end.how, HandOffEnd::Handed) << end.why;
        server.take();
        EXPECT_EQ(server.taken, 1);
        EXPECT_TRUE(world.hotNames().empty()) << world.hotNames().front();
        EXPECT_TRUE(third.list().empty());
      }
      EXPECT_GT(last, 6) << "steps";
    }
  }
}

TEST(HandOff, AKilledRemovalAndClearedParts) {
  NetWorld world;
  Server server(world);
  world.put(world.spool, world.target("scan7.tif"), server.content);
  ASSERT_TRUE(killedAt(5, [&] { (void)world.deliver(world.spool); })) << "before the hand-off file has its name";
  SpoolEntry entry = world.spool.list().front();
  ASSERT_EQ(entry.record.stage, SpoolRecord::Handing);
  // Somebody clears all parts and the image away before the server was told.
  for (const std::string& name : world.hotNames())
    if (!name.ends_with(".ini.part")) std::filesystem::remove(world.hot + name);
  EXPECT_EQ(world.deliver(world.spool)[0].how, HandOffEnd::Handed);
  server.take();
  EXPECT_EQ(server.taken, 1);
  // The page was deleted here, its record not yet.
  world.put(world.spool, world.target("scan8.tif"), server.content);
  entry = world.spool.list().front();
  entry.record.stage = SpoolRecord::Handing;
  entry.record.as = world.hot + "scan8.tif";
  world.spool.update(entry);
  std::filesystem::remove(entry.page());
  EXPECT_EQ(world.deliver(world.spool)[0].how, HandOffEnd::Handed);
  EXPECT_TRUE(world.hotNames().empty());
  EXPECT_TRUE(world.spool.list().empty());
}

TEST(HandOff, FailuresKeepThePage) {
  struct Case {
    const char* why;
    std::string step;  ///< that fails
    int error;
    HandOffEnd::How how;
  };
  const Case cases[] = {
      {"the folder fills up", "ini part", ENOSPC, HandOffEnd::Later},
      {"the server goes away", "image", EHOSTDOWN, HandOffEnd::Later},
      {"before the hand-off file", "ini", EIO, HandOffEnd::Later},
      {"the server refuses the name", "image", EINVAL, HandOffEnd::Stuck},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    NetWorld world;
    Server server(world);
    world.put(world.spool, world.target("scan7.tif"), server.content);
    {
      const StepHook hook([&](const std::string& step) {
        if (step == c.step) throw CXFileException("failed", world.hot, c.error);
      });
      EXPECT_EQ(world.deliver(world.spool)[0].how, c.how);
    }
    ASSERT_EQ(world.spool.list().size(), 1U);
    EXPECT_EQ(world.deliver(world.spool)[0].how, HandOffEnd::Handed);
    server.take();
    EXPECT_EQ(server.taken, 1);
    EXPECT_TRUE(world.hotNames().empty());
  }
}

TEST(HandOff, ADiskThatIsFullInTheMiddleOfAPage) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can have pages copied on one disk";
  NetWorld world;
  forceWay(world, Way::Copy);
  Server server(world);
  server.content.assign(std::size_t{9} << 20, 'x');
  world.put(world.spool, world.target("scan7.tif"), server.content);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{rlim_t{5} << 20, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto ends = world.deliver(world.spool);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_NE(ends[0].how, HandOffEnd::Handed);
  EXPECT_TRUE(world.hotNames().empty()) << "room for others";
  EXPECT_EQ(world.deliver(world.spool)[0].how, HandOffEnd::Handed);
  server.take();
  EXPECT_EQ(server.taken, 1);
}

TEST(HandOff, AWatcherNeverSeesAShortFile) {
  const bool mayCopy = ::geteuid() == 0;
  for (const Way way : {Way::Link, Way::Copy}) {
    if (way == Way::Copy && !mayCopy) continue;
    NetWorld world;
    forceWay(world, way);
    const std::string page(std::size_t{6} << 20, 'w');
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    // Not what the watcher's own reading makes: it would read for ever.
    const std::uint32_t made = IN_CREATE | IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE | IN_MOVE | IN_DELETE;
    ASSERT_GE(::inotify_add_watch(watch, world.hot.c_str(), made), 0);
    std::atomic<bool> done{false};
    int images = 0, handOffs = 0;
    std::thread watcher([&] {
      alignas(inotify_event) char buffer[8192];
      const auto look = [&](const std::string& name) {
        if (name.empty() || name.ends_with(".part")) return;
        const std::string path = world.hot + name;
        if (name.ends_with(".ini")) {
          const std::string image = path.substr(0, path.size() - 4) + ".tif";
          EXPECT_EQ(test::readFile(path), handOffText(image, "\\\\PC1"));
          EXPECT_EQ(test::readFile(image).size(), page.size());
          ++handOffs;
        } else {
          EXPECT_EQ(test::readFile(path).size(), page.size());
          ++images;
        }
      };
      for (bool last = false; !last;) {
        last = done;
        pollfd waiting{watch, POLLIN, 0};
        ::poll(&waiting, 1, 20);
        const ssize_t got = ::read(watch, buffer, sizeof buffer);
        for (ssize_t at = 0; at < got;) {
          const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
          if (event->len > 0) look(event->name);
          at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
      }
    });
    for (int i = 1; i <= 5; ++i) {
      world.put(world.spool, world.target("scan" + std::to_string(i) + ".tif"), page);
      EXPECT_EQ(world.deliver(world.spool)[0].how, HandOffEnd::Handed);
    }
    done = true;
    watcher.join();
    ::close(watch);
    EXPECT_GE(images, 5);
    EXPECT_GE(handOffs, 5);
  }
}

}  // namespace
}  // namespace quillbay
