#include "scanners/sim/sim_config.h"

#include <algorithm>
#include <iterator>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr std::string_view kPrefix = "sim:";

// One key of the device string: all that parsing, error messages and the option list need.
struct SimKey {
  const char* name;
  const char* title;
  const char* unit;
  const char* allowed;  // completes "KEY takes ..."; for choices: the words, separated by "|"
  bool choices;
  bool (*set)(SimConfig& config, std::string_view value);
  std::string (*get)(const SimConfig& config);
};

template <class T>
bool inRange(std::string_view text, T least, T most, T* out) {
  T value{};
  if (!parseNumber(text, &value) || !(value >= least && value <= most)) return false;
  *out = value;
  return true;
}

template <auto member>
bool setDouble(SimConfig& config, std::string_view value, double least, double most) {
  return inRange(value, least, most, &(config.*member));
}

bool setPair(std::string_view value, double least, double most, double* first, double* second) {
  const std::size_t x = value.find_first_of("xX");
  double a = 0;
  double b = 0;
  if (x == std::string_view::npos || !inRange(value.substr(0, x), least, most, &a) ||
      !inRange(value.substr(x + 1), least, most, &b))
    return false;
  *first = a;
  *second = b;
  return true;
}

// The place of `value` among the words of `words` ("dark|light|white|grey|dirty"), or -1.
int wordIndex(std::string_view words, std::string_view value) {
  for (int i = 0;; ++i) {
    const std::size_t end = words.find('|');
    if (words.substr(0, end) == value) return i;
    if (end == std::string_view::npos) return -1;
    words.remove_prefix(end + 1);
  }
}

std::string wordAt(std::string_view words, int index) {
  for (; index > 0; --index) words.remove_prefix(words.find('|') + 1);
  return std::string(words.substr(0, words.find('|')));
}

constexpr const char* kBackgrounds = "dark|light|white|grey|dirty";
constexpr const char* kDrawings = "plan|map|mix";
// In the order of `UnitFaultCode`.
constexpr const char* kFaults = "none|cancelled|empty|jam|cover|busy|denied|io|memory|unsupported|invalid|other";
constexpr const char* kSwitch = "0|1";
constexpr const char* kSources = "feeder|flatbed";

template <class E, E SimConfig::*member>
bool setWord(const char* words, SimConfig& config, std::string_view value) {
  const int index = wordIndex(words, value);
  if (index >= 0) config.*member = static_cast<E>(index);
  return index >= 0;
}

std::string pairText(double a, double b) { return toText(a) + "x" + toText(b); }

// "%3A" and the like stand for characters that part keys and files.
std::string unescape(std::string_view text) {
  const auto digit = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = static_cast<char>(c | 0x20);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
  };
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? digit(text[i + 1]) : -1;
    const int low = high >= 0 ? digit(text[i + 2]) : -1;
    out += low >= 0 ? static_cast<char>(high * 16 + low) : text[i];
    if (low >= 0) i += 2;
  }
  return out;
}

std::string escape(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == ',') {
      out += "%2C";
    } else if (c == ':') {
      out += "%3A";
    } else if (c == '%') {
      out += "%25";
    } else {
      out += c;
    }
  }
  return out;
}

