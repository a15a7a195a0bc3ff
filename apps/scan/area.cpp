#include "area.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "failure.h"
#include "names.h"
#include "quillbay/host.h"
#include "quillbay/scan_keys.h"
#include "translated.h"

using quillbay::IParam;
using quillbay::KxPtr;

namespace {

/// Drivers round: a bed may be smaller than the requested area by this much, in mm.
constexpr double kBedTolerance = 1.0;
/// Beds up to this length (mm) are flatbeds; the whole bed is then the default area.
constexpr double kFlatbedLength = 500;

[[noreturn]] void refuse(const std::string& text, const std::string& what) {
  throw Failure(kUsage, "--area \"" + text + "\": " + what);
}

double lengthOf(const std::string& text, const std::string& all) {
  double mm = 0;
  if (!quillbay::ParseLengthMm(text, &mm)) {
    refuse(all, translated("\"%s\" is not a length; write 25.4, 25.4mm, 2.54cm or 1in", {text}));
  }
  return mm;
}

/// The text after "kind:"; nothing if the text is of another kind.
std::optional<std::string> behind(const std::string& text, const std::string& kind) {
  const auto colon = text.find(':');
  if (!names::same(text.substr(0, colon), kind)) return std::nullopt;
  return colon == std::string::npos ? std::string() : text.substr(colon + 1);
}

quillbay::tagRRECT parseCustom(const std::string& list, const std::string& all) {
  std::vector<double> edges;
  for (std::size_t begin = 0; begin <= list.size();) {
    const auto comma = std::min(list.find(',', begin), list.size());
    edges.push_back(lengthOf(list.substr(begin, comma - begin), all));
    begin = comma + 1;
  }
  if (edges.size() != 4) refuse(all, translated("a custom area has four edges: custom:LEFT,TOP,RIGHT,BOTTOM"));
  const quillbay::tagRRECT rect{edges[0], edges[1], edges[2], edges[3]};
  if (rect.left < 0 || rect.top < 0) refuse(all, translated("left and top must not be negative"));
  if (!(rect.width() > 0) || !(rect.height() > 0))
    refuse(all, translated("right must be greater than left, and bottom greater than top"));
  return rect;
}

AreaChoice whole(int type, double width, double length) {
  AreaChoice choice;
  choice.type = type;
  choice.rect = {0, 0, width, length};
  return choice;
}

AreaChoice paperArea(const std::string& name, const std::vector<Paper>& papers, const Bed& bed,
                     std::optional<bool> portrait, bool savedPortrait) {
  const auto paper =
      std::find_if(papers.begin(), papers.end(), [&](const Paper& p) { return names::same(p.name, name); });
  if (paper == papers.end()) {
    std::vector<std::string> all{"auto", "auto-width", "fixed-width", "custom:L,T,R,B"};
    for (const Paper& p : papers) all.push_back(p.name);
    refuse(name, translated("unknown paper or area; %s", {names::allowed(all, name, "--all-options")}));
  }
  const auto width = [&](bool upright) { return upright ? paper->width : paper->height; };
  const auto length = [&](bool upright) { return upright ? paper->height : paper->width; };
  const auto fits = [&](bool upright) {
    return width(upright) <= bed.width + kBedTolerance &&
           (bed.length <= 0 || length(upright) <= bed.length + kBedTolerance);
  };
  const bool upright = portrait ? *portrait : (fits(savedPortrait) ? savedPortrait : !savedPortrait);
  if (!fits(upright)) {
    std::vector<std::string> fitting;
    for (const Paper& p : papers) {
      if (p.width <= bed.width + kBedTolerance && (bed.length <= 0 || p.height <= bed.length + kBedTolerance)) {
        fitting.push_back(p.name);
      }
    }
    refuse(name, translated("%s is larger than the bed of %s; upright papers that fit: %s",
                            {sizeText(width(upright), length(upright)), sizeText(bed.width, bed.length),
                             names::joined(fitting)}));
  }
  AreaChoice choice = whole(quillbay::kAreaPaper, std::min(width(upright), bed.width),
                            bed.length > 0 ? std::min(length(upright), bed.length) : length(upright));
  choice.paper = paper->name;
  choice.portrait = upright;
  return choice;
}

std::string numberText(double value) {
  std::array<char, 32> buffer{};
  const auto end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, 1).ptr;
  std::string text(buffer.data(), end);
  if (text.ends_with(".0")) text.resize(text.size() - 2);
  return text;
}

}  // namespace

