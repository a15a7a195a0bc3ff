#pragma once
#include <string>

#include "destinations/file_names.h"
#include "platform/page_spool.h"

namespace quillbay {

/// How long a hot folder may take to answer before a page waits for it on this computer.
inline constexpr int kHotFolderLimitMs = 3000;

/// Whether a name in a hot folder is taken: by an image, by the hand-off file that would go with it, or by a page
/// that waits. `asksFolder` false: the pages that wait alone. Any thread; may wait for the folder.
[[nodiscard]] ExistsTest netNameTest(KxPtr<IPageSpool> spool, bool asksFolder = true);

/// What a hot folder is like, and the name that the next page would get in it.
struct NetName {
  HotFolderState folder;
  OutputName name;
};
/// Applies the rule for existing files in the folder of the context, if that answers in time: otherwise the pages
/// that wait are all that is known of it. User-interface thread; waits for at most twice `kHotFolderLimitMs`.
[[nodiscard]] NetName findNetName(const NameContext& context, const std::string& mountPoint,
                                  const KxPtr<IPageSpool>& spool);

}  // namespace quillbay
