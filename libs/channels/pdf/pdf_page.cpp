#include "channels/pdf/pdf_page.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace quillbay {
namespace {

constexpr double kUnitsPerInch = 72;
constexpr double kMostUnits = 14400;     // of a side of a page, each as long as the page says
constexpr int kMostObjects = 8'388'607;  // of a document, as archives take it
constexpr int kPageObjects = 64;         // more than a page usually needs

const char* const kPdfCompressions[] = {"auto", "G4", "JPEG", "Flate", nullptr};
const char* const kPdfDepths[] = {"full", "half", nullptr};
const char* const kPdfKinds[] = {"on", "off", nullptr};

enum PdfOption { PdfOptionCompression, PdfOptionQuality, PdfOptionColour, PdfOptionArchive };

std::string textOf(const char* text) { return text ? text : ""; }

/// The base of a page's colours, without a profile.
const char* deviceColors(KxColorSpace colorSpace) {
  return isRunList(colorSpace) || colorSpace == KxColorSpace::Grey ? "/DeviceGray" : "/DeviceRGB";
}

/// One document takes pages of all kinds with one set of options: a compression counts for the pages that it can
/// hold, and the others get what "auto" gives them.
PdfCoding codingFor(KxColorSpace colorSpace, int choice) {
  const bool isBitonal = isRunList(colorSpace), isPalette = colorSpace == KxColorSpace::Palette;
  const PdfCoding usual = isBitonal ? PdfCoding::G4 : isPalette ? PdfCoding::Flate : PdfCoding::Jpeg;
  if (choice == 0) return usual;
  const auto chosen = static_cast<PdfCoding>(choice - 1);
  return chosen == PdfCoding::Flate ? chosen : usual;
}

}  // namespace

const QbOptionInfo kPdfOptions[] = {
    {"Compression",
     "auto: G4 for black and white, JPEG for grey and colour, Flate for palettes. Flate loses nothing and is "
     "larger. G4 and JPEG are what auto takes for the pages that they can hold.",
     kPdfCompressions, 0, 0, nullptr},
    {"Quality", "Quality of JPEG: 1 (smallest file) to 100; 90 is the default.", nullptr, 1, 100, "90"},
    {"Colour", "Resolution of the colours of JPEG: full, or half for smaller files.", kPdfDepths, 0, 0, nullptr},
    {"Archive", "Writes new files as PDF/A-2b, for archives. A file that pages are added to stays what it is.",
     kPdfKinds, 0, 0, nullptr},
    kProfileOption,
    {},
};

PdfPage::PdfPage(const EdgeFile& file, const PdfState& before, const QbPage& page, const QbOptions* options)
    : m_file(file),
      m_state(before),
      m_update(file, before.base),
      m_unitsPerPixel(kUnitsPerInch / (page.dpi > 0 ? page.dpi : kPdfUsualDpi)) {
  choosePixels(page, options);
  m_facts = {textOf(page.title), textOf(page.software), textOf(page.date_time),
             optionChoice(options, kPdfOptions[PdfOptionArchive]) == 0};
  if (m_state.nextObject > kMostObjects - kPageObjects) {
    throw ModuleError(QB_E_REFUSED, "the document has " + std::to_string(m_state.nextObject) +
                                        " objects, and no more fit into a PDF; choose a new file");
  }
  const std::string profile(reinterpret_cast<const char*>(page.icc), page.icc ? page.icc_size : 0);
  const int wanted = m_pixels.colorSpace == KxColorSpace::Grey ? 1 : 3;
  if (!profile.empty() && profileComponents(profile) != wanted) {
    throw ModuleError(QB_E_REFUSED,
                      "the colour profile does not fit the page's colours; choose another one, or sRGB");
  }
  // From here on the file changes.
  if (!m_state.started) {
    appendHead();
  } else {
    m_file.append("\n", 1);  // whatever the file ends with
  }
  if (!m_state.catalog) addDocument(m_update, m_state, m_facts);
  m_pixels.colorsText = colorsText(page);
  m_images = std::make_unique<PdfImages>(m_file, m_update, m_state, m_pixels);
}

