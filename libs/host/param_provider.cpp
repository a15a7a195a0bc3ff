#include "host/param_provider.h"

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kToolsSection = "Tools";

bool keepsParams(std::string_view tool) { return sameKey(tool, tool_name::PrintOptions); }

}  // namespace

KxPtr<IParam> CParamProvider::tools() const {
  return KxPtr<IParam>::adopt(m_profile->GetSection(kToolsSection, 1));
}

IParam* CParamProvider::GetToolParams(std::string_view tool) {
  const auto section = keepsParams(tool) ? tools() : KxPtr<IParam>{};
  return section ? section->GetSubStore(tool, 1) : nullptr;
}

int CParamProvider::SetToolParams(std::string_view tool, IParam* params) {
  const auto section = keepsParams(tool) ? tools() : KxPtr<IParam>{};
  if (!section || !params) return 0;
  // First: they may be the kept ones themselves.
  const auto copy = new_MemParam();
  Param_CopyTo(params, copy.get());
  section->RemoveSubStore(tool);
  Param_CopyTo(copy.get(), KxPtr<IParam>::adopt(section->GetSubStore(tool, 1)).get());
  const int kept = m_profile->Flush();
  const auto reactors = m_reactors->Enumerate();
  while (const auto reactor = reactors->Next()) reactor->OnToolParams(tool);
  return kept;
}

}  // namespace quillbay
