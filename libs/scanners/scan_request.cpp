#include "scanners/scan_request.h"

#include <cmath>
#include <cstring>
#include <span>

#include "platform/base_services.h"
#include "quillbay/bw_points.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr double kMostMm = 1e6;
constexpr std::size_t kEntries = 256;
constexpr double kAnyNumber = 2147483647;

std::string plain(double whole) { return toText(static_cast<std::int64_t>(whole)); }

// Reads one key after another; reports the first wrong one.
class Reader {
 public:
  explicit Reader(IParam* set) : m_set(set) {}
  [[nodiscard]] const std::string& why() const noexcept { return m_why; }

  double number(std::string_view key, double otherwise, double least, double most) {
    const CKxVariant value = paramValue(m_set, key);
    if (value.isEmpty()) return otherwise;
    const double number = value.toDouble(std::nan(""));
    if (number >= least && number <= most) return number;
    refuse(key, value, formatText(Supp_Translate("a number from %s to %s"), {plain(least), plain(most)}));
    return otherwise;
  }
  std::int32_t whole(std::string_view key, std::int32_t otherwise, double least, double most) {
    return static_cast<std::int32_t>(number(key, otherwise, least, most));
  }
  bool flag(std::string_view key) { return whole(key, 0, -kAnyNumber, kAnyNumber) != 0; }

  void area(ScanRequest* out) {
    const CKxVariant value = paramValue(m_set, key::Rect);
    if (value.isEmpty()) return;
    const auto* r = value.get<tagRRECT>();
    const auto fits = [](double mm) { return std::fabs(mm) <= kMostMm; };  // false for what is no number
    if (r && fits(r->left) && fits(r->top) && fits(r->right) && fits(r->bottom) && r->right > r->left &&
        r->bottom >= r->top) {
      out->hasRect = true;
      out->rect = *r;
      return;
    }
    if (m_why.empty())
      m_why = formatText(Supp_Translate("The scan area (left, top, right, bottom in mm: %s) is empty: right must "
                                        "be greater than left, and bottom not less than top."),
                         {textOf(value)});
  }

  std::int32_t setting(std::string_view key, const BwRange& range) {
    return whole(key, range.initial, range.least, range.most);
  }

  void blackAndWhite(ScanRequest* out) {
    const auto own = [&](const char* stem, const BwRange& range) {
      return setting(key::numbered(stem, out->mode), range);
    };
    out->level = whole(key::numbered(key::Level, out->mode), out->level, 0, kMostLevel);
    out->bw.level = out->level >= 0 ? out->level : levelRange(out->mode).initial;
    if (suppressesBackground(out->mode)) out->bw.suppression = own(key::BackgroundSuppression, kSuppressionRange);
    out->bw.sharpness = own(key::SoftenSharpen, kSharpnessRange);
    out->bw.blur = own(key::Blur, kBlurRange);
  }

  void greyAndColour(ScanRequest* out) {
    out->color.sharpness = setting(key::numbered(key::SoftenSharpen, out->mode), kSharpnessRange);
    out->color.blur = setting(key::numbered(key::Blur, out->mode), kBlurRange);
    if (out->mode != kModeGrey) out->color.saturation = setting(key::Saturation, kSaturationRange);
  }

  // A lookup file goes before a computed palette, that before a linear one.
  void palette(ScanRequest* out) {
    const bool hasCount = !paramValue(m_set, key::PaletteCount).isEmpty();
    out->paletteCount = setting(key::PaletteCount, kPaletteCountRange);
    if (const CKxBlob* lut = blob(key::Lut, kEntries * sizeof(KXRGBQUAD) + PaletteMap::kClasses)) {
      for (std::size_t i = 0; i < kEntries; ++i) {
        const std::uint8_t* entry = lut->data() + 4 * i;  // blue, green, red
        out->palette.push_back({entry[2], entry[1], entry[0], 0});
      }
      out->classes.assign(lut->begin() + kEntries * sizeof(KXRGBQUAD), lut->end());
    } else if (const CKxBlob* bytes = blob(key::Palette, kEntries * sizeof(KXRGBQUAD))) {
      out->palette = entriesOf(*bytes);
      out->palette.resize(hasCount ? static_cast<std::size_t>(out->paletteCount) : usedEntries(out->palette));
    }
  }

  void curves(ScanRequest* out) {
    if (const CKxBlob* bytes = blob(key::Gamma, kEntries * sizeof(KXRGBQUAD))) out->curves = entriesOf(*bytes);
  }
  /// Black and white points act before the curves: both together are one table.
  void points(ScanRequest* out) {
    BwPoints points;
    const CKxBlob* bytes = blob(key::HardBwPoint, sizeof points);
    if (!bytes) return;
    if (!readBwPoints(*bytes, &points))
      return refuse(key::HardBwPoint, m_value,
                    Supp_Translate("a black point that is darker than the white point in red, green and blue"));
    if (points == BwPoints{}) return;
    const auto both = curvesOf(points, out->curves.empty() ? nullptr : out->curves.data());
    out->curves.assign(both.begin(), both.end());
  }

