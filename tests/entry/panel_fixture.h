#pragma once
#include <gtest/gtest.h>

#include <QtWidgets>
#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/file_channel.h"
#include "quillbay/control.h"
#include "quillbay/host.h"
#include "quillbay/quillbay.h"
#include "support/temp_dir.h"

namespace quillbay {

/// The names in a folder, sorted.
inline std::vector<std::string> filesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& e : std::filesystem::directory_iterator(folder)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

inline int pagesIn(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->GetPageCount();
}

/// Writes down what a host hears of a panel's runs, and lets a test wait for it.
class Recorder final : public CKxUnknownImpl<IQuillbayEvents> {
 public:
  void OnStarted(const ScanStartInfo& info) override {
    starts.push_back(info);
    if (onStarted) onStarted();
  }
  void OnLines(std::int64_t lines) override {
    lastLines = lines;
    if (onLines) onLines(lines);
  }
  void OnPageFinished(const PageInfo& page) override {
    pages.push_back(page);
    if (onPage) onPage();
  }
  void OnPublished(const std::string& file, std::int32_t count) override { published.emplace_back(file, count); }
  void OnMessage(const std::string& text) override { messages.push_back(text); }
  void OnEnded(EndCause why, const UnitFault& f, std::int32_t) override {
    cause = why;
    fault = f;
    ended = true;
    loop.quit();
  }
  /// Runs the event loop until the run ended; a run that hangs fails the test.
  bool waitEnded() {
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    if (!ended) loop.exec();
    const bool was = ended;
    ended = false;
    return was;
  }

  std::vector<ScanStartInfo> starts;
  std::vector<PageInfo> pages;
  std::vector<std::string> messages;
  std::int64_t lastLines = 0;
  std::vector<std::pair<std::string, int>> published;
  std::function<void()> onStarted, onPage;
  std::function<void(std::int64_t)> onLines;
  EndCause cause = EndCause::Done;
  UnitFault fault;
  bool ended = false;
  QEventLoop loop;
};

/// A panel on a simulated scanner, with its own settings and output folder.
class PanelTest : public testing::Test {
 protected:
  /// Opens a panel; false when the entry point answered null.
  bool open(const std::string& device, eTarnwellMode mode = ScanToFile) {
    choose(device);
    return openOn(m_app.get(), mode);
  }
  /// Opens a panel of a host's application object; its host is this fixture's all the same.
  bool openOn(IApp* app, eTarnwellMode mode = ScanToFile) {
    m_parent = std::make_unique<QWidget>();
    const auto commands = hostScript ? hostScript : query<IScriptCmdSink>(m_app.get());
    m_window = New_Quillbay(app, m_parent.get(), hostView.get(), commands.get(), m_sink.put(), mode);
    if (!m_window) return false;
    usePanel();
    return true;
  }
  /// Makes `device` the current scanner of the host.
  void choose(const std::string& device) {
    if (!m_app) makeApp();
    std::string why;
    const auto manager = query<IScanManager>(m_app.get());
    EXPECT_TRUE(manager->SetCurrent(device, &why)) << why;
  }
  /// Listens to the panel of the sink, and lets it write into the output folder.
  void usePanel() {
    control = query<IQuillbayControl>(m_sink.get());
    control->Advise(recorder.get());
    set("m_Dir", out.path());
    set("m_Mask", "page");
    set("m_fCenter", 0);
    set("m_dwAutodetect", 0);
  }
  bool openSmall(const std::string& device, eTarnwellMode mode = ScanToFile) {
    if (!open(device, mode)) return false;
    smallPages();
    return true;
  }
  /// Starts a run and waits for its end; returns what it ended of.
  EndCause run(StartKind kind = StartKind::Scan, int count = 1) {
    EXPECT_TRUE(control->Start(kind, count) && recorder->waitEnded());
    return recorder->cause;
  }
  void close() {
    control = nullptr;
    m_window = nullptr;
    m_parent.reset();
  }
  void TearDown() override {
    close();
    m_sink = nullptr;
    m_app = nullptr;
  }
  void set(const char* key, const CKxVariant& value) {
    std::string why;
    EXPECT_TRUE(control->SetParam(key, value, &why)) << why;
  }
  [[nodiscard]] CKxVariant get(const char* key) {
    CKxVariant v;
    EXPECT_TRUE(control->GetParam(key, &v)) << key;
    return v;
  }
  /// A small grey page of a fixed size.
  void smallPages(int dpi = 50) {
    set("m_CurrMode", 5);
    set("m_uiDPI", dpi);
    set("m_rcScan", tagRRECT{0, 0, 254, 127});
    set("m_eScanType", 3);
  }
  [[nodiscard]] IQuillbaySink* sink() { return m_sink.get(); }
  [[nodiscard]] IQuillbaySink** putSink() { return m_sink.put(); }
  [[nodiscard]] IHostApp* app() {
    if (!m_app) makeApp();
    return m_app.get();
  }
  [[nodiscard]] QWidget* window() { return m_window; }
  /// The panel in its window: where commands are posted to.
  [[nodiscard]] QWidget* panel() { return m_window->findChild<QWidget*>(QString(), Qt::FindDirectChildrenOnly); }
  [[nodiscard]] std::string file(const std::string& name) const { return out.path() + "/" + name; }

  test::TempDir out, settings;
  KxPtr<IQuillbayControl> control;
  KxPtr<Recorder> recorder = KxPtr<Recorder>::adopt(new Recorder);
  std::vector<std::string> messages;
  std::function<void()> onMessage;
  EventAnswer answer = EventAnswer::GiveUp;
  KxPtr<IKxView> hostView;           ///< of the next panel
  KxPtr<IScriptCmdSink> hostScript;  ///< of the next panel; null: the host's

  std::unique_ptr<QWidget> m_parent;
  QWidget* m_window = nullptr;

 private:
  void makeApp() {
    HostOptions options;
    options.configFolder = settings.path() + "/config";
    options.stateFolder = settings.path() + "/state";
    options.dataFolder = settings.path() + "/data";
    options.interactive = false;
    options.onMessage = [this](const HostMessage& m) {
      messages.push_back(m.text);
      const auto asked = onMessage;  // it may close the panel and all that is the test's
      if (asked) asked();
      return m.buttons == EventButtons::Ok ? EventAnswer::Ok : answer;
    };
    m_app = New_HostApp(options);
  }

  KxPtr<IHostApp> m_app;
  KxPtr<IQuillbaySink> m_sink;
};

}  // namespace quillbay
