#include "channels/jp2/jp2_boxes.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "channels/pdf/pdf_text.h"

namespace quillbay {
namespace {

constexpr std::uint8_t kEightBits = 7, kWavelets = 7;
constexpr std::uint8_t kEnumerated = 1, kProfile = 2;
constexpr std::uint32_t kSrgb = 16, kGreyscale = 17;
constexpr std::size_t kPaletteEntries = 256;
constexpr std::array<std::uint8_t, 16> kXmp = {0xbe, 0x7a, 0xcf, 0xcb, 0x97, 0xa9, 0x42, 0xe8,
                                               0x9c, 0x71, 0x99, 0x94, 0x91, 0xe3, 0xaf, 0xac};

class Bytes {
 public:
  Bytes& byte(std::uint32_t value) {
    m_bytes.push_back(static_cast<std::uint8_t>(value));
    return *this;
  }
  Bytes& two(std::uint32_t value) { return byte(value >> 8).byte(value); }
  Bytes& four(std::uint32_t value) { return two(value >> 16).two(value); }
  Bytes& text(std::string_view text) {
    m_bytes.insert(m_bytes.end(), text.begin(), text.end());
    return *this;
  }
  Bytes& bytes(const std::uint8_t* from, std::size_t size) {
    m_bytes.insert(m_bytes.end(), from, from + size);
    return *this;
  }
  /// A box: its length, its kind and what it holds.
  Bytes& box(std::string_view kind, const Bytes& content) {
    four(static_cast<std::uint32_t>(content.m_bytes.size() + 8)).text(kind);
    return bytes(content.m_bytes.data(), content.m_bytes.size());
  }
  [[nodiscard]] std::vector<std::uint8_t> take() { return std::move(m_bytes); }

 private:
  std::vector<std::uint8_t> m_bytes;
};

Bytes colours(const QbPage& page, const Jp2Format& format, bool hasProfile) {
  Bytes box;
  box.byte(hasProfile ? kProfile : kEnumerated).byte(0).byte(0);
  if (hasProfile) return box.bytes(page.icc, page.icc_size);
  return box.four(format.colorSpace == KxColorSpace::Grey ? kGreyscale : kSrgb);
}

/// 256 entries, so that every index has one.
Bytes paletteEntries(const QbPage& page) {
  Bytes box;
  box.two(kPaletteEntries).byte(3).byte(kEightBits).byte(kEightBits).byte(kEightBits);
  for (std::int32_t i = 0; i < static_cast<std::int32_t>(kPaletteEntries); ++i) {
    const std::uint8_t none[3] = {};
    box.bytes(i < page.palette_count ? page.palette + std::size_t{4} * static_cast<std::size_t>(i) : none, 3);
  }
  return box;
}

/// Red, green and blue are columns of the palette that the one component points to.
Bytes paletteUse() {
  Bytes box;
  for (std::uint32_t column = 0; column < 3; ++column) box.two(0).byte(1).byte(column);
  return box;
}

/// Dots per metre as dpi / 254 x 10^4, without rounding.
Bytes resolution(std::uint32_t dpi) {
  constexpr std::uint32_t kInchBy10000 = 254, kExponent = 4;
  Bytes box;
  box.two(dpi).two(kInchBy10000).two(dpi).two(kInchBy10000).byte(kExponent).byte(kExponent);
  return box;
}

std::string metadata(const QbPage& page) {
  const auto words = [](const char* from) { return std::string_view(from ? from : ""); };
  const std::string title = xmlText(words(page.title)), software = xmlText(words(page.software));
  const std::string date = xmpDate(words(page.date_time));
  std::string out =
      "<?xpacket begin=\"\xef\xbb\xbf\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
      "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
      "<rdf:Description rdf:about=\"\" xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" "
      "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n";
  if (!software.empty()) out += "<xmp:CreatorTool>" + software + "</xmp:CreatorTool>\n";
  if (!date.empty()) out += "<xmp:CreateDate>" + date + "</xmp:CreateDate>\n";
  if (!title.empty()) {
    out += "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">" + title + "</rdf:li></rdf:Alt></dc:title>\n";
  }
  return out + "</rdf:Description></rdf:RDF></x:xmpmeta>\n<?xpacket end=\"r\"?>";
}

}  // namespace

std::vector<std::uint8_t> jp2Boxes(const QbPage& page, const Jp2Format& format, bool hasProfile) {
  Bytes head;
  head.four(0)
      .four(static_cast<std::uint32_t>(format.width))
      .two(static_cast<std::uint32_t>(format.samples()))
      .byte(kEightBits)
      .byte(kWavelets)
      .byte(0)   // the colours are known
      .byte(0);  // no rights are kept
  Bytes description;
  description.box("ihdr", head).box("colr", colours(page, format, hasProfile));
  if (format.colorSpace == KxColorSpace::Palette)
    description.box("pclr", paletteEntries(page)).box("cmap", paletteUse());
  if (page.dpi > 0 && page.dpi <= 0xffff) {
    Bytes both;  // as it was captured, and as it should be shown
    both.box("resc", resolution(page.dpi)).box("resd", resolution(page.dpi));
    description.box("res ", both);
  }
  Bytes xmp;
  xmp.bytes(kXmp.data(), kXmp.size()).text(metadata(page));
  Bytes file;
  file.box("jP  ", Bytes().four(0x0d0a870a));
  file.box("ftyp", Bytes().text("jp2 ").four(0).text("jp2 "));
  file.box("jp2h", description).box("uuid", xmp);
  return file.four(0).text("jp2c").take();  // a length of 0: to the file's end
}

}  // namespace quillbay
