#pragma once
#include <cstdint>
#include <string>

namespace quillbay {

/// Where one page goes and how its file ends. Its destination makes it once, when the scanner has said what it
/// delivers; store and file channel take it as it is. Nothing about the page's file is asked again later.
struct PageTarget {
  std::string path;         ///< the file's final name; its extension chooses the format. Empty: no file
  bool mayReplace = false;  ///< a file of this name may be replaced: a setting or the user said so
  bool joinsPart = false;   ///< a page of a multi-page file: added to its part, or to the file that stands there
  bool addsToFile = false;  ///< with `joinsPart`: a file of this name was there already, and gets the page in place
  bool isLast = true;       ///< the run has no further page for the part: it gets its final name with this one
  std::int32_t leastLines = 0;     ///< a shorter page is padded with blank lines; 0: it ends with the document
  std::int64_t expectedLines = 0;  ///< 0: unknown. A hint: more or fewer may come
};

}  // namespace quillbay
