#include "channels/pdf/page_tree.h"

namespace quillbay {
namespace {

constexpr std::size_t kMostKids = 32;

std::string nodeText(const PageNode& node) {
  std::string text = "<< /Type /Pages";
  if (node.parent) text += " /Parent " + refText(node.parent);
  text += " /Count " + std::to_string(node.count) + " /Kids [";
  for (const PdfRef& kid : node.kids) text += ' ' + refText(kid);
  return text + " ] >>";
}

}  // namespace

PageTree::PageTree(std::vector<PageNode> edge, PdfRef root, std::string rootText, std::int64_t count)
    : m_edge(std::move(edge)), m_foreign(root), m_foreignText(std::move(rootText)), m_count(count) {}

/// A new root above the one that is there, if any.
void PageTree::addRoot(int* next) {
  PageNode root;
  root.ref = {(*next)++, 0};
  if (!m_edge.empty()) {
    PageNode former = m_edge.front();
    former.parent = root.ref;
    m_former.emplace_back(former.ref, nodeText(former));
    root.kids = {former.ref};
    root.count = former.count;
  } else if (m_foreign) {
    m_former.emplace_back(m_foreign, m_foreignText + " /Parent " + refText(root.ref) + " >>");
    root.kids = {m_foreign};
    root.count = m_count;
  }
  m_edge.insert(m_edge.begin(), std::move(root));
}

PdfRef PageTree::add(PdfRef page, int* next) {
  m_former.clear();
  if (m_edge.empty()) addRoot(next);
  std::size_t levels = m_edge.size();
  while (levels > 0 && m_edge[levels - 1].kids.size() >= kMostKids) --levels;
  const std::size_t depth = m_edge.size();
  if (levels == 0) addRoot(next);
  const std::size_t wanted = levels == 0 ? depth + 1 : depth;
  m_edge.resize(levels == 0 ? 1 : levels);
  // Leaves all lie equally deep.
  while (m_edge.size() < wanted) {
    PageNode node;
    node.ref = {(*next)++, 0};
    node.parent = m_edge.back().ref;
    m_edge.back().kids.push_back(node.ref);
    m_edge.push_back(std::move(node));
  }
  m_edge.back().kids.push_back(page);
  for (PageNode& node : m_edge) ++node.count;
  return m_edge.back().ref;
}

PdfObjects PageTree::changed() const {
  PdfObjects objects = m_former;
  for (const PageNode& node : m_edge) objects.emplace_back(node.ref, nodeText(node));
  return objects;
}

}  // namespace quillbay