 private:
  // The bytes of a key, of which there are `size`; null without the key, or when they were refused. Valid until the
  // next call.
  const CKxBlob* blob(std::string_view key, std::size_t size) {
    m_value = paramValue(m_set, key);
    if (m_value.isEmpty()) return nullptr;
    const auto* bytes = m_value.get<CKxBlob>();
    if (bytes && bytes->size() == size) return bytes;
    const auto text = [](std::size_t n) { return toText(static_cast<std::int64_t>(n)); };
    refuse(key, m_value, formatText(Supp_Translate("%s bytes"), {text(size)}));
    return nullptr;
  }
  static std::vector<KXRGBQUAD> entriesOf(const CKxBlob& bytes) {
    std::vector<KXRGBQUAD> entries(kEntries);
    std::memcpy(entries.data(), bytes.data(), kEntries * sizeof(KXRGBQUAD));
    return entries;
  }
  // Entries up to the last that is not zero, at least one: the rest of the room is no colours.
  static std::size_t usedEntries(const std::vector<KXRGBQUAD>& entries) {
    std::size_t used = entries.size();
    while (used > 1 && entries[used - 1] == KXRGBQUAD{}) --used;
    return used;
  }
  static std::string textOf(const CKxVariant& value) {
    if (const auto* text = value.get<std::string>()) return '"' + *text + '"';
    if (const auto* r = value.get<tagRRECT>())
      return toText(r->left) + ", " + toText(r->top) + ", " + toText(r->right) + ", " + toText(r->bottom);
    if (const auto* d = value.get<double>()) return toText(*d);
    if (const auto* i = value.get<std::int32_t>()) return toText(std::int64_t{*i});
    return Supp_Translate("something else");
  }
  void refuse(std::string_view key, const CKxVariant& value, const std::string& takes) {
    if (m_why.empty())
      m_why = formatText(Supp_Translate("The setting %s of the scan is %s; it takes %s."),
                         {std::string(key), textOf(value), takes});
  }

  IParam* m_set;
  CKxVariant m_value;
  std::string m_why;
};

}  // namespace

std::string readScanRequest(IParam* request, ScanRequest* out) {
  Reader reader(request);
  ScanRequest r;
  r.mode = reader.whole(key::Mode, r.mode, -kAnyNumber, kAnyNumber);
  r.dpi = reader.whole(key::ImageDpi, r.dpi, -kAnyNumber, kAnyNumber);
  r.type = reader.whole(key::RequestType, r.type, kRequestPrescan, kRequestScan);
  reader.area(&r);
  r.isBatch = reader.flag(key::BatchMode);
  r.isPiece = reader.flag(key::Bursting) && !r.isPrescan();
  r.paperLength = reader.number(key::PaperLength, 0, 0, kMostMm);
  r.speed = reader.whole(key::ScanSpeed, r.speed, 1, kUsualSpeed);
  r.level = reader.whole(key::Threshold, r.level, 0, kMostLevel);
  if (isBitonalMode(r.mode)) reader.blackAndWhite(&r);
  if (r.mode >= kModeGrey && r.mode <= kModeRgb) reader.greyAndColour(&r);
  if (r.mode == kModePalette) reader.palette(&r);
  reader.curves(&r);
  reader.points(&r);
  *out = std::move(r);
  return reader.why();
}

std::shared_ptr<PaletteMap> paletteOf(const ScanRequest& request) {
  if (request.mode != kModePalette) return nullptr;
  if (!request.classes.empty()) return PaletteMap::classified(request.palette.data(), request.classes.data());
  if (!request.palette.empty()) return PaletteMap::nearest(request.palette);
  const auto linear = linearPalette(request.paletteCount);
  return PaletteMap::nearest(std::span(linear).first(static_cast<std::size_t>(request.paletteCount)));
}

std::optional<ModeKeyRange> modeKeyRange(std::string_view key) {
  const auto is = [&](const char* stem, int mode) { return sameKey(key, key::numbered(stem, mode)); };
  const auto of = [](int mode, const BwRange& range, bool isLevel = false) {
    return ModeKeyRange{
        mode,
        {static_cast<double>(range.initial), static_cast<double>(range.least), static_cast<double>(range.most), 1},
        isLevel};
  };
  for (int mode = kModeBwThreshold; mode <= kModeRgb; ++mode) {
    if (isBitonalMode(mode) && is(key::Level, mode)) return of(mode, levelRange(mode), true);
    if (suppressesBackground(mode) && is(key::BackgroundSuppression, mode)) return of(mode, kSuppressionRange);
    if (is(key::SoftenSharpen, mode)) return of(mode, kSharpnessRange);
    if (is(key::Blur, mode)) return of(mode, kBlurRange);
  }
  if (sameKey(key, key::Saturation)) return of(kModeRgb, kSaturationRange);
  if (sameKey(key, key::PaletteCount)) return of(kModePalette, kPaletteCountRange);
  return std::nullopt;
}

}  // namespace quillbay
