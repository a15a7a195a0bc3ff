#pragma once
#include <functional>
#include <memory>
#include <optional>

#include "destinations/file_names.h"

class QObject;

namespace quillbay {

/// Finds the name that the next page would get on a thread of its own: a folder may hold thousands of files, or lie
/// on a server that does not answer. The latest request wins. User-interface thread.
class NextNameFinder {
 public:
  using Rule = std::function<OutputName(const NameContext&)>;

  /// Posts `command` to `dialog` when an answer can be taken. `rule` null: the rule for existing files.
  NextNameFinder(QObject* dialog, int command, Rule rule = {});
  /// Does not wait for a folder that does not answer.
  ~NextNameFinder();
  NextNameFinder(const NextNameFinder&) = delete;
  NextNameFinder& operator=(const NextNameFinder&) = delete;

  void ask(NameContext context);
  /// The answer to what was asked last is not wanted any more.
  void forget();
  /// The answer to the latest request, once; nothing while that is still being looked for.
  [[nodiscard]] std::optional<OutputName> take();

 private:
  struct Shared;
  static void work(const std::shared_ptr<Shared>& shared);

  std::shared_ptr<Shared> m_shared;
};

}  // namespace quillbay
