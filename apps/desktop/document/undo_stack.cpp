#include "document/undo_stack.h"

#include <algorithm>
#include <utility>

namespace desktop {

namespace {

/// What a change holds that the document does not have.
std::int64_t bytesOf(const PageChange& change, bool isDone) {
  if (const auto* replaced = std::get_if<PageReplaced>(&change)) {
    return (isDone ? replaced->before : replaced->after).raster->GetByteCount();
  }
  std::int64_t bytes = 0;
  if (const auto* closed = std::get_if<PagesClosed>(&change); closed && isDone) {
    for (const auto& [place, page] : closed->pages) bytes += page.raster->GetByteCount();
  }
  return bytes;
}

std::int64_t bytesOf(const std::deque<UndoStep>& steps, bool isDone) {
  std::int64_t bytes = 0;
  for (const UndoStep& step : steps) {
    for (const PageChange& change : step.changes) bytes += bytesOf(change, isDone);
  }
  return bytes;
}

/// Takes a page out of a change; true when nothing is left of it.
bool forgetIn(PageChange& change, int id) {
  if (const auto* replaced = std::get_if<PageReplaced>(&change)) return replaced->id == id;
  if (auto* closed = std::get_if<PagesClosed>(&change)) {
    std::erase_if(closed->pages, [id](const auto& entry) { return entry.second.id == id; });
    return closed->pages.empty();
  }
  return false;  // an order without the page is an order
}

}  // namespace

void UndoStack::setBound(const Bound& bound) {
  m_bound = bound;
  trim();
}

void UndoStack::push(UndoStep step) {
  if (step.changes.empty()) return;
  m_redo.clear();
  m_undo.push_back(std::move(step));
  trim();
}

UndoStep UndoStack::takeUndo() {
  UndoStep step = std::move(m_undo.back());
  m_undo.pop_back();
  return step;
}

UndoStep UndoStack::takeRedo() {
  UndoStep step = std::move(m_redo.back());
  m_redo.pop_back();
  return step;
}

void UndoStack::undone(UndoStep step) {
  m_redo.push_back(std::move(step));
  trim();
}

void UndoStack::redone(UndoStep step) {
  m_undo.push_back(std::move(step));
  trim();
}

void UndoStack::forget(int id) {
  for (Steps* steps : {&m_undo, &m_redo}) {
    for (UndoStep& step : *steps) {
      std::vector<PageChange> left;
      for (PageChange& change : step.changes) {
        if (!forgetIn(change, id)) left.push_back(std::move(change));
      }
      step.changes = std::move(left);
    }
    std::erase_if(*steps, [](const UndoStep& step) { return step.changes.empty(); });
  }
}

std::int64_t UndoStack::bytes() const { return bytesOf(m_undo, true) + bytesOf(m_redo, false); }

void UndoStack::trim() {
  const auto isOver = [this] { return size() > m_bound.steps || bytes() > m_bound.bytes; };
  while (size() > 1 && isOver()) {
    // What lies farthest from now.
    Steps& farthest = m_undo.size() > (m_redo.empty() ? 1U : 0U) ? m_undo : m_redo;
    farthest.pop_front();
  }
}

}  // namespace desktop
