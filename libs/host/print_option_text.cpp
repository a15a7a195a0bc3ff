/// Options of printing as text: for command lines and settings files.
#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/host.h"
#include "quillbay/print_host.h"

namespace quillbay {

namespace {

struct Choice {
  const char* word;
  int value;
};

template <class E>
constexpr int numberOf(E value) {
  return static_cast<int>(value);
}

constexpr std::array kPrintScalings{Choice{"true", numberOf(PrintScaling::TrueSize)},
                                    Choice{"fit", numberOf(PrintScaling::FitWidth)}};
constexpr std::array kPrintTurns{Choice{"none", numberOf(PrintTurn::None)},
                                 Choice{"quarter", numberOf(PrintTurn::Quarter)},
                                 Choice{"auto", numberOf(PrintTurn::Auto)}};
constexpr std::array kPrintPlaces{Choice{"centre", numberOf(PrintPlace::Centred)},
                                  Choice{"left", numberOf(PrintPlace::Left)},
                                  Choice{"right", numberOf(PrintPlace::Right)}};
constexpr std::array kColors{Choice{"as-scanned", numberOf(PrintColor::AsScanned)},
                             Choice{"grey", numberOf(PrintColor::Grey)},
                             Choice{"bw", numberOf(PrintColor::Bitonal)}};
constexpr std::array kHalftones{Choice{"threshold", numberOf(PrintHalftone::Threshold)},
                                Choice{"ordered", numberOf(PrintHalftone::Ordered)},
                                Choice{"diffusion", numberOf(PrintHalftone::Diffusion)}};
constexpr std::array kQualities{Choice{"auto", 0}, Choice{"draft", 3}, Choice{"normal", 4}, Choice{"high", 5}};
constexpr std::array kSwitches{Choice{"no", 0}, Choice{"yes", 1}};

constexpr std::int64_t kLeastPercent = 1, kMostPercent = 1000, kMostDpi = 10000;
constexpr double kMostLength = 100000;

struct NamedOption {
  const char* name;
  const char* takes;  // in words that are not translated: they are typed
  int (*set)(IParam* options, std::string_view value);
};

template <std::size_t N>
int setChoice(IParam* options, const char* key, const std::array<Choice, N>& choices, std::string_view value) {
  const auto found =
      std::find_if(choices.begin(), choices.end(), [&](const Choice& c) { return sameKey(c.word, value); });
  if (found == choices.end()) return 0;
  options->SetValue(key, found->value);
  return 1;
}

int setScaling(IParam* options, std::string_view value) {
  if (setChoice(options, print_key::Scaling, kPrintScalings, value)) return 1;
  std::int64_t percent = 0;
  const bool isPercent = parseNumber(value.substr(0, value.find('%')), &percent);
  if (!isPercent || percent < kLeastPercent || percent > kMostPercent) return 0;
  options->SetValue(print_key::Scaling, numberOf(PrintScaling::Percent));
  options->SetValue(print_key::Percent, static_cast<std::int32_t>(percent));
  return 1;
}

int setLength(IParam* options, std::initializer_list<const char*> keys, std::string_view value) {
  double length = 0;
  if (!ParseLengthMm(value, &length) || !(length >= 0 && length <= kMostLength)) return 0;
  for (const char* key : keys) options->SetValue(key, length);
  return 1;
}

int setResolution(IParam* options, std::string_view value) {
  std::int64_t dpi = 0;
  if (!sameKey(value, "auto") && (!parseNumber(value, &dpi) || dpi < 1 || dpi > kMostDpi)) return 0;
  options->SetValue(print_key::Resolution, static_cast<std::int32_t>(dpi));
  return 1;
}

constexpr NamedOption kNamedOptions[] = {
    {"media", "auto|MEDIUM",
     [](IParam* o, std::string_view v) { return o->SetValue(print_key::Media, sameKey(v, "auto") ? "" : v); }},
    {"scaling", "true|fit|PERCENT", setScaling},
    {"turn", "none|quarter|auto",
     [](IParam* o, std::string_view v) { return setChoice(o, print_key::Turn, kPrintTurns, v); }},
    {"place", "centre|left|right",
     [](IParam* o, std::string_view v) { return setChoice(o, print_key::Place, kPrintPlaces, v); }},
    {"margins", "LENGTH",
     [](IParam* o, std::string_view v) {
       return setLength(
           o, {print_key::MarginLeft, print_key::MarginTop, print_key::MarginRight, print_key::MarginBottom}, v);
     }},
    {"color", "as-scanned|grey|bw",
     [](IParam* o, std::string_view v) { return setChoice(o, print_key::Color, kColors, v); }},
    {"halftone", "threshold|ordered|diffusion",
     [](IParam* o, std::string_view v) { return setChoice(o, print_key::Halftone, kHalftones, v); }},
    {"resolution", "auto|DPI", setResolution},
    {"quality", "auto|draft|normal|high",
     [](IParam* o, std::string_view v) { return setChoice(o, print_key::Quality, kQualities, v); }},
    {"tile", "yes|no", [](IParam* o, std::string_view v) { return setChoice(o, print_key::Tiled, kSwitches, v); }},
    {"overlap", "LENGTH", [](IParam* o, std::string_view v) { return setLength(o, {print_key::Overlap}, v); }},
    {"pieces", "auto|LENGTH",
     [](IParam* o, std::string_view v) {
       return setLength(o, {print_key::PieceLength}, sameKey(v, "auto") ? "0" : v);
     }},
    {"crop-marks", "yes|no",
     [](IParam* o, std::string_view v) { return setChoice(o, print_key::CropMarks, kSwitches, v); }},
};

}  // namespace

std::vector<std::string> ListPrintOptions() {
  std::vector<std::string> list;
  list.reserve(std::size(kNamedOptions));
  for (const NamedOption& option : kNamedOptions) list.push_back(std::string(option.name) + '=' + option.takes);
  return list;
}

int SetPrintOption(IParam* options, std::string_view name, std::string_view value, std::string* why) {
  const auto* found = std::find_if(std::begin(kNamedOptions), std::end(kNamedOptions),
                                   [&](const NamedOption& option) { return sameKey(option.name, name); });
  if (found != std::end(kNamedOptions)) {
    if (found->set(options, value)) return 1;
    if (why) *why = formatText(Supp_Translate("%s takes %s"), {found->name, found->takes});
    return 0;
  }
  std::string names;
  for (const NamedOption& option : kNamedOptions) names += (names.empty() ? "" : ", ") + std::string(option.name);
  if (why)
    *why = formatText(Supp_Translate("unknown print option \"%s\"; there are: %s"), {std::string(name), names});
  return 0;
}

}  // namespace quillbay
