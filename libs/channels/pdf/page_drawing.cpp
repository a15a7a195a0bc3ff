#include "channels/pdf/page_drawing.h"
#include "channels/pdf/qpdf.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string_view>

#include "channels/codec/module_support.h"

namespace quillbay {
namespace {

constexpr int kMostParents = 60;
constexpr std::size_t kMostContent = std::size_t{4} << 20;  // bytes of a drawing that is worth a look
constexpr std::size_t kMostOperands = 1000;
constexpr std::size_t kMostStates = 200;
constexpr std::size_t kMostImages = 20'000;
constexpr double kMostUnit = 1e6, kMostPlace = 1e9;

/// An attribute of the page or of a node above it.
QPDFObjectHandle inherited(QPDFObjectHandle page, const char* key) {
  for (int i = 0; i < kMostParents && page.isDictionary(); ++i) {
    QPDFObjectHandle value = page.getKey(key);
    if (!value.isNull()) return value;
    page = page.getKey("/Parent");
  }
  return QPDFObjectHandle::newNull();
}

bool readRect(QPDFObjectHandle list, PageRect* out) {
  if (!list.isArray() || list.getArrayNItems() < 4) return false;
  double v[4];
  for (int i = 0; i < 4; ++i) {
    if (!list.getArrayItem(i).isNumber()) return false;
    v[i] = list.getArrayItem(i).getNumericValue();
    if (!(std::abs(v[i]) < kMostPlace)) return false;
  }
  *out = {std::min(v[0], v[2]), std::min(v[1], v[3]), std::max(v[0], v[2]), std::max(v[1], v[3])};
  return true;
}

/// Whether something of it is drawn. Links have no look of their own.
bool isShown(QPDFObjectHandle note) {
  if (!note.isDictionary()) return false;
  QPDFObjectHandle kind = note.getKey("/Subtype");
  return !kind.isName() || (kind.getName() != "/Link" && kind.getName() != "/Popup");
}

struct Matrix {
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;
  /// What this one does first, and `next` then.
  [[nodiscard]] Matrix then(const Matrix& n) const noexcept {
    return {a * n.a + b * n.c, a * n.b + b * n.d,       c * n.a + d * n.c,
            c * n.b + d * n.d, e * n.a + f * n.c + n.e, e * n.b + f * n.d + n.f};
  }
  /// The unit square; upright only.
  [[nodiscard]] PageRect square() const noexcept { return {e, f, e + a, f + d}; }
  [[nodiscard]] bool isUpright() const noexcept {
    const double small = 1e-6 * (std::abs(a) + std::abs(d));
    return a > 0 && d > 0 && std::abs(b) <= small && std::abs(c) <= small;
  }
};

struct DrawState {
  Matrix matrix;
  PageRect clip{-kMostPlace, -kMostPlace, kMostPlace, kMostPlace};
  bool fillsBlack = true;
  bool hidesText = false;
};

class DrawingReader final : public QPDFObjectHandle::ParserCallbacks {
 public:
  DrawingReader(const QPDFObjectHandle& resources, PageDrawing& out) : m_resources(resources), m_out(out) {}

  void handleObject(QPDFObjectHandle object) override {
    if (!object.isOperator()) {
      m_operands.push_back(object);
      if (m_operands.size() > kMostOperands || object.isInlineImage()) m_out.isOnlyImages = false;
      if (m_operands.size() > kMostOperands) m_operands.clear();
      return;
    }
    perform(object.getOperatorValue());
    m_operands.clear();
  }
  void handleEOF() override {}

 private:
  void perform(const std::string& name) {
    static const std::set<std::string> kHarmless = {
        "w",  "J",  "j",  "M",  "d",  "ri", "i",  "BMC", "BDC", "EMC", "MP", "DP", "BX", "EX", "BT", "ET",
        "Tf", "Td", "TD", "Tm", "T*", "Tc", "Tw", "Tz",  "TL",  "Ts",  "G",  "RG", "K",  "CS", "SC", "SCN"};
    static const std::set<std::string> kText = {"Tj", "TJ", "'", "\""};
    if (name == "q") return save();
    if (name == "Q") return restore();
    if (name == "cm") return transform();
    if (name == "Do") return place();
    if (name == "re" || name == "W" || name == "W*" || name == "n") return clip(name);
    if (name == "g" || name == "rg" || name == "k" || name == "cs" || name == "sc" || name == "scn") {
      return color(name);
    }
    if (name == "Tr") {
      m_state.hidesText = number(0) == 3;
      return;
    }
    const bool counts = name == "gs"            ? !isPlainState()
                        : kText.count(name) > 0 ? !m_state.hidesText
                                                : kHarmless.count(name) == 0;
    if (counts) m_out.isOnlyImages = false;
  }

