#include "channels/pdf/pdf_document.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "channels/pdf/limited_filters.h"

namespace quillbay {
namespace {

constexpr int kMostDepth = 60;
constexpr std::size_t kMostPages = 1'000'000;
constexpr int kMostKidsRead = 32;
constexpr int kMostNumber = 8'388'607;

PdfRef refOf(const QPDFObjectHandle& object) {
  const QPDFObjGen id = object.getObjGen();
  return {id.getObj(), id.getGen()};
}

bool isNode(QPDFObjectHandle object) { return object.isDictionary() && object.hasKey("/Kids"); }

/// A node that nothing is lost of when it is written anew.
bool isPlain(QPDFObjectHandle node) {
  static const std::set<std::string> kKnown = {"/Type", "/Kids", "/Count", "/Parent"};
  if (!node.isIndirect()) return false;
  for (const std::string& key : node.getKeys()) {
    if (kKnown.count(key) == 0) return false;
  }
  QPDFObjectHandle kids = node.getKey("/Kids");
  if (kids.getArrayNItems() > kMostKidsRead) return false;
  for (const QPDFObjectHandle& kid : kids.getArrayAsVector()) {
    if (!kid.isIndirect()) return false;
  }
  return true;
}

/// A dictionary up to before its last ">>".
std::string openText(QPDFObjectHandle dictionary, const char* without) {
  QPDFObjectHandle copy = dictionary.shallowCopy();
  copy.removeKey(without);
  std::string text = copy.unparse();
  text.erase(text.rfind(">>"));
  return text;
}

/// The last node of each level, from the root down, as far as they are plain.
std::vector<PageNode> edgeOf(QPDFObjectHandle node) {
  std::vector<PageNode> edge;
  while (isNode(node) && isPlain(node)) {
    PageNode level;
    level.ref = refOf(node);
    if (!edge.empty()) level.parent = edge.back().ref;
    level.count = node.getKey("/Count").getIntValue();
    const std::vector<QPDFObjectHandle> kids = node.getKey("/Kids").getArrayAsVector();
    for (const QPDFObjectHandle& kid : kids) level.kids.push_back(refOf(kid));
    edge.push_back(std::move(level));
    if (kids.empty()) break;
    node = kids.back();
  }
  return edge;
}

[[noreturn]] void refuse(const std::string& why) {
  throw ModuleError(QB_E_REFUSED, why + ", so no page can be added; choose another name");
}

/// Signatures hold for the document as it is.
bool isSigned(QPDFObjectHandle catalog) {
  if (catalog.hasKey("/Perms")) return true;
  QPDFObjectHandle form = catalog.getKey("/AcroForm");
  if (!form.isDictionary()) return false;
  QPDFObjectHandle flags = form.getKey("/SigFlags");
  return flags.isInteger() && (flags.getIntValue() & 1) != 0;
}

PdfState stateOf(PdfDocument& document) {
  QPDF& qpdf = document.qpdf();
  QPDFObjectHandle trailer = qpdf.getTrailer(), catalog = qpdf.getRoot();
  QPDFObjectHandle root = catalog.getKey("/Pages");
  // What the library could only guess may look otherwise with one page more.
  const std::vector<QPDFExc> warnings = qpdf.getWarnings();
  if (!warnings.empty()) refuse("the file is damaged (" + warnings.front().getMessageDetail() + ")");
  if (qpdf.isEncrypted()) refuse("the document is encrypted");
  if (isSigned(catalog)) refuse("the document is signed, and a change would break the signature");
  if (!catalog.isIndirect() || !root.isIndirect() || !document.countsFit()) refuse("the file is damaged");
  PdfState state;
  state.started = true;
  state.base = document.end().base;
  state.lastXref = document.end().lastXref;
  state.hasXrefStreams = document.end().isStream;
  const long long size = trailer.getKey("/Size").isInteger() ? trailer.getKey("/Size").getIntValue() : 0;
  const long long next = std::max<long long>(size, static_cast<long long>(qpdf.getObjectCount()) + 1);
  if (next > kMostNumber) refuse("the document has objects with the number " + std::to_string(next));
  state.nextObject = static_cast<int>(std::max(next, 1LL));
  state.catalog = refOf(catalog);
  state.catalogPages = refOf(root);
  state.catalogText = openText(catalog, "/Pages");
  if (trailer.getKey("/Info").isIndirect()) state.info = refOf(trailer.getKey("/Info"));
  QPDFObjectHandle id = trailer.getKey("/ID");
  if (id.isArray() && id.getArrayNItems() > 0 && id.getArrayItem(0).isString()) {
    state.firstId = id.getArrayItem(0).getStringValue();
  }
  std::vector<PageNode> edge = edgeOf(root);
  std::string rootText = edge.empty() ? openText(root, "/Parent") : "";
  state.tree = PageTree(std::move(edge), state.catalogPages, std::move(rootText),
                        static_cast<std::int64_t>(document.pages().size()));
  return state;
}

}  // namespace

PdfDocument::PdfDocument(const QbFile* file) : m_end(findPdfEnd(EdgeFile(file))), m_qpdf(std::make_unique<QPDF>()) {
  limitFilters();
  withQpdf([&] {
    m_qpdf->setSuppressWarnings(true);
    m_qpdf->setAttemptRecovery(false);
    m_qpdf->processInputSource(std::make_shared<PdfSource>(EdgeFile(file), m_end));
    QPDFObjectHandle root = m_qpdf->getRoot().getKey("/Pages");
    if (!isNode(root)) throw ModuleError(QB_E_DAMAGED, "the file is damaged (it has no list of pages)");
    std::set<QPDFObjGen> seen;
    collect(root, 0, seen);
  });
}

std::int64_t PdfDocument::collect(const QPDFObjectHandle& node, int depth, std::set<QPDFObjGen>& seen) {
  // What is no object of its own cannot contain itself.
  const bool isNew = !QPDFObjectHandle(node).isIndirect() || seen.insert(node.getObjGen()).second;
  if (depth > kMostDepth || !isNew) {
    throw ModuleError(QB_E_DAMAGED, "the file is damaged (its list of pages does not end)");
  }
  QPDFObjectHandle from = node;
  QPDFObjectHandle kids = from.getKey("/Kids");
  if (!kids.isArray()) throw ModuleError(QB_E_DAMAGED, "the file is damaged (a list of pages is none)");
  std::int64_t count = 0;
  const int items = kids.getArrayNItems();
  for (int i = 0; i < items; ++i) {
    QPDFObjectHandle kid = kids.getArrayItem(i);
    if (isNode(kid)) {
      count += collect(kid, depth + 1, seen);
    } else if (kid.isDictionary()) {
      m_pages.push_back(kid);
      ++count;
    } else {
      m_countsFit = false;
    }
    if (m_pages.size() > kMostPages) {
      throw ModuleError(QB_E_REFUSED, "the document has more than " + std::to_string(kMostPages) + " pages");
    }
  }
  QPDFObjectHandle said = from.getKey("/Count");
  m_countsFit = m_countsFit && said.isInteger() && said.getIntValue() == count;
  return count;
}

PdfState stateForAdding(const QbFile* file) {
  if (EdgeFile(file).size() == 0) return {};
  try {
    PdfDocument document(file);
    return withQpdf([&] { return stateOf(document); });
  } catch (const ModuleError& e) {
    if (e.code() == QB_E_FILE || e.code() == QB_E_REFUSED) throw;
    refuse(e.text().empty() ? "the file ends before a whole page does" : e.text());
  }
}

}  // namespace quillbay