std::string sizeText(double width, double height) {
  return height > 0 ? numberText(width) + " x " + numberText(height) + " mm"
                    : translated("%s mm wide", {numberText(width)});
}

AreaRequest parseArea(const std::string& text) {
  AreaRequest request;
  if (text.empty()) return request;
  if (const auto edges = behind(text, "custom")) {
    request.kind = AreaRequest::Kind::Custom;
    request.rect = parseCustom(*edges, text);
  } else if (const auto autoWidth = behind(text, "auto-width")) {
    request.kind = AreaRequest::Kind::AutoWidth;
    if (!autoWidth->empty()) refuse(text, translated("auto-width takes no width; use fixed-width:WIDTH"));
  } else if (const auto width = behind(text, "fixed-width")) {
    request.kind = AreaRequest::Kind::FixedWidth;
    if (!width->empty()) request.width = lengthOf(*width, text);
    if (request.width && !(*request.width > 0)) refuse(text, translated("the width must be greater than 0"));
  } else if (names::same(text, "auto")) {
    request.kind = AreaRequest::Kind::Auto;
  } else {
    request.kind = AreaRequest::Kind::Paper;
    request.paper = text;
  }
  return request;
}

std::vector<Paper> listPapers(quillbay::IApp* app) {
  std::vector<Paper> list;
  const auto source = quillbay::query<quillbay::IStdPapersParam>(app);
  const auto styles = quillbay::query<quillbay::IStyleManager>(app);
  const auto papers = source ? KxPtr<IParam>::adopt(source->GetPapers()) : KxPtr<IParam>{};
  if (!papers || !styles) return list;
  for (const std::string& name : papers->GetSubStores()) {
    const auto entry = KxPtr<IParam>::adopt(papers->GetSubStore(name, 0));
    if (!quillbay::paramInt(entry.get(), quillbay::paper_key::Used)) continue;
    const auto size = quillbay::paramValue(entry.get(), quillbay::paper_key::Size);
    const auto* point = size.get<quillbay::tagRPOINT>();
    const auto unit = KxPtr<quillbay::ILinearUnit>::adopt(
        styles->GetLinearUnit(quillbay::paramString(entry.get(), quillbay::paper_key::Units, "mm").c_str()));
    if (!point || !unit) continue;
    list.push_back({quillbay::paramString(entry.get(), quillbay::paper_key::Name, name),
                    point->x * unit->GetFactor(), point->y * unit->GetFactor()});
  }
  return list;
}

AreaChoice chooseArea(const AreaRequest& request, const std::vector<Paper>& papers, const Bed& bed,
                      std::optional<bool> portrait, bool savedPortrait) {
  switch (request.kind) {
    case AreaRequest::Kind::None:
      if (bed.length > 0 && bed.length <= kFlatbedLength)
        return whole(quillbay::kAreaCustom, bed.width, bed.length);
      return whole(quillbay::kAreaAutoWidth, bed.width, bed.length > 0 ? bed.length : bed.width);
    // Until the document is found.
    case AreaRequest::Kind::Auto:
      return whole(quillbay::kAreaAuto, bed.width, bed.length > 0 ? bed.length : bed.width);
    case AreaRequest::Kind::AutoWidth: return whole(quillbay::kAreaAutoWidth, bed.width, bed.width);
    case AreaRequest::Kind::FixedWidth: {
      const double width = request.width.value_or(bed.width);
      if (width > bed.width + kBedTolerance) {
        refuse("fixed-width",
               translated("it is %s; the bed is only %s", {sizeText(width, 0), sizeText(bed.width, 0)}));
      }
      return whole(quillbay::kAreaFixedWidth, std::min(width, bed.width), bed.width);
    }
    case AreaRequest::Kind::Custom: {
      AreaChoice choice = whole(quillbay::kAreaCustom, 0, 0);
      choice.rect = request.rect;
      if (choice.rect.right > bed.width + kBedTolerance ||
          (bed.length > 0 && choice.rect.bottom > bed.length + kBedTolerance)) {
        refuse("custom",
               translated("right and bottom are %s, outside the bed of %s",
                          {sizeText(choice.rect.right, choice.rect.bottom), sizeText(bed.width, bed.length)}));
      }
      choice.rect.right = std::min(choice.rect.right, bed.width);
      if (bed.length > 0) choice.rect.bottom = std::min(choice.rect.bottom, bed.length);
      return choice;
    }
    case AreaRequest::Kind::Paper: break;
  }
  return paperArea(request.paper, papers, bed, portrait, savedPortrait);
}
