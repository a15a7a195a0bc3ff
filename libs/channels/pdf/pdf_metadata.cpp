#include "channels/pdf/pdf_metadata.h"

#include <lcms2.h>

#include <algorithm>
#include <iterator>
#include <memory>

namespace quillbay {
namespace {

struct CloseIntent {
  void operator()(void* profile) const noexcept { cmsCloseProfile(profile); }
};

/// The same bytes at every call: the moment of making, which stands in the header, is a fixed one.
std::string srgbProfile() {
  constexpr std::ptrdiff_t kDate = 24;  // six numbers of two bytes, high byte first: year to second
  constexpr char kFixedDate[] = {0x07, static_cast<char>(0xea), 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
  const std::unique_ptr<void, CloseIntent> profile(cmsCreate_sRGBProfile());
  if (!profile) throw std::bad_alloc();
  cmsSetProfileVersion(profile.get(), 4.2);  // the newest that archives take
  cmsUInt32Number size = 0;
  std::string bytes;
  if (cmsSaveProfileToMem(profile.get(), nullptr, &size)) bytes.resize(size);
  if (bytes.empty() || !cmsSaveProfileToMem(profile.get(), bytes.data(), &size)) throw std::bad_alloc();
  std::copy(std::begin(kFixedDate), std::end(kFixedDate), bytes.begin() + kDate);
  return bytes;
}

std::string element(const char* name, const std::string& text) {
  if (text.empty()) return {};
  return std::string("   <") + name + '>' + text + "</" + name + ">\n";
}

std::string xmpPacket(const PdfFacts& facts) {
  std::string xmp =
      "<?xpacket begin=\"\xef\xbb\xbf\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
      "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
      " <rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
      "  <rdf:Description rdf:about=\"\"\n"
      "    xmlns:dc=\"http://purl.org/dc/elements/1.1/\"\n"
      "    xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\"\n"
      "    xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\"\n"
      "    xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\">\n";
  if (facts.isArchive) xmp += element("pdfaid:part", "2") + element("pdfaid:conformance", "B");
  const std::string title = xmlText(facts.title), software = xmlText(facts.software);
  if (!title.empty()) {
    xmp += element("dc:title", "<rdf:Alt><rdf:li xml:lang=\"x-default\">" + title + "</rdf:li></rdf:Alt>");
  }
  xmp += element("dc:format", "application/pdf");
  xmp += element("xmp:CreateDate", xmpDate(facts.dateTime));
  xmp += element("xmp:CreatorTool", software);
  xmp += element("pdf:Producer", software);
  return xmp + "  </rdf:Description>\n </rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"w\"?>";
}

std::string infoText(const PdfFacts& facts) {
  std::string text = "<<";
  if (!xmlText(facts.title).empty()) text += " /Title " + textString(facts.title);
  if (!xmlText(facts.software).empty()) {
    text += " /Creator " + textString(facts.software) + " /Producer " + textString(facts.software);
  }
  if (const std::string date = pdfDate(facts.dateTime); !date.empty()) text += " /CreationDate (" + date + ')';
  return text + " >>";
}

}  // namespace

int profileComponents(std::string_view bytes) noexcept {
  constexpr std::size_t kHeader = 128, kColors = 16, kMark = 36;
  if (bytes.size() < kHeader || bytes.substr(kMark, 4) != "acsp") return 0;
  const std::string_view colors = bytes.substr(kColors, 4);
  return colors == "GRAY" ? 1 : colors == "RGB " ? 3 : 0;
}

PdfRef addProfile(PdfUpdate& update, PdfState& state, const std::string& bytes) {
  for (const PdfState::Profile& known : state.profiles) {
    if (known.bytes == bytes) return known.ref;
  }
  const PdfRef ref{state.nextObject++, 0};
  update.addStream(ref, "/N " + std::to_string(profileComponents(bytes)), bytes);
  state.profiles.push_back({bytes, ref});
  return ref;
}

void addDocument(PdfUpdate& update, PdfState& state, const PdfFacts& facts) {
  state.catalog = {state.nextObject++, 0};
  state.info = {state.nextObject++, 0};
  const PdfRef metadata{state.nextObject++, 0};
  update.add(state.info, infoText(facts));
  update.addStream(metadata, "/Type /Metadata /Subtype /XML", xmpPacket(facts));
  state.catalogText = "<< /Type /Catalog /Metadata " + refText(metadata);
  if (!facts.isArchive) return;
  const PdfRef profile = addProfile(update, state, srgbProfile());
  const std::string name = textString("sRGB IEC61966-2.1");
  state.catalogText += " /OutputIntents [ << /Type /OutputIntent /S /GTS_PDFA1 /OutputConditionIdentifier " + name +
                       " /Info " + name + " /DestOutputProfile " + refText(profile) + " >> ]";
  state.hasIntent = true;
}

}  // namespace quillbay
