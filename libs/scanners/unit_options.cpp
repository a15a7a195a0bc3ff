#include "scanners/unit_options.h"

#include "platform/base_services.h"

namespace quillbay {

int loadUnitOptions(IUnitOptions& unit, IParam* in) {
  if (!in) return 1;
  for (const std::string& name : in->GetKeys()) {
    std::string why;
    if (!unit.SetOption(name, paramString(in, name), &why)) logLine(LogLevel::Warning, "quillbay.scanner", why);
  }
  return 1;
}

}  // namespace quillbay
