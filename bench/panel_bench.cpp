/// The user interface at work: how long a panel and the whole program take to open, and how long the user-interface
/// thread is kept busy at a time while a page of 1 GB is scanned to the view.
/// usage: panel_bench [--quick]    quick: fewer and smaller runs
#include <unistd.h>

#include <QApplication>
#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "bench_tools.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"
#include "scanner/panel_dock.h"
#include "view/document_view.h"
#include "window/main_window.h"

namespace quillbay {
namespace {

using bench::Series;
using bench::Times;

constexpr double kOpenAimMs = 300, kBusyAimMs = 50;

/// Measures every event that a thread's loop delivers, and how long an event that another thread posts has to wait:
/// what a person who clicks would notice.
class Meter final : public QApplication {
 public:
  using QApplication::QApplication;
  ~Meter() override { stop(); }

  bool notify(QObject* receiver, QEvent* event) override {
    if (m_depth > 0 || !m_running) return QApplication::notify(receiver, event);
    if (event->type() == kProbe) {
      m_longestWait = std::max(m_longestWait, bench::msOf(CLOCK_MONOTONIC) - m_posted);
      m_probeIsOut = false;
      return true;
    }
    const std::string what = std::string(receiver->metaObject()->className()) + ", event " +
                             std::to_string(static_cast<int>(event->type()));
    const Times start = bench::now();
    ++m_depth;
    const bool answer = QApplication::notify(receiver, event);
    --m_depth;
    const Times took = bench::since(start);
    m_events.add(took);
    if (took.wall > m_longest.wall) {
      m_longest = took;
      m_what = what;
    }
    if (took.wall > kBusyAimMs) ++m_tooLong[what];
    return answer;
  }

  void start() {
    m_events = {};
    m_longest = {};
    m_longestWait = 0;
    m_tooLong.clear();
    m_probeIsOut = false;
    m_running = true;
    m_fills = {};
    m_prober = std::thread([this] {
      std::vector<char> memory(kFillBytes, 1);
      for (int turn = 0; m_running; ++turn) {
        if (turn % kFillEvery == 0) {
          const Times before = bench::now();
          std::fill(memory.begin(), memory.end(), static_cast<char>(turn));
          m_fills.add(bench::since(before));
        }
        if (!m_probeIsOut.exchange(true)) {
          m_posted = bench::msOf(CLOCK_MONOTONIC);
          QCoreApplication::postEvent(this, new QEvent(kProbe));  // the loop owns it
        }
        ::usleep(500);
      }
    });
  }
  void stop() {
    m_running = false;
    if (m_prober.joinable()) m_prober.join();
  }
  /// The longest that a click had to wait, or an event took.
  [[nodiscard]] double longest() const { return std::max(m_longest.wall, m_longestWait); }
  [[nodiscard]] double longestOfThread() const { return m_events.worst(&Times::thread); }
  void print() const {
    std::printf("  longest of %zu events: %.1f ms, %s; longest wait of a click: %.1f ms\n", m_events.count(),
                m_longest.wall, m_what.c_str(), m_longestWait);
    for (const auto& [name, count] : m_tooLong)
      std::printf("  over %.0f ms, %d times: %s\n", kBusyAimMs, count, name.c_str());
    std::printf("  beside it, filling 8 MiB of memory took %.1f ms, at worst %.1f ms\n",
                m_fills.median(&Times::thread), m_fills.worst(&Times::thread));
  }

 private:
  /// What the machine itself does to a thread: memory that was written before is filled now and then.
  static constexpr std::size_t kFillBytes = std::size_t{8} << 20;
  static constexpr int kFillEvery = 40;
  static constexpr auto kProbe = static_cast<QEvent::Type>(QEvent::User + 4711);
  int m_depth = 0;
  Series m_events, m_fills;
  Times m_longest;
  std::string m_what;
  std::map<std::string, int> m_tooLong;
  std::thread m_prober;
  std::atomic<bool> m_running{false}, m_probeIsOut{false};
  std::atomic<double> m_posted{0};
  double m_longestWait = 0;
};

void waitFor(const std::function<bool()>& holds) {
  while (!holds()) QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

/// Leaves the event loop for good once a window and what is in it were painted.
class Painted final : public QObject {
 public:
  explicit Painted(QWidget* window) : m_window(window) { window->installEventFilter(this); }
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::UpdateRequest || event->type() == QEvent::Expose || event->type() == QEvent::Paint)
      m_done = true;
    return false;
  }
  /// Comes back when it was painted and nothing waits to be painted again.
  void wait() {
    waitFor([this] { return m_done; });
    QCoreApplication::processEvents();  // what the first paint set off
    m_window->repaint();
  }

