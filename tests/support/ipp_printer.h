#pragma once
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/temp_dir.h"

namespace quillbay::test {

/// What a simulated plotter takes, in the words of its configuration: A4 with margins, A1 without, and a roll of
/// 300 mm that is cut between 20 and 500 mm; 100 and 200 dpi; all colours.
inline constexpr char kPlotter[] = R"(ATTR text printer-make-and-model "Example Plotter"
ATTR boolean color-supported true
ATTR integer copies-default 1
ATTR rangeOfInteger copies-supported 1-9
ATTR keyword media-default iso_a4_210x297mm
ATTR keyword media-supported iso_a4_210x297mm,iso_a1_594x841mm,roll_current_300x0mm
ATTR keyword media-ready iso_a4_210x297mm,roll_current_300x0mm
ATTR collection media-col-database {
 MEMBER collection media-size { MEMBER integer x-dimension 21000 MEMBER integer y-dimension 29700 }
 MEMBER integer media-bottom-margin 500 MEMBER integer media-left-margin 500
 MEMBER integer media-right-margin 500 MEMBER integer media-top-margin 500 },{
 MEMBER collection media-size { MEMBER integer x-dimension 59400 MEMBER integer y-dimension 84100 }
 MEMBER integer media-bottom-margin 0 MEMBER integer media-left-margin 0
 MEMBER integer media-right-margin 0 MEMBER integer media-top-margin 0 },{
 MEMBER collection media-size { MEMBER integer x-dimension 30000 MEMBER rangeOfInteger y-dimension 2000-50000 }
 MEMBER keyword media-size-name roll_current_300x0mm
 MEMBER integer media-bottom-margin 0 MEMBER integer media-left-margin 0
 MEMBER integer media-right-margin 0 MEMBER integer media-top-margin 0 }
ATTR collection media-size-supported {
 MEMBER integer x-dimension 21000 MEMBER integer y-dimension 29700 },{
 MEMBER integer x-dimension 59400 MEMBER integer y-dimension 84100 },{
 MEMBER integer x-dimension 30000 MEMBER rangeOfInteger y-dimension 2000-50000 }
ATTR keyword print-color-mode-supported auto,color,monochrome
ATTR keyword print-color-mode-default auto
ATTR enum print-quality-supported 3,4,5
ATTR enum print-quality-default 4
ATTR keyword print-scaling-supported none
ATTR resolution printer-resolution-supported 100dpi,200dpi
ATTR resolution printer-resolution-default 200dpi
ATTR resolution pwg-raster-document-resolution-supported 100dpi,200dpi
ATTR keyword pwg-raster-document-type-supported black_1,sgray_8,srgb_8
ATTR keyword sides-supported one-sided
ATTR keyword sides-default one-sided
)";

/// A port that is free at the moment.
[[nodiscard]] inline int freePort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const bool bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                     ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  ::close(fd);
  if (!bound) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

/// Waits until a program takes connections; false when it ended or took too long.
[[nodiscard]] inline bool waitForPort(int port, ChildProcess& program) {
  for (const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
       std::chrono::steady_clock::now() < end && program.isRunning();) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const bool open = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    if (open) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // between two tries
  }
  return false;
}

/// The IPP printer simulator of CUPS on a port of its own. It wants a message bus; it gets one of its own, so that
/// no service has to run. What it was sent is kept in a folder.
class IppPrinter {
 public:
  static bool isInstalled() {
    return std::filesystem::exists("/usr/sbin/ippeveprinter") || std::filesystem::exists("/usr/bin/ippeveprinter");
  }

  /// `attributes`: empty: the simulator's own, a grey office printer, which takes `formats`. `more`: further
  /// options.
  explicit IppPrinter(const std::string& attributes = kPlotter, const std::string& formats = "image/pwg-raster",
                      const std::string& program = "/bin/true") {
    startBus();
    std::filesystem::create_directory(m_folder.file("kept"));
    for (int attempt = 0; attempt < 5; ++attempt) {
      m_port = freePort();
      std::vector<std::string> command = {
          "ippeveprinter",       "-r", "off",  "-n", "localhost", "-p", std::to_string(m_port), "-k", "-d",
          m_folder.file("kept"), "-c", program};
      if (attributes.empty()) {
        command.insert(command.end(), {"-f", formats});
      } else {
        writeFile(m_folder.file("plotter.conf"), attributes);
        command.insert(command.end(), {"-a", m_folder.file("plotter.conf")});
      }
      command.emplace_back("Plotter");
      m_process = ChildProcess(command,
                               {"DBUS_SYSTEM_BUS_ADDRESS=unix:path=" + m_folder.file("bus"),
                                "HOME=" + m_folder.path(), "PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin"},
                               m_folder.file("log"));
      if (waitForPort(m_port, m_process)) return;
    }
    throw std::runtime_error("ippeveprinter did not start: " + readFile(m_folder.file("log")));
  }

  [[nodiscard]] std::string uri() const { return "ipp://localhost:" + std::to_string(m_port) + "/ipp/print"; }
  [[nodiscard]] ChildProcess& process() { return m_process; }
  [[nodiscard]] const TempDir& folder() const { return m_folder; }
  /// The rasters that it was sent, in the order of their jobs.
  [[nodiscard]] std::vector<std::string> kept() const {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.file("kept"))) {
      if (entry.path().extension() == ".pwg" || entry.path().extension() == ".urf") files.push_back(entry.path());
    }
    const auto job = [](const std::string& path) { return std::stoi(std::filesystem::path(path).filename()); };
    std::sort(files.begin(), files.end(), [&](const auto& a, const auto& b) { return job(a) < job(b); });
    return files;
  }

 private:
  void startBus() {
    writeFile(m_folder.file("bus.conf"),
              "<busconfig><type>system</type><listen>unix:path=" + m_folder.file("bus") +
                  "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                  "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
    m_bus = ChildProcess({"dbus-daemon", "--config-file=" + m_folder.file("bus.conf"), "--nofork", "--nopidfile"},
                         {}, m_folder.file("bus.log"));
    while (!std::filesystem::exists(m_folder.file("bus"))) {
      if (!m_bus.isRunning()) throw std::runtime_error("dbus-daemon: " + readFile(m_folder.file("bus.log")));
      std::this_thread::sleep_for(std::chrono::milliseconds(10));  // between two looks
    }
  }

  TempDir m_folder;
  ChildProcess m_bus, m_process;
  int m_port = 0;
};

}  // namespace quillbay::test
