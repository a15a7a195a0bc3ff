#include "destinations/name_context.h"

#include "params/shared_scan_params.h"
#include "platform/base_services.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {
/// The inch mark cannot stand in a file name.
std::string withoutInchMark(std::string text) {
  for (std::size_t at = 0; (at = text.find('"', at)) != std::string::npos; at += 2) text.replace(at, 1, "in");
  return text;
}
}  // namespace

std::string sizeText(const ScanValues& values, const std::string& widthText, const std::string& heightText) {
  switch (values.scanType) {
    case kAreaAuto: return loadString(kTextSizeAuto);
    case kAreaAutoWidth:
    case kAreaFixedWidth: return formatText(loadString(kTextSizeWidth), {withoutInchMark(widthText)});
    case kAreaCustom:
      return formatText(loadString(kTextSizeBoth), {withoutInchMark(widthText), withoutInchMark(heightText)});
    default: return values.paperName;
  }
}

NameContext makeNameContext(CSharedScanParams& params) {
  NameContext context;
  context.values = params.values();
  const tagRRECT& area = context.values.rcScan;
  context.sizeText =
      sizeText(context.values, params.units().lengthText(area.width()), params.units().lengthText(area.height()));
  context.moment = now();
  return context;
}

}  // namespace quillbay
