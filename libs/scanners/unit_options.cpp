#include "scanners/unit_options.h"

#include "platform/base_services.h"

namespace quillbay {

namespace {

std::string nameOf(UnitSource source) {
  switch (source) {
    case UnitSource::Flatbed: return Supp_Translate("flatbed");
    case UnitSource::Feeder: return Supp_Translate("feeder");
    case UnitSource::Duplex: return Supp_Translate("feeder, both sides");
  }
  return {};
}

}  // namespace

int refuseSource(const std::string& device, UnitSource source, const std::vector<UnitSource>& offered,
                 std::string* why) {
  if (!why) return 0;
  std::string names;
  for (const UnitSource s : offered) names.append(names.empty() ? "" : "; ").append(nameOf(s));
  *why = formatText(Supp_Translate("%s has no source \"%s\"; it has: %s"), {device, nameOf(source), names});
  return 0;
}

int loadUnitOptions(IUnitOptions& unit, IParam* in) {
  if (!in) return 1;
  for (const std::string& name : in->GetKeys()) {
    std::string why;
    if (!unit.SetOption(name, paramString(in, name), &why)) logLine(LogLevel::Warning, "quillbay.scanner", why);
  }
  return 1;
}

}  // namespace quillbay
