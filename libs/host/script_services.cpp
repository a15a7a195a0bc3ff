#include "host/script_services.h"

namespace quillbay {

void CScriptServices::log(const std::string& line) const {
  const std::string text = line + "\n";
  const auto sinks = m_logs->Enumerate();
  while (const auto sink = sinks->Next()) sink->Line(text.c_str());
}

KxPtr<IProgress> CScriptServices::makeProgress(const std::string& name) const {
  KxPtr<IScriptProgressFactory> last;
  const auto factories = m_factories->Enumerate();
  while (auto factory = factories->Next()) last = std::move(factory);
  return last ? KxPtr<IProgress>::adopt(last->CreateProgress(name.c_str())) : KxPtr<IProgress>{};
}

void CScriptServices::fileFailed(const std::string& file, IParam* parameters, bool cancelled) const {
  const auto sinks = m_collectors->Enumerate();
  while (const auto sink = sinks->Next()) sink->FileFailed(file.c_str(), parameters, cancelled ? 1 : 0);
}

}  // namespace quillbay