void PdfPage::choosePixels(const QbPage& page, const QbOptions* options) {
  m_pixels.colorSpace = static_cast<KxColorSpace>(page.color_space);
  m_pixels.width = page.width;
  m_pixels.quality = optionNumber(options, kPdfOptions[PdfOptionQuality]);
  m_pixels.isHalved = optionChoice(options, kPdfOptions[PdfOptionColour]) == 1;
  m_pixels.coding = codingFor(m_pixels.colorSpace, optionChoice(options, kPdfOptions[PdfOptionCompression]));
  if (m_pixels.coding != PdfCoding::Jpeg) return;
  if (page.width > kMostJpegSide) {
    throw ModuleError(QB_E_REFUSED, "JPEG compression takes at most " + std::to_string(kMostJpegSide) +
                                        " pixels to a line, and the page has " + std::to_string(page.width) +
                                        "; choose Flate, or scan at a lower resolution");
  }
}

std::string PdfPage::colorsText(const QbPage& page) {
  std::string colors = deviceColors(m_pixels.colorSpace);
  if (page.icc && page.icc_size > 0 && !isRunList(m_pixels.colorSpace)) {
    const std::string profile(reinterpret_cast<const char*>(page.icc), page.icc_size);
    colors = "[ /ICCBased " + refText(addProfile(m_update, m_state, profile)) + " ]";
  }
  if (m_pixels.colorSpace != KxColorSpace::Palette) return colors;
  std::string palette(std::size_t{3} * 256, '\0');  // whole: every index is covered
  const auto count = static_cast<std::size_t>(std::clamp(page.palette_count, 0, 256));
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t c = 0; c < 3; ++c) palette[3 * i + c] = static_cast<char>(page.palette[4 * i + c]);
  }
  return "[ /Indexed " + colors + " 255 " + hexText(palette) + " ]";
}

/// The version, and bytes that show other programs that the file is not text.
void PdfPage::appendHead() {
  constexpr std::string_view kHead = "%PDF-1.7\n%\xe2\xe3\xcf\xd3\n";
  m_file.append(kHead.data(), kHead.size());
  m_state.started = true;
}

void PdfPage::addPage(const std::vector<PdfImages::Image>& images) {
  std::int64_t lines = 0;
  for (const PdfImages::Image& image : images) lines += image.lines;
  const double wide = m_pixels.width * m_unitsPerPixel, high = static_cast<double>(lines) * m_unitsPerPixel;
  // Longer pages count in units of several 1/72 inch.
  const double unit = std::max(1.0, std::ceil(std::max(wide, high) / kMostUnits));

  // Pixels are the unit of the drawing: images meet at whole numbers.
  const std::string scale = numberText(m_unitsPerPixel / unit);
  std::string drawing = "q " + scale + " 0 0 " + scale + " 0 0 cm\n", names;
  std::int64_t bottom = lines;
  for (std::size_t i = 0; i < images.size(); ++i) {
    const std::string name = " /I" + std::to_string(i);
    bottom -= images[i].lines;
    drawing += "q " + std::to_string(m_pixels.width) + " 0 0 " + std::to_string(images[i].lines) + " 0 " +
               std::to_string(bottom) + " cm" + name + " Do Q\n";
    names += name + ' ' + refText(images[i].ref);
  }
  const PdfRef contents{m_state.nextObject++, 0}, page{m_state.nextObject++, 0};
  m_update.addStream(contents, "", drawing + "Q\n");

  const PdfRef parent = m_state.tree.add(page, &m_state.nextObject);
  std::string text = "<< /Type /Page /Parent " + refText(parent) + " /MediaBox [ 0 0 " + numberText(wide / unit) +
                     ' ' + numberText(high / unit) + " ]";
  if (unit > 1) text += " /UserUnit " + numberText(unit);
  text += " /Resources << /XObject <<" + names + " >> >> /Contents " + refText(contents) + " >>";
  m_update.add(page, text);
  m_update.add(m_state.tree.changed());
}

PdfState PdfPage::finish() {
  addPage(m_images->finish());
  if (const PdfRef root = m_state.tree.root(); root != m_state.catalogPages) {
    m_update.add(m_state.catalog, m_state.catalogText + " /Pages " + refText(root) + " >>");
    m_state.catalogPages = root;
  }
  m_update.finish(m_state);
  return m_state;
}

}  // namespace quillbay
