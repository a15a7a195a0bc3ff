#pragma once
#include "destinations/file_destination.h"
#include "quillbay/events.h"

namespace quillbay {

/// The files of one run, from its first page to its end: the page that is prepared or scanned, and the multi-page
/// part that its pages join. User-interface thread only.
class RunOutput {
 public:
  /// Prepares a page; the one before it is forgotten.
  void preparePage();
  /// Lets the prepared page join the part, and returns the part's final name; empty when none is open.
  std::string joinPart();
  /// The prepared page, for the rule for existing files to fill in. Its names are empty but for their moment.
  [[nodiscard]] PageDraft& draft() noexcept { return m_draft; }
  [[nodiscard]] const PageDraft& draft() const noexcept { return m_draft; }
  /// The scanner has started, and the page's target was made.
  void startPage(const NamedPage& page) { m_page = page; }
  [[nodiscard]] const NamedPage& page() const noexcept { return m_page; }
  [[nodiscard]] const PageTarget& target() const noexcept { return m_page.target; }
  /// The page ended, in whatever way.
  void endPage() { m_draft = {}; }
  /// The page is in the part, which stays open unless the page was the run's last.
  void addToPart();
  /// The part has its final name, or was left to the user.
  void forgetPart();
  /// Gives a part that is still open its final name. `events` may be null; then nobody can be asked. When it fails,
  /// `*why` says so to the user.
  [[nodiscard]] RunFile publishPart(IEvents* events, std::string* why);

 private:
  PageDraft m_draft;
  NamedPage m_page;
  NamedPage m_part;  // the first page of the part
  std::int32_t m_partPages = 0;
};

}  // namespace quillbay
