#include "page_scripts.h"

#include <utility>

#include "quillbay/scan_keys.h"
#include "translated.h"

PageScripts::PageScripts(quillbay::IApp* app, Reporter& reporter)
    : m_reporter(reporter), m_queue(quillbay::query<quillbay::IScriptQueue>(app)) {
  if (const auto services = quillbay::query<quillbay::IScriptServices>(app))
    m_collector.Subscribe(services->GetErrorCollectors().get());
  if (m_queue) m_queueSink.Subscribe(m_queue->GetSinks().get());
}

void PageScripts::failed(const std::string& file, quillbay::IParam* parameters, bool cancelled) {
  if (quillbay::paramInt(parameters, quillbay::script_key::DontProcessErrors)) return;
  ++m_failures;
  m_reporter.unprocessed(file, quillbay::paramString(parameters, quillbay::script_key::Error), cancelled);
}

void PageScripts::cancel() {
  if (m_queue) m_queue->Cancel();
}

void PageScripts::whenDone(std::function<void()> then) {
  if (!m_queue || m_queue->Count() == 0) return then();
  m_reporter.note(translated("waiting for the script: %s left", {std::to_string(m_queue->Count())}));
  m_then = std::move(then);
}

void PageScripts::changed(int count) {
  if (count != 0 || !m_then) return;
  std::exchange(m_then, {})();
}
