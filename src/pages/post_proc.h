#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "pages/error_files.h"
#include "quillbay/script_services.h"
#include "widgets/tab.h"

class QPushButton;
namespace Ui {
class PostProc;
}

namespace quillbay {

/// Counts the steps of a script of unknown length.
class StepCounter {
 public:
  static constexpr int kEnd = 500;  ///< where it starts again
  int step() noexcept { return m_steps = m_steps + 1 >= kEnd ? 0 : m_steps + 1; }
  void set(int steps) noexcept { m_steps = steps; }
  [[nodiscard]] int steps() const noexcept { return m_steps; }

 private:
  int m_steps = 0;
};

/// A line of a host's log as the log field takes it: with a carriage return before each line feed.
[[nodiscard]] std::string logFieldText(const std::string& line);

/// The "Post Processing" page: the script that the host runs over each page after its scan, its log, its progress,
/// and the files that it could not process. A host with an `IScriptQueue` works aside: the page listens until
/// nothing is left, however many pages come meanwhile.
class CPostProc final : public CTab {
 public:
  static constexpr int kNumber = 9;
  /// The others change no setting: using them starts no preview.
  enum Control : int {
    kUseScript = 1901,
    kScriptName = 1902,
    kBrowse = 1903,
    kFilesLabel = 1905,
    kProgress = 1907,
  };
  /// A file of the list, as the host named it.
  struct Unprocessed {
    std::string file, reason;
  };

  CPostProc(IPanelController& controller, KxPtr<CSharedScanParams> params);
  ~CPostProc() override;

  int Load(IParam* store) override;
  int Save(IParam* store) override;
  std::string GetTitle() override;
  /// The settings alone: a run can be cancelled, and its failures looked at, while pages are scanned.
  void Enable(int enable) override;

  /// Whether a script works on each page after its scan.
  [[nodiscard]] bool runsAfterScan() const;
  /// Has the host run the script over the page that it was handed last.
  void RunPostProcessing();
  /// Has the host process one file. Returns 0 for success, also when the host only queued it.
  int ProcessFile(const std::string& file);
  [[nodiscard]] const CErrorFiles& errorFiles() const noexcept { return m_errors; }
  [[nodiscard]] const std::vector<Unprocessed>& unprocessed() const noexcept { return m_unprocessed; }

  /// Shows the folder of a file; replaced by tests.
  std::function<void(const std::string& folder)> openFolder;

 protected:
  void createForm(int mode) override;
  bool OnPageCommand(int id, int code, std::int64_t value) override;
  void fillMenu(QMenu& menu) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  class Progress;
  class LogSink final : public TSinkImpl<IScriptLogSink, CPostProc> {
   public:
    using TSinkImpl::TSinkImpl;
    void Line(const char* line) override { owner()->addLogLine(line); }
  };
  class Factory final : public TSinkImpl<IScriptProgressFactory, CPostProc> {
   public:
    using TSinkImpl::TSinkImpl;
    IProgress* CreateProgress(const char*) override { return owner()->makeProgress(); }
  };
  class Collector final : public TSinkImpl<IScriptErrorSink, CPostProc> {
   public:
    using TSinkImpl::TSinkImpl;
    void FileFailed(const char* file, IParam* parameters, int cancelled) override {
      owner()->fileFailed(file, parameters, cancelled != 0);
    }
  };
  class Runner final : public TSinkImpl<IScriptRunner, CPostProc> {
   public:
    using TSinkImpl::TSinkImpl;
    std::string GetScript() override { return owner()->script(); }
    int ProcessFile(const char* file) override { return owner()->ProcessFile(file); }
  };
  class QueueSink final : public TSinkImpl<IScriptQueueSink, CPostProc> {
   public:
    using TSinkImpl::TSinkImpl;
    void QueueChanged(int count) override { owner()->queueChanged(count); }
  };

  void connectButton(QPushButton* button, void (CPostProc::*action)());
  void takeFields();
  void showFields();
  [[nodiscard]] std::string script() const;
  void browse();
  int runRegistered(const std::function<int()>& command);
  void enterHost();
  void leaveHost();
  void keepDirectory(bool keep);
  [[nodiscard]] int queued() const;
  void queueChanged(int count);
  void addLogLine(const std::string& line);
  [[nodiscard]] IProgress* makeProgress();
  void showStep(int steps);
  [[nodiscard]] bool step();
  void cancel();
  void fileFailed(const std::string& file, IParam* parameters, bool isFlagged);
  void showFiles();
  void tryAgain();
  void openFolders();
  [[nodiscard]] std::vector<std::string> chosenFiles() const;

  std::unique_ptr<Ui::PostProc> m_form;
  bool m_useScript = false;
  std::string m_scriptName;
  bool m_isEnabled = true, m_isRunning = false, m_isCancelled = false;
  StepCounter m_steps;
  CErrorFiles m_errors;
  std::vector<Unprocessed> m_unprocessed;
  QMetaObject::Connection m_selection;
  KxPtr<IScriptQueue> m_queue;
  LogSink m_log{this};
  Factory m_factory{this};
  Collector m_collector{this};
  Runner m_runner{this};
  QueueSink m_queueSink{this};
};

}  // namespace quillbay
