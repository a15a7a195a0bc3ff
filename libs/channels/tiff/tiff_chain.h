#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "channels/codec/module_support.h"

namespace quillbay {

/// What adding a page must know of a file.
struct TiffState {
  bool started = false;     ///< it has a header
  bool big = false;         ///< BigTIFF
  bool bigEndian = false;   ///< its byte order
  std::int64_t linkAt = 0;  ///< place of the offset of the next directory
  std::int32_t pages = 0;
  bool isCopyAlone = false;  ///< its page is marked as a smaller copy; beside a whole one it would be none
};

/// Takes the place of a directory, and the state with it.
using TiffVisit = std::function<void(const TiffState&, std::uint64_t)>;

/// Follows the chain of directories, a few short reads each; `offsets` (may be null) gets where those of pages
/// start: smaller copies of pages and masks are passed over. `visit` (may be empty) is called for them, too. An
/// empty file is not started. Throws ModuleError for a file that is damaged or cut off; `offsets` has the pages
/// before then.
[[nodiscard]] TiffState readTiffChain(const EdgeFile& file, std::vector<std::uint64_t>* offsets,
                                      const TiffVisit& visit = {});

/// Non-zero for the first bytes of a TIFF or BigTIFF.
[[nodiscard]] bool looksLikeTiff(const std::uint8_t* head, std::size_t size) noexcept;

/// A whole number of `size` bytes (2, 4 or 8) in a byte order.
[[nodiscard]] std::uint64_t getNumber(const std::uint8_t* bytes, int size, bool bigEndian) noexcept;
void putNumber(std::uint8_t* bytes, int size, bool bigEndian, std::uint64_t value) noexcept;

}  // namespace quillbay