bool setImages(SimConfig& config, std::string_view value) {
  std::vector<std::string> files;
  while (!value.empty()) {
    const std::size_t end = std::min(value.find(':'), value.size());
    if (end != 0) files.push_back(fio::expandHome(unescape(value.substr(0, end))));
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  config.images = std::move(files);
  return true;
}

std::string imagesText(const SimConfig& config) {
  std::string text;
  for (const std::string& file : config.images) text += (text.empty() ? "" : ":") + escape(file);
  return text;
}

bool setPlace(SimConfig& c, std::string_view v) {
  c.placed = setPair(v, -100000, 100000, &c.x, &c.y);
  return c.placed;
}

constexpr std::int64_t kMany = 1000000000000;

using C = SimConfig;
using V = std::string_view;

constexpr SimKey kKeys[] = {
    SimKey{"width", "Width of the bed", "mm", "millimetres from 10 to 2000", false,
           [](C& c, V v) { return setDouble<&C::width>(c, v, 10, 2000); },
           [](const C& c) { return toText(c.width); }},
    SimKey{"length", "Maximum length of a scan", "mm", "millimetres from 0 (no limit) to 1000000", false,
           [](C& c, V v) { return setDouble<&C::length>(c, v, 0, 1000000); },
           [](const C& c) { return toText(c.length); }},
    SimKey{"size", "Size of the paper", "mm", "WIDTHxLENGTH in millimetres, each from 5 to 1000000", false,
           [](C& c, V v) { return setPair(v, 5, 1000000, &c.paperWidth, &c.paperLength); },
           [](const C& c) { return pairText(c.paperWidth, c.paperLength); }},
    SimKey{"at", "Position of the paper", "mm", "XxY in millimetres, each from -100000 to 100000", false, setPlace,
           [](const C& c) { return c.placed ? pairText(c.x, c.y) : std::string(); }},
    SimKey{"skew", "Skew of the paper", "", "degrees clockwise from -45 to 45", false,
           [](C& c, V v) { return setDouble<&C::skew>(c, v, -45, 45); }, [](const C& c) { return toText(c.skew); }},
    SimKey{"background", "Colour of the bed", "", kBackgrounds, true,
           [](C& c, V v) { return setWord<C::Background, &C::background>(kBackgrounds, c, v); },
           [](const C& c) { return wordAt(kBackgrounds, static_cast<int>(c.background)); }},
    SimKey{"source", "Source", "", kSources, true,
           [](C& c, V v) { return setWord<bool, &C::flatbed>(kSources, c, v); },
           [](const C& c) { return wordAt(kSources, static_cast<int>(c.flatbed)); }},
    SimKey{"count", "Pages in the feeder", "", "a number of pages, 0 (endless) or more", false,
           [](C& c, V v) { return inRange<std::int64_t>(v, 0, kMany, &c.count); },
           [](const C& c) { return toText(c.count); }},
    SimKey{"speed", "Speed", "", "lines per second, 0 (as fast as possible) or more", false,
           [](C& c, V v) { return setDouble<&C::speed>(c, v, 0, 1e9); },
           [](const C& c) { return toText(c.speed); }},
    SimKey{"seed", "Seed of the drawings", "", "a whole number, 0 or more", false,
           [](C& c, V v) { return inRange<std::int64_t>(v, 0, INT64_MAX, &c.seed); },
           [](const C& c) { return toText(c.seed); }},
    SimKey{"drawing", "Kind of drawing", "", kDrawings, true,
           [](C& c, V v) { return setWord<C::Drawing, &C::drawing>(kDrawings, c, v); },
           [](const C& c) { return wordAt(kDrawings, static_cast<int>(c.drawing)); }},
    SimKey{"jam-after", "Jam after lines", "", "a number of lines, 0 (never) or more", false,
           [](C& c, V v) { return inRange<std::int64_t>(v, 0, kMany, &c.jamAfter); },
           [](const C& c) { return toText(c.jamAfter); }},
    SimKey{"fault", "Fault", "", kFaults, true,
           [](C& c, V v) { return setWord<UnitFaultCode, &C::fault>(kFaults, c, v); },
           [](const C& c) { return wordAt(kFaults, static_cast<int>(c.fault)); }},
    SimKey{"unknown-length", "Length not reported in advance", "", kSwitch, true,
           [](C& c, V v) { return setWord<bool, &C::unknownLength>(kSwitch, c, v); },
           [](const C& c) { return toText(std::int64_t{c.unknownLength}); }},
    SimKey{"finds-end", "Finds the end of the paper", "", kSwitch, true,
           [](C& c, V v) { return setWord<bool, &C::findsEnd>(kSwitch, c, v); },
           [](const C& c) { return toText(std::int64_t{c.findsEnd}); }},
    SimKey{"centring", "Centring", "", "0|1|2", true,
           [](C& c, V v) { return setWord<int, &C::centring>("0|1|2", c, v); },
           [](const C& c) { return toText(std::int64_t{c.centring}); }},
    SimKey{"depth", "Bits per sample", "bit", "8|16", true,
           [](C& c, V v) {
             const int index = wordIndex("8|16", v);
             if (index >= 0) c.depth = index == 0 ? 8 : 16;
             return index >= 0;
           },
           [](const C& c) { return toText(std::int64_t{c.depth}); }},
    SimKey{"colour", "Colour", "", kSwitch, true,
           [](C& c, V v) { return setWord<bool, &C::colour>(kSwitch, c, v); },
           [](const C& c) { return toText(std::int64_t{c.colour}); }},
    SimKey{"image-dpi", "Resolution of image files without one", "dpi", "dots per inch from 10 to 4800", false,
           [](C& c, V v) { return setDouble<&C::imageDpi>(c, v, 10, 4800); },
           [](const C& c) { return toText(c.imageDpi); }},
    SimKey{"images", "Image files", "", "file names separated by colons (PNM, TIFF, PNG)", false, setImages,
           imagesText},
};

std::string allowedText(const SimKey& key) {
  if (!key.choices) return Supp_Translate(key.allowed);
  std::string words;
  for (const char* c = key.allowed; *c != 0; ++c) words += *c == '|' ? std::string(", ") : std::string(1, *c);
  return formatText(Supp_Translate("one of %s"), {words});
}

}  // namespace

