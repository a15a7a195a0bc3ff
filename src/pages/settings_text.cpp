#include "pages/settings_text.h"

#include <cmath>

#include "platform/base_services.h"

namespace quillbay {

namespace {

bool same(double a, double b) noexcept { return std::fabs(a - b) <= 0.001; }

struct Lines {
  std::string text;
  void add(const std::string& line) {
    if (!text.empty()) text += "or   \t";
    text += line + "\n\r";
  }
};

}  // namespace

std::string detectionText(const std::vector<PaperRecord>& papers, double width, double length, bool widthOnly,
                          const std::string& before) {
  const std::string portrait = Supp_Translate("Portrait"), landscape = Supp_Translate("Landscape");
  Lines lines;
  for (const PaperRecord& paper : papers) {
    const auto [w, h] = paper.size;
    if (widthOnly) {
      if (same(width, w)) lines.add(paper.name + "   " + portrait);
      if (same(width, h)) lines.add(paper.name + "  " + landscape);
    } else {
      if (same(width, w) && same(length, h)) lines.add(paper.name + "  " + portrait);
      if (same(length, w) && same(width, h)) lines.add(paper.name + " " + landscape);
    }
  }
  return lines.text.empty() ? before : Supp_Translate("Detected:") + lines.text;
}

std::string settingsSummary(const SummaryParts& parts) {
  std::string text = parts.target + '\r';
  if (!parts.preset.empty()) text += Supp_Translate("Preset: ") + '\t' + parts.preset + '\r';
  text += Supp_Translate("Mode: ") + '\t' + parts.mode + '\r';
  text += Supp_Translate("Paper: ") + '\t' + parts.paper + '\r';
  text += parts.detection;
  if (!parts.found.empty()) text += Supp_Translate("Document: ") + '\t' + parts.found + '\r';
  return text + Supp_Translate("DPI: ") + '\t' + toText(static_cast<std::int64_t>(parts.dpi)) + '\r';
}

}  // namespace quillbay
