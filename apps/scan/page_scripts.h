#pragma once
#include <functional>
#include <string>

#include "quillbay/connection_point.h"
#include "quillbay/script_services.h"
#include "reporter.h"

/// The scripts that work on scanned pages: reports what they could not process, and waits for them.
class PageScripts {
 public:
  PageScripts(quillbay::IApp* app, Reporter& reporter);

  /// Pages that were not processed so far.
  [[nodiscard]] int failures() const noexcept { return m_failures; }
  /// Ends the script that runs and those that wait; pages are saved all the same.
  void cancel();
  /// Calls `then` when no script is left, perhaps at once.
  void whenDone(std::function<void()> then);

 private:
  class Collector final : public quillbay::TSinkImpl<quillbay::IScriptErrorSink, PageScripts> {
   public:
    using TSinkImpl::TSinkImpl;
    void FileFailed(const char* file, quillbay::IParam* parameters, int cancelled) override {
      owner()->failed(file, parameters, cancelled != 0);
    }
  };
  class QueueSink final : public quillbay::TSinkImpl<quillbay::IScriptQueueSink, PageScripts> {
   public:
    using TSinkImpl::TSinkImpl;
    void QueueChanged(int count) override { owner()->changed(count); }
  };
  void failed(const std::string& file, quillbay::IParam* parameters, bool cancelled);
  void changed(int count);

  Reporter& m_reporter;
  quillbay::KxPtr<quillbay::IScriptQueue> m_queue;
  Collector m_collector{this};
  QueueSink m_queueSink{this};
  std::function<void()> m_then;
  int m_failures = 0;
};