  [[nodiscard]] double number(std::size_t i) {
    return i < m_operands.size() && m_operands[i].isNumber() ? m_operands[i].getNumericValue() : 0;
  }
  void save() {
    if (m_saved.size() < kMostStates) {
      m_saved.push_back(m_state);
    } else {
      m_out.isOnlyImages = false;
    }
  }
  void restore() {
    if (m_saved.empty()) return;
    m_state = m_saved.back();
    m_saved.pop_back();
  }
  void transform() {
    const Matrix m{number(0), number(1), number(2), number(3), number(4), number(5)};
    m_state.matrix = m.then(m_state.matrix);
  }

  /// A clip by upright rectangles is kept; others are rendered.
  void clip(const std::string& name) {
    if (name == "re") {
      const Matrix m = Matrix{number(2), 0, 0, number(3), number(0), number(1)}.then(m_state.matrix);
      m_path = m.square();
      if (!m.isUpright() || m_hasPath) m_out.isOnlyImages = false;
      m_hasPath = true;
    } else if (name == "n") {
      m_hasPath = false;
    } else if (m_hasPath) {
      PageRect& c = m_state.clip;
      c = {std::max(c.left, m_path.left), std::max(c.bottom, m_path.bottom), std::min(c.right, m_path.right),
           std::min(c.top, m_path.top)};
    } else {
      m_out.isOnlyImages = false;
    }
  }

  void color(const std::string& name) {
    bool black = name == "g" || name == "rg" || name == "k";
    for (std::size_t i = 0; i < m_operands.size(); ++i) {
      black = black && number(i) == (name == "k" && i == 3 ? 1 : 0);
    }
    m_state.fillsBlack = black;
  }

  /// Whether a set of graphics parameters changes nothing that images show.
  bool isPlainState() {
    static const std::set<std::string> kNormal = {"/Normal", "/None", "/Default", "/Identity"};
    static const std::set<std::string> kBlending = {"/BM", "/SMask", "/TR", "/TR2"};
    QPDFObjectHandle all = m_resources.isDictionary() ? m_resources.getKey("/ExtGState") : m_resources;
    if (!all.isDictionary() || m_operands.empty() || !m_operands[0].isName()) return false;
    QPDFObjectHandle set = all.getKey(m_operands[0].getName());
    if (!set.isDictionary()) return false;
    for (const std::string& key : set.getKeys()) {
      QPDFObjectHandle value = set.getKey(key);
      const bool isNormal = value.isName() && kNormal.count(value.getName()) > 0;
      const bool isOpaque = value.isNumber() && value.getNumericValue() == 1;
      if (key == "/ca" ? !isOpaque : kBlending.count(key) > 0 && !isNormal) return false;
    }
    return true;
  }