 private:
  QWidget* m_window;
  bool m_done = false;
};

HostOptions hostOptions(const QTemporaryDir& folder) {
  HostOptions options;
  options.configFolder = folder.filePath("config").toStdString();
  options.stateFolder = folder.filePath("state").toStdString();
  options.interactive = false;
  options.onMessage = [](const HostMessage& message) {
    std::fprintf(stderr, "panel_bench: %s\n", message.text.c_str());
    return message.answer;
  };
  return options;
}

void tell(const std::string& what, const Series& s) {
  std::printf("  %-38s median %5.1f  worst %5.1f ms, %zu times\n", what.c_str(), s.median(&Times::wall),
              s.worst(&Times::wall), s.count());
  bench::aim(what, s.worst(&Times::wall), "ms", kOpenAimMs, s.worst(&Times::thread));
}

/// From the call of the panel's entry point to the end of its first paint; each time over a new application object
/// whose settings remember the scanner, which is opened then.
void openPanels(const char* device, eTarnwellMode mode, const char* name, int runs) {
  const QTemporaryDir folder;
  Series times;
  for (int i = 0; i <= runs; ++i) {
    const auto app = New_HostApp(hostOptions(folder));
    std::string why;
    if (i == 0 && !query<IScanManager>(app.get())->SetCurrent(device, &why)) {
      std::printf("  %s: %s\n", name, why.c_str());
      return;
    }
    QWidget host;
    const auto view = new_ViewPort(app.get(), &host);
    const auto script = query<IScriptCmdSink>(app.get());
    KxPtr<IQuillbaySink> sink;
    const Times start = bench::now();
    QWidget* panel = New_Quillbay(app.get(), &host, view.as<IKxView>().get(), script.get(), sink.put(), mode);
    if (!panel) std::exit(1);
    Painted painted(panel);
    panel->resize(400, 700);
    host.resize(panel->size());
    panel->show();
    host.show();
    painted.wait();
    if (i > 0) times.add(bench::since(start));
  }
  tell(std::string("panel, ") + name, times);
}

/// The system's test scanner alone, so that nothing else that is plugged in takes part.
void useTestScanner(const QTemporaryDir& folder) {
  std::ofstream(folder.filePath("dll.conf").toStdString()) << "test\n";
  std::ofstream(folder.filePath("test.conf").toStdString()) << "number_of_devices 1\n";
  qputenv("SANE_CONFIG_DIR", folder.path().toLocal8Bit());
}

constexpr double kPageWidth = 880;

/// Sets a page of about `megabytes` in colour.
void setPage(IQuillbayControl& control, int megabytes) {
  std::string why;
  const double lineBytes = kPageWidth / kMmPerInch * 300 * 3;
  const double length = megabytes * 1e6 / lineBytes / 300 * kMmPerInch;
  const std::pair<const char*, CKxVariant> values[] = {{key::Center, 0},
                                                       {key::CurrMode, 7},
                                                       {key::Dpi, 300},
                                                       {key::RcScan, tagRRECT{0, 0, kPageWidth, length}},
                                                       {key::ScanAreaType, 3}};
  for (const auto& [key, value] : values) {
    if (!control.SetParam(key, value, &why)) std::fprintf(stderr, "panel_bench: %s: %s\n", key, why.c_str());
  }
}

std::string device(int linesPerSecond) {
  std::string name = "sim:width=900,size=860x5000,at=10x5,seed=4,drawing=map";
  if (linesPerSecond > 0) name += ",speed=" + std::to_string(linesPerSecond);
  return name;
}

/// Somebody who zooms in step by step, and out again, all the time.
void keepZooming(desktop::DocumentView& view, QTimer& timer) {
  timer.setInterval(120);
  QObject::connect(&timer, &QTimer::timeout, &view, [&view, step = 0]() mutable {
    step = (step + 1) % 8;
    if (step == 0) {
      view.fitAll();
    } else {
      view.zoomBy(1.6);
    }
  });
  timer.start();
}

/// Two pages to the view of the whole program, each until its overview and levels are there.
void scanTwice(Meter& meter, int linesPerSecond, int megabytes) {
  const QTemporaryDir folder;
  desktop::MainWindow window{{folder.filePath("config").toStdString(), folder.filePath("state").toStdString()}};
  window.prompts().message = [](const HostMessage& message) {
    std::fprintf(stderr, "panel_bench: %s\n", message.text.c_str());
    return message.answer;
  };
  window.prompts().unsaved = [](const QStringList&) { return desktop::UnsavedAnswer::Discard; };
  query<IScanManager>(window.app())->SetCurrent(device(linesPerSecond), nullptr);
  window.resize(1920, 1080);
  window.show();
  window.start();
  if (!window.panelDock().control()) std::exit(1);
  setPage(*window.panelDock().control(), megabytes);
  for (int i = 0; i < 50; ++i) QCoreApplication::processEvents();

  bool ended = false;
  QObject::connect(&window.panelDock(), &desktop::PanelDock::ended, &window, [&] { ended = true; });
  bench::PeakMemory memory;
  QTimer look, zoom;
  QObject::connect(&look, &QTimer::timeout, &look, [&] { memory.look(); });
  look.start(50);
  keepZooming(window.view(), zoom);
  meter.start();
  const Times start = bench::now();
  for (int page = 1; page <= 2; ++page) {
    ended = false;
    window.startScan();
    waitFor([&] { return ended; });
    waitFor([&] {
      const auto& pages = window.document().pages();
      if (pages.empty()) return true;
      const auto levels = pages.back().raster.as<IRStorLevels>();
      return !pages.back().overview.isNull() && levels->GetLevelLines() == pages.back().raster->GetHeight();
    });
  }
  meter.stop();
  meter.print();
  const auto& pages = window.document().pages();
  if (pages.size() != 2) std::exit(1);
  std::printf("  %zu pages of %.2f GB, with their levels, in %.1f s; %.0f MiB of memory without files\n",
              pages.size(), static_cast<double>(pages.back().raster->GetByteCount()) / 1e9,
              bench::since(start).wall / 1000, memory.mib());
}

/// Some runs; the aim is for the middle one, since one halt of a machine that does something else tells nothing.
void scanToView(Meter& meter, const char* what, int linesPerSecond, int megabytes, int runs) {
  std::vector<double> longest, thread;
  std::printf(" %s\n", what);
  for (int i = 0; i < runs; ++i) {
    scanTwice(meter, linesPerSecond, megabytes);
    longest.push_back(meter.longest());
    thread.push_back(meter.longestOfThread());
  }
  bench::aim(std::string("user interface busy at a time, ") + what, bench::median(longest), "ms", kBusyAimMs,
             bench::median(thread));
}

/// The whole program as a new process: tells when its window and panel were painted.
int startProgram(const char* since, const char* folder) {
  const std::string home = folder;
  desktop::MainWindow window{{home + "/config", home + "/state"}};
  Painted painted(&window);
  window.show();
  window.start();
  painted.wait();
  std::printf("%.3f\n", bench::msOf(CLOCK_MONOTONIC) - std::atof(since));
  return 0;
}

void startPrograms(const QString& self, int runs) {
  const QTemporaryDir folder;
  Series first, later;
  for (int i = 0; i < runs; ++i) {
    QProcess child;
    child.start(self, {"--start", QString::number(bench::msOf(CLOCK_MONOTONIC), 'f', 3), folder.path()});
    if (!child.waitForFinished(60000) || child.exitCode() != 0) std::exit(1);
    const double took = child.readAllStandardOutput().trimmed().toDouble();
    (i == 0 ? first : later).add({took, 0, 0});
  }
  tell("program to its window, first start", first);
  tell("program to its window, later starts", later);
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  using namespace quillbay;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  Meter application(argc, argv);
  if (argc == 4 && std::string(argv[1]) == "--start") return startProgram(argv[2], argv[3]);
  const bool quick = argc > 1 && std::string(argv[1]) == "--quick";
  const int runs = quick ? 5 : 20;
  std::printf("Opening, from the call to the end of the first paint (load %s)\n", bench::load().c_str());
  const QTemporaryDir sane;
  useTestScanner(sane);
  openPanels("sim:", ScanToFile, "simulated, to files", runs);
  openPanels("sim:", ScanToView, "simulated, to the view", runs);
  openPanels("test:0", ScanToFile, "SANE's test scanner, to files", runs);
  startPrograms(QCoreApplication::applicationFilePath(), quick ? 3 : 10);

  std::printf(
      "\nPages of 880 mm in colour, 300 dpi, scanned to the view of the program, which is zoomed meanwhile (load "
      "%s)\n",
      bench::load().c_str());
  const int megabytes = quick ? 200 : 1000;
  scanToView(application, "page in memory", 0, megabytes, 3);
  SetRasterBudget({std::int64_t{64} << 20, {}, false});
  scanToView(application, "page in a scratch file", 0, megabytes, 3);
  scanToView(application, "the same, 100 MB/s", 3200, megabytes, 1);
}
