#include "rasters/ops/speck_finder.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace quillbay {
namespace {

constexpr std::size_t kTidyAt = 4096;
constexpr std::uint32_t kUnused = std::numeric_limits<std::uint32_t>::max();

KxRect unite(const KxRect& a, const KxRect& b) noexcept {
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

}  // namespace

SpeckFinder::SpeckFinder(std::int32_t size, std::int32_t kept)
    : m_size(size), m_rows(static_cast<std::size_t>(size + 3 + kept)), m_tidyAt(kTidyAt) {}

std::uint32_t SpeckFinder::root(std::uint32_t component) noexcept {
  while (m_components[component].parent != component) {
    std::uint32_t& parent = m_components[component].parent;
    parent = m_components[parent].parent;
    component = parent;
  }
  return component;
}

std::uint32_t SpeckFinder::join(std::uint32_t a, std::uint32_t b) noexcept {
  if (a == b) return a;
  if (a > b) std::swap(a, b);  // the older one is kept
  Component& kept = m_components[a];
  const Component& gone = m_components[b];
  kept.bounds = unite(kept.bounds, gone.bounds);
  kept.peak = std::max(kept.peak, gone.peak);
  kept.large = kept.large || gone.large;
  m_components[b].parent = a;
  measure(kept);
  return a;
}

void SpeckFinder::addRun(std::uint32_t first, std::uint32_t last, std::uint32_t peak) {
  const auto line = static_cast<std::size_t>(m_lines);
  std::vector<Run>& row = m_rows[line % m_rows.size()];
  const auto id = static_cast<std::uint32_t>(m_components.size());
  const KxRect bounds{static_cast<std::int32_t>(first), m_lines, static_cast<std::int32_t>(last) + 1, m_lines + 1};
  m_components.push_back({id, peak, bounds, false});
  std::uint32_t component = id;
  measure(m_components.back());
  if (m_lines > 0) {
    const std::vector<Run>& above = m_rows[(line - 1) % m_rows.size()];
    while (m_above < above.size() && above[m_above].last + 1 < first) ++m_above;
    for (std::size_t i = m_above; i < above.size() && above[i].first <= last + 1; ++i) {
      component = join(root(component), root(above[i].component));
    }
  }
  if (!row.empty() && row.back().last + 1 == first) component = join(root(component), root(row.back().component));
  // The newest component that was only made to be joined is not needed.
  if (component != id) m_components.pop_back();
  row.push_back({first, last, component});
}

/// Small components with runs in the line above the new one and none in it: they have ended.
void SpeckFinder::collectEnded() {
  m_ended.clear();
  if (m_lines == 0) return;
  const std::vector<Run>& above = m_rows[static_cast<std::size_t>(m_lines - 1) % m_rows.size()];
  for (const Run& run : above) {
    const std::uint32_t component = root(run.component);
    const Component& c = m_components[component];
    if (c.large || c.bounds.bottom != m_lines) continue;
    // A component may have many runs in a line: it is reported once, by the last one.
    const auto told = std::find_if(m_ended.rbegin(), m_ended.rend(), [&](const Speck& s) {
      return s.component == component || s.bounds.right + m_size < static_cast<std::int32_t>(run.first);
    });
    if (told != m_ended.rend() && told->component == component) continue;
    m_ended.push_back({c.bounds, component, c.peak});
  }
}

const std::vector<SpeckFinder::Speck>& SpeckFinder::endLine() {
  if (m_components.size() > m_tidyAt) forgetUnused();
  collectEnded();
  ++m_lines;
  m_above = 0;
  m_rows[static_cast<std::size_t>(m_lines) % m_rows.size()].clear();
  return m_ended;
}

/// Renumbers the components that the remembered lines still have.
void SpeckFinder::forgetUnused() {
  m_renamed.assign(m_components.size(), kUnused);
  for (const std::vector<Run>& row : m_rows) {
    for (const Run& run : row) m_renamed[root(run.component)] = 0;
  }
  std::uint32_t next = 0;
  for (std::uint32_t i = 0; i < m_renamed.size(); ++i) {
    if (m_renamed[i] != kUnused) m_renamed[i] = next++;
  }
  for (std::vector<Run>& row : m_rows) {
    for (Run& run : row) run.component = m_renamed[root(run.component)];
  }
  for (std::uint32_t i = 0; i < m_renamed.size(); ++i) {
    if (m_renamed[i] == kUnused) continue;
    Component c = m_components[i];
    c.parent = m_renamed[i];
    m_components[m_renamed[i]] = c;
  }
  m_components.resize(next);
  m_tidyAt = std::max(kTidyAt, m_components.size() * 2);
}

}  // namespace quillbay
