#pragma once
#include <QString>
#include <cstdint>
#include <deque>
#include <variant>
#include <vector>

#include "document/page.h"

namespace desktop {

/// A page got another raster.
struct PageReplaced {
  struct Version {
    quillbay::KxPtr<quillbay::IRStor> raster;
    int number = 0;
  };
  int id = 0;
  Version before, after;
};

/// Pages were closed; each with its place in the document before, in ascending order.
struct PagesClosed {
  std::vector<std::pair<std::size_t, Page>> pages;
};

/// The pages got another order, as their numbers.
struct PagesMoved {
  std::vector<int> before, after;
};

using PageChange = std::variant<PageReplaced, PagesClosed, PagesMoved>;

/// What the user did with one command.
struct UndoStep {
  QString text;  ///< the command, for a user
  std::vector<PageChange> changes;
};

/// The steps that can be undone and done again. It holds rasters that the document has no more: when these take
/// more bytes than the bound, or there are more steps, the oldest are forgotten; the last one stays in any case.
class UndoStack {
 public:
  struct Bound {
    std::int64_t bytes = std::int64_t{4} << 30;
    std::size_t steps = 200;
  };
  void setBound(const Bound& bound);

  /// Something was done: what was undone before cannot be done again.
  void push(UndoStep step);
  /// The step that is next to be undone or done again; null without one.
  [[nodiscard]] const UndoStep* undo() const { return m_undo.empty() ? nullptr : &m_undo.back(); }
  [[nodiscard]] const UndoStep* redo() const { return m_redo.empty() ? nullptr : &m_redo.back(); }
  /// Takes that step out, to undo it or do it again; `undone` or `redone` gives it back.
  [[nodiscard]] UndoStep takeUndo();
  [[nodiscard]] UndoStep takeRedo();
  void undone(UndoStep step);
  void redone(UndoStep step);
  /// A page is gone for good: nothing of it comes back.
  void forget(int id);
  [[nodiscard]] std::size_t size() const { return m_undo.size() + m_redo.size(); }
  /// Of the rasters that it holds and the document does not.
  [[nodiscard]] std::int64_t bytes() const;

 private:
  using Steps = std::deque<UndoStep>;  // the next one last
  void trim();
  Bound m_bound;
  Steps m_undo, m_redo;
};

}  // namespace desktop
