#include "host/script_services.h"

namespace quillbay {

void CScriptServices::Log(const std::string& line) {
  const std::string text = line + "\n";
  const auto sinks = m_logs->Enumerate();
  while (const auto sink = sinks->Next()) sink->Line(text.c_str());
}

KxPtr<IProgress> CScriptServices::MakeProgress(const std::string& name) {
  KxPtr<IScriptProgressFactory> last;
  const auto factories = m_factories->Enumerate();
  while (auto factory = factories->Next()) last = std::move(factory);
  return last ? KxPtr<IProgress>::adopt(last->CreateProgress(name.c_str())) : KxPtr<IProgress>{};
}

KxPtr<IProgress> CScriptServices::MakeSideProgress(const std::string& name) {
  const auto first = listsFailures() ? m_factories->Enumerate()->Next() : KxPtr<IScriptProgressFactory>{};
  return first ? KxPtr<IProgress>::adopt(first->CreateProgress(name.c_str())) : KxPtr<IProgress>{};
}

void CScriptServices::FileFailed(const std::string& file, IParam* parameters, bool cancelled) {
  const auto sinks = m_collectors->Enumerate();
  while (const auto sink = sinks->Next()) sink->FileFailed(file.c_str(), parameters, cancelled ? 1 : 0);
}

KxPtr<IScriptRunner> CScriptServices::runner() const {
  KxPtr<IScriptRunner> last;
  const auto runners = m_runners->Enumerate();
  while (auto runner = runners->Next()) last = std::move(runner);
  return last;
}

}  // namespace quillbay