  void place() {
    QPDFObjectHandle all = m_resources.isDictionary() ? m_resources.getKey("/XObject") : m_resources;
    QPDFObjectHandle object;
    if (all.isDictionary() && !m_operands.empty() && m_operands[0].isName()) {
      object = all.getKey(m_operands[0].getName());
    }
    if (!object.isInitialized()) return;  // viewers show nothing either
    if (object.isIndirect() && object.isNull()) {
      throw ModuleError(QB_E_DAMAGED, "an image of the page cannot be read; the file is damaged");
    }
    if (!object.isStream()) return;
    QPDFObjectHandle dictionary = object.getDict();
    QPDFObjectHandle kind = dictionary.getKey("/Subtype");
    if (!kind.isName() || kind.getName() != "/Image" || m_out.images.size() >= kMostImages) {
      m_out.isOnlyImages = false;
      return;
    }
    QPDFObjectHandle mask = dictionary.getKey("/ImageMask");
    const bool isMask = mask.isBool() && mask.getBoolValue();
    const PageRect area = m_state.matrix.square();
    const double slack = 0.01 * std::max(area.width(), area.height());
    const PageRect& c = m_state.clip;
    const bool isWhole = c.left <= area.left + slack && c.bottom <= area.bottom + slack &&
                         c.right >= area.right - slack && c.top >= area.top - slack;
    const bool isPlace = std::isfinite(area.left) && std::isfinite(area.top) && std::isfinite(area.right) &&
                         std::isfinite(area.bottom);
    if (!isPlace || !m_state.matrix.isUpright() || !isWhole || (isMask && !m_state.fillsBlack))
      m_out.isOnlyImages = false;
    m_out.images.push_back({object, area});
  }

  QPDFObjectHandle m_resources;
  PageDrawing& m_out;
  std::vector<QPDFObjectHandle> m_operands;
  DrawState m_state;
  std::vector<DrawState> m_saved;
  PageRect m_path;
  bool m_hasPath = false;
};

/// The page's drawing, decoded; nothing for one that is too long to be only images.
std::string contentOf(const QPDFObjectHandle& page, bool* isWhole) {
  struct TooLong {};
  std::string content;
  Pl_Function sink("drawing", nullptr, [&content](unsigned char const* bytes, std::size_t size) {
    if (size > kMostContent - content.size()) throw TooLong();
    content.append(reinterpret_cast<const char*>(bytes), size);
  });
  *isWhole = true;
  try {
    QPDFPageObjectHelper(page).pipeContents(&sink);
  } catch (const TooLong&) {
    *isWhole = false;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    *isWhole = false;  // coded in a way that is left to rendering
  }
  return content;
}

}  // namespace

PageFrame frameOf(QPDFObjectHandle page) {
  PageFrame frame;
  PageRect media;
  if (!readRect(inherited(page, "/MediaBox"), &media)) media = {0, 0, 612, 792};  // as viewers take it
  PageRect crop = media;
  if (readRect(inherited(page, "/CropBox"), &crop)) {
    crop = {std::max(crop.left, media.left), std::max(crop.bottom, media.bottom), std::min(crop.right, media.right),
            std::min(crop.top, media.top)};
    if (!(crop.width() > 0) || !(crop.height() > 0)) crop = media;
  }
  if (!(crop.width() > 0) || !(crop.height() > 0)) {
    throw ModuleError(QB_E_DAMAGED, "a page has no area; the file is damaged");
  }
  frame.area = crop;
  QPDFObjectHandle unit = page.getKey("/UserUnit");
  if (unit.isNumber() && unit.getNumericValue() > 0 && unit.getNumericValue() < kMostUnit) {
    frame.unit = unit.getNumericValue();
  }
  QPDFObjectHandle rotation = inherited(page, "/Rotate");
  if (rotation.isInteger() && rotation.getIntValue() % 90 == 0) {
    frame.rotation = static_cast<int>((rotation.getIntValue() % 360 + 360) % 360);
  }
  QPDFObjectHandle notes = page.getKey("/Annots");
  for (int i = 0; notes.isArray() && i < notes.getArrayNItems(); ++i) {
    if (isShown(notes.getArrayItem(i))) frame.isPlain = false;
  }
  return frame;
}

PageDrawing drawingOf(QPDF& qpdf, const QPDFObjectHandle& page) {
  PageDrawing drawing;
  bool isWhole = false;
  const std::string content = contentOf(page, &isWhole);
  DrawingReader reader(inherited(page, "/Resources"), drawing);
  if (isWhole) {
    QPDFObjectHandle stream = QPDFObjectHandle::newStream(&qpdf, content);
    QPDFObjectHandle::parseContentStream(stream, &reader);
    // The document keeps its objects; the bytes need not stay.
    stream.replaceStreamData("", QPDFObjectHandle::newNull(), QPDFObjectHandle::newNull());
  }
  drawing.isOnlyImages = drawing.isOnlyImages && isWhole;
  return drawing;
}

}  // namespace quillbay
