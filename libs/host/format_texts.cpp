#include "host/format_texts.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "platform/base_services.h"

namespace quillbay {

namespace {

struct KnownText {
  const char* name;
  const char* text;
};

constexpr KnownText kOptionLabels[] = {
    {"Compression", "&Compression"},
    {"BlackWhite", "Black and &white"},
    {"Level", "&Effort"},
    {"Predictor", "&Predictor"},
    {"Quality", "&Quality"},
    {"Colour", "&Resolution of colours"},
    {"TiffKind", "&Kind of file"},
    {"StripBytes", "&Bytes of a strip"},
    {"Layout", "&Layout"},
    {"TileSize", "&Size of a tile"},
    {"Profile", "Colour pro&file"},
    {"Coding", "&Coding"},
    {"Ratio", "&Ratio"},
    {"Overviews", "&Overviews"},
    {"Archive", "For archives (PDF/&A)"},
};

constexpr KnownText kChoiceTexts[] = {
    {"auto", "Automatic"},
    {"on", "On"},
    {"off", "Off"},
    {"yes", "Yes"},
    {"no", "No"},
    {"none", "None"},
    {"G3", "CCITT Group 3"},
    {"G4", "CCITT Group 4"},
    {"Deflate", "Deflate (ZIP)"},
    {"classic", "Classic TIFF"},
    {"big", "BigTIFF"},
    {"full", "Full"},
    {"half", "Half"},
    {"strips", "Strips"},
    {"tiles", "Tiles"},
    {"lossless", "Lossless"},
    {"quality", "By quality"},
    {"ratio", "By ratio"},
};

struct ChoiceColors {
  const char* format;
  const char* key;
  const char* choice;
  std::uint32_t colorSpaces;
};
constexpr std::uint32_t kBits = 3;
constexpr ChoiceColors kChoiceColors[] = {
    {"TIFF", "Compression", "G3", kBits},
    {"TIFF", "Compression", "G4", kBits},
};

const char* findText(const KnownText* begin, const KnownText* end, std::string_view name) {
  const auto* found = std::find_if(begin, end, [&](const KnownText& t) { return sameKey(t.name, name); });
  return found == end ? nullptr : found->text;
}

/// "StripBytes" as "Strip bytes".
std::string wordsOf(std::string_view key) {
  std::string words;
  for (std::size_t i = 0; i < key.size(); ++i) {
    const bool starts = i > 0 && std::isupper(static_cast<unsigned char>(key[i])) &&
                        std::islower(static_cast<unsigned char>(key[i - 1]));
    if (starts) words += ' ';
    words += starts ? static_cast<char>(std::tolower(static_cast<unsigned char>(key[i]))) : key[i];
  }
  return words;
}

}  // namespace

std::string formatOptionLabel(std::string_view key) {
  const char* known = findText(std::begin(kOptionLabels), std::end(kOptionLabels), key);
  return Supp_Translate(known ? std::string(known) : wordsOf(key));
}

std::string formatChoiceText(std::string_view choice) {
  const char* known = findText(std::begin(kChoiceTexts), std::end(kChoiceTexts), choice);
  return Supp_Translate(known ? std::string(known) : std::string(choice));
}

std::uint32_t formatChoiceColors(std::string_view format, std::string_view key, std::string_view choice) {
  const auto* found = std::find_if(std::begin(kChoiceColors), std::end(kChoiceColors), [&](const ChoiceColors& c) {
    return sameKey(c.format, format) && sameKey(c.key, key) && sameKey(c.choice, choice);
  });
  return found == std::end(kChoiceColors) ? 0xFFFFFFFFU : found->colorSpaces;
}

}  // namespace quillbay
