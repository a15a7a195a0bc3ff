#include "scanners/scan_request.h"

#include <cmath>
#include <cstring>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr double kMostMm = 1e6;
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

  void blackAndWhite(ScanRequest* out) {
    const auto setting = [&](const char* stem, const BwRange& range) {
      return whole(key::numbered(stem, out->mode), range.initial, range.least, range.most);
    };
    out->level = whole(key::numbered(key::Level, out->mode), out->level, 0, kMostLevel);
    out->bw.level = out->level >= 0 ? out->level : levelRange(out->mode).initial;
    if (suppressesBackground(out->mode))
      out->bw.suppression = setting(key::BackgroundSuppression, kSuppressionRange);
    out->bw.sharpness = setting(key::SoftenSharpen, kSharpnessRange);
    out->bw.blur = setting(key::Blur, kBlurRange);
  }

  void curves(ScanRequest* out) {
    constexpr std::size_t kEntries = 256;
    const CKxVariant value = paramValue(m_set, key::Gamma);
    if (value.isEmpty()) return;
    const auto* bytes = value.get<CKxBlob>();
    if (!bytes || bytes->size() != kEntries * sizeof(KXRGBQUAD))
      return refuse(key::Gamma, value, Supp_Translate("256 entries of 4 bytes"));
    out->curves.resize(kEntries);
    std::memcpy(out->curves.data(), bytes->data(), bytes->size());
  }

 private:
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
  r.level = reader.whole(key::Threshold, r.level, 0, kMostLevel);
  if (isBitonalMode(r.mode)) reader.blackAndWhite(&r);
  reader.curves(&r);
  *out = std::move(r);
  return reader.why();
}

std::optional<BwKeyRange> bwKeyRange(std::string_view key) {
  const auto is = [&](const char* stem, int mode) { return sameKey(key, key::numbered(stem, mode)); };
  const auto of = [](int mode, const BwRange& range, bool isLevel = false) {
    return BwKeyRange{
        mode,
        {static_cast<double>(range.initial), static_cast<double>(range.least), static_cast<double>(range.most), 1},
        isLevel};
  };
  for (int mode = kModeBwThreshold; mode <= kModeBwCopyAdaptive; ++mode) {
    if (is(key::Level, mode)) return of(mode, levelRange(mode), true);
    if (suppressesBackground(mode) && is(key::BackgroundSuppression, mode)) return of(mode, kSuppressionRange);
    if (is(key::SoftenSharpen, mode)) return of(mode, kSharpnessRange);
    if (is(key::Blur, mode)) return of(mode, kBlurRange);
  }
  return std::nullopt;
}

}  // namespace quillbay
