// A scanner behind SANE's network daemon that goes away and comes back while its unit stays open.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "sane_scan.h"
#include "scanners/scan_manager.h"

namespace quillbay::testing {
namespace {

/// saned in the foreground, in a process group of its own with the children that serve connections.
class Daemon {
 public:
  explicit Daemon(const std::string& config) {
    int ends[2];
    if (pipe(ends) != 0) return;
    m_pid = fork();
    if (m_pid == 0) {
      setpgid(0, 0);
      dup2(ends[1], STDERR_FILENO);
      close(ends[0]);
      close(ends[1]);
      setenv("SANE_CONFIG_DIR", config.c_str(), 1);
      setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
      execlp("saned", "saned", "-l", "-e", "-d3", "-b", "127.0.0.1", nullptr);
      _exit(127);
    }
    close(ends[1]);
    m_log = fdopen(ends[0], "r");
    char line[512];
    while (!m_listens && fgets(line, sizeof line, m_log))
      m_listens = std::string_view(line).find("waiting for control connection") != std::string_view::npos;
  }
  ~Daemon() {
    kill(-m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
    if (m_log) fclose(m_log);
  }
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;
  [[nodiscard]] bool listens() const { return m_listens; }

 private:
  pid_t m_pid = 0;
  FILE* m_log = nullptr;
  bool m_listens = false;
};

TEST(SaneNet, TheNextScanOpensADeviceThatCameBack) {
  const std::filesystem::path server = saneConfig.folder() / "server";
  std::filesystem::create_directory(server);
  std::filesystem::copy_file(saneConfig.folder() / "test.conf", server / "test.conf");
  std::ofstream(server / "dll.conf") << "test\n";
  std::ofstream(server / "saned.conf") << "127.0.0.1\n";
  std::ofstream(saneConfig.folder() / "dll.conf") << "net\n";
  std::ofstream(saneConfig.folder() / "net.conf") << "connect_timeout = 5\n127.0.0.1\n";
  auto daemon = std::make_unique<Daemon>(server);
  if (!daemon->listens()) GTEST_SKIP() << "there is no saned, or its port is taken";

  const auto manager = new_IScanManagerEx(nullptr, 0);
  std::string why;
  manager->SetCurrent("net:127.0.0.1:test:0", &why);
  const auto scanner = KxPtr<IScan>::adopt(manager->GetCurrent());
  const auto unit = scanner.as<IQuillbayUnit>();
  ASSERT_TRUE(unit) << scanner.as<IUnitFault>()->GetFault().text;
  const auto scan = [&](WaitingSink* sink) {
    return unit->Scan(sink, Request{}.params().get()) && unit->Command(sink, 0) && sink->waitForEnd();
  };
  WaitingSink first, gone, stillGone, back;
  ASSERT_TRUE(scan(&first));
  ASSERT_EQ(first.ended, std::vector<int>{1}) << scanner.as<IUnitFault>()->GetFault().text;

  const auto options = scanner.as<IUnitOptions>();
  for (const auto& [name, value] : Options{{"read-delay", "yes"}, {"read-delay-duration", "200000"}})
    EXPECT_EQ(options->SetOption(name, value, &why), 1) << why;
  const Request slow{7, 600, {0, 0, 200, 200}};
  ASSERT_TRUE(unit->Scan(&gone, slow.params().get()) && unit->Command(&gone, 0) && gone.waitForReads(2));
  daemon.reset();  // in the middle of a page
  ASSERT_TRUE(gone.waitForEnd());
  for (WaitingSink* sink : {&gone, &stillGone}) {
    if (sink != &gone) {
      ASSERT_TRUE(scan(sink));
    }
    EXPECT_EQ(sink->ended, std::vector<int>{2});
    EXPECT_NE(scanner.as<IUnitFault>()->GetFault().text.find("127.0.0.1"), std::string::npos);
    EXPECT_EQ(unit->Command(nullptr, 4), 1) << "the unit stays usable";
  }

  daemon = std::make_unique<Daemon>(server);
  ASSERT_TRUE(daemon->listens());
  ASSERT_TRUE(scan(&back));
  EXPECT_EQ(back.ended, std::vector<int>{1}) << scanner.as<IUnitFault>()->GetFault().text;
  EXPECT_EQ(back.lineCount, first.lineCount);
}

}  // namespace
}  // namespace quillbay::testing
