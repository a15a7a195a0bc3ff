#include "params/found_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr double kSameSize = 3.0;  // mm
constexpr double kNoTurn = 0.05;   // degrees: shown with one decimal

double difference(const tagRSIZE& a, double cx, double cy) {
  return std::max(std::abs(a.cx - cx), std::abs(a.cy - cy));
}

/// In the decimal mark of the host's locale.
std::string numberText(CScanUnits& units, double value, const char* pattern) {
  std::array<char, 64> text{};
  if (ILinearUnit* unit = units.current()) {
    unit->FormatPattern(value, pattern, text.data(), static_cast<int>(text.size()));
  }
  return text.data();
}

}  // namespace

std::string paperOfSize(const std::vector<PaperRecord>& papers, const tagRSIZE& size) {
  const PaperRecord* best = nullptr;
  double least = kSameSize;
  for (const PaperRecord& paper : papers) {
    const double apart =
        std::min(difference(size, paper.size.cx, paper.size.cy), difference(size, paper.size.cy, paper.size.cx));
    if (apart > least || (best && apart == least)) continue;
    least = apart;
    best = &paper;
  }
  return best ? best->name : std::string();
}

std::string foundSizeText(CScanUnits& units, const tagRSIZE& size) {
  ILinearUnit* unit = units.current();
  if (!unit) return {};
  const char* pattern = units.index() ? "0.0" : "0";
  const double factor = unit->GetFactor() > 0 ? unit->GetFactor() : 1;
  return formatText(Supp_Translate("%s x %s %s"), {numberText(units, size.cx / factor, pattern),
                                                   numberText(units, size.cy / factor, pattern), unit->GetName()});
}

std::string foundAngleText(CScanUnits& units, double angle) {
  const double degrees = std::abs(angle) * 180 / std::numbers::pi;
  if (degrees < kNoTurn) return {};
  // A sheet that is straightened clockwise lies the other way.
  const char* text = angle > 0 ? "turned by %s degrees to the left" : "turned by %s degrees to the right";
  return formatText(Supp_Translate(text), {numberText(units, degrees, "0.0")});
}

std::string foundNumbers(CScanUnits& units, const DetectedArea& found) {
  std::string text = foundSizeText(units, found.sheet);
  if (!found.paper.empty()) text += " (" + found.paper + ")";
  const std::string turn = foundAngleText(units, found.angle);
  return turn.empty() ? text : text + ", " + turn;
}

std::string foundText(CScanUnits& units, const DetectedArea& found) {
  if (found.by == DetectedBy::Nothing) return Supp_Translate("No document was found");
  if (found.by == DetectedBy::WholeBed) return Supp_Translate("No document was found; the whole bed is scanned");
  return formatText(Supp_Translate("Found %s"), {foundNumbers(units, found)});
}

}  // namespace quillbay