bool isSimDevice(std::string_view deviceString) noexcept {
  return deviceString == "sim" || deviceString.substr(0, kPrefix.size()) == kPrefix;
}

bool setSimKey(std::string_view key, std::string_view value, SimConfig* out, std::string* why) {
  const auto* found =
      std::find_if(std::begin(kKeys), std::end(kKeys), [&](const SimKey& k) { return key == k.name; });
  if (found == std::end(kKeys)) {
    std::string names;
    for (const SimKey& k : kKeys) names += (&k == kKeys ? "" : ", ") + std::string(k.name);
    *why = formatText(Supp_Translate("The simulated scanner has no key \"%s\"; it takes %s."),
                      {std::string(key), names});
    return false;
  }
  if (found->set(*out, value)) return true;
  *why = formatText(Supp_Translate("The simulated scanner does not take \"%s=%s\": %s takes %s."),
                    {std::string(key), std::string(value), found->name, allowedText(*found)});
  return false;
}

namespace {

/// How a form shows a key.
struct SimField {
  std::string_view key;
  const char* group;
  double least = 0, most = 0;  ///< of a number
};
constexpr const char* kBedGroup = "Paper and bed";
constexpr const char* kDrawingGroup = "Drawings";
constexpr const char* kTransportGroup = "Transport";
constexpr SimField kFields[] = {{"width", kBedGroup, 10, 2000},
                                {"length", kBedGroup, 0, 1000000},
                                {"size", kBedGroup},
                                {"at", kBedGroup},
                                {"skew", kBedGroup, -45, 45},
                                {"background", kBedGroup},
                                {"source", kTransportGroup},
                                {"count", kTransportGroup},
                                {"speed", kTransportGroup, 0, 1e9},
                                {"seed", kDrawingGroup},
                                {"drawing", kDrawingGroup},
                                {"images", kDrawingGroup},
                                {"image-dpi", kDrawingGroup, 10, 4800}};

void describeField(const SimKey& key, UnitOption* option) {
  const auto* field =
      std::find_if(std::begin(kFields), std::end(kFields), [&](const SimField& f) { return f.key == key.name; });
  option->advanced = field == std::end(kFields);  // what devices differ in, and faults
  option->group = Supp_Translate(option->advanced ? "Device" : field->group);
  if (key.allowed == kSwitch) option->type = UnitOptionType::Switch;
  if (option->advanced || field->least == field->most) return;
  option->type = UnitOptionType::Number;
  option->least = field->least;
  option->most = field->most;
}

}  // namespace

bool parseSimDevice(std::string_view deviceString, SimConfig* out, std::string* why) {
  if (!isSimDevice(deviceString)) {
    *why = formatText(Supp_Translate("\"%s\" is not a simulated scanner: its name starts with \"sim:\"."),
                      {std::string(deviceString)});
    return false;
  }
  SimConfig config;
  std::string_view rest = deviceString.substr(std::min(kPrefix.size(), deviceString.size()));
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(','), rest.size());
    const std::string_view item = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (item.empty()) continue;
    const std::size_t equals = std::min(item.find('='), item.size());
    const std::string_view value = item.substr(std::min(equals + 1, item.size()));
    if (!setSimKey(item.substr(0, equals), value, &config, why)) return false;
  }
  *out = std::move(config);
  return true;
}

std::vector<UnitOption> simOptions(const SimConfig& config) {
  std::vector<UnitOption> options;
  for (const SimKey& key : kKeys) {
    UnitOption option{key.name,
                      Supp_Translate(key.title),
                      Supp_Translate(key.title) + ": " + allowedText(key) + ".",
                      key.get(config),
                      key.unit,
                      {},
                      {},
                      true,
                      true};
    if (key.choices) {
      std::string_view words = key.allowed;
      for (std::size_t end = 0; end != std::string_view::npos; words.remove_prefix(end + 1)) {
        end = words.find('|');
        option.choices.emplace_back(words.substr(0, end));
        if (end == std::string_view::npos) break;
      }
    } else {
      option.range = key.allowed;
    }
    describeField(key, &option);
    options.push_back(std::move(option));
  }
  return options;
}

}  // namespace quillbay
