#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "channels/pdf/pdf_text.h"

namespace quillbay {

/// Objects that a page adds or changes: each with its text.
using PdfObjects = std::vector<std::pair<PdfRef, std::string>>;

/// A node of the tree of pages.
struct PageNode {
  PdfRef ref, parent;  ///< the root has no parent
  std::vector<PdfRef> kids;
  std::int64_t count = 0;  ///< pages below it
};

/// The right edge of the tree of pages: all of it that changes when a page is added at the end. A node has at most
/// 32 kids, so that what a page changes grows with the logarithm of their number.
class PageTree {
 public:
  PageTree() = default;
  /// The nodes of a document from the root down to the last one, as far as they can grow. Without any, `root` (with
  /// `rootText`, its dictionary up to before the last ">>", and its count) is put below a new one.
  PageTree(std::vector<PageNode> edge, PdfRef root, std::string rootText, std::int64_t count);

  /// Makes room for a page and returns the node above it. Objects are numbered from `*next` on.
  PdfRef add(PdfRef page, int* next);
  [[nodiscard]] PdfRef root() const noexcept { return m_edge.front().ref; }
  [[nodiscard]] std::int64_t count() const noexcept { return m_edge.empty() ? m_count : m_edge.front().count; }
  /// The nodes that the last `add` changed.
  [[nodiscard]] PdfObjects changed() const;

 private:
  void addRoot(int* next);

  std::vector<PageNode> m_edge;
  PdfObjects m_former;  // a root that got one above it
  PdfRef m_foreign;     // the root of a document that cannot grow
  std::string m_foreignText;
  std::int64_t m_count = 0;
};

}  // namespace quillbay
