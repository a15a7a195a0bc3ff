#pragma once
#include <optional>
#include <string>

#include "platform/page_spool.h"

namespace quillbay {

/// What a page's folder in the queue says of it, in the file "page.json" there. The state is written, and safe on
/// the disk, before the step that it names, so that whoever continues after a crash knows what may have happened:
///
///   Queued      nothing has a name in the hot folder but parts of this page's own, which are made again
///   Publishing  both parts are complete; the image's gets the name `as` next. Gone: it has that name
///   Handing     the image has its name; the hand-off file's part gets its name next. Gone: the page is handed off
struct SpoolRecord {
  enum Stage : int { Queued = 0, Publishing = 1, Handing = 2 };

  HandOff handOff;
  Stage stage = Queued;
  std::string as;     ///< the image's name, with folder, from `Publishing` on
  std::string image;  ///< the name of the page's file in its folder here
  std::string stuck;  ///< why it cannot be handed off as it is; empty when it can
};

inline constexpr char kRecordFile[] = "page.json";

/// Replaces the record of the page in `folder` at once. Throws CXFileException.
void writeRecord(const std::string& folder, const SpoolRecord& record);
/// The record of a folder; nothing when there is none, or it is damaged (`*why` then says so).
[[nodiscard]] std::optional<SpoolRecord> readRecord(const std::string& folder, std::string* why);

}  // namespace quillbay
