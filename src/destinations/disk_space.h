#pragma once
#include <cstdint>
#include <string>

#include "params/scan_values.h"

namespace quillbay {

/// Bytes of the page that these settings will give, uncompressed; -1 when its length is not known before.
[[nodiscard]] std::int64_t expectedBytes(const ScanValues& values) noexcept;

/// Below this nothing is started.
inline constexpr std::int64_t kLeastFreeBytes = 16 * 1024 * 1024;

struct SpaceVerdict {
  enum Fate { Enough, Tight, Full } fate = Enough;
  std::string text;  ///< with the numbers, unless there is enough
};
/// `available` -1: unknown, taken for enough. "Tight" is a warning only: most pages compress.
[[nodiscard]] SpaceVerdict judgeSpace(const std::string& folder, std::int64_t available, std::int64_t expected);

/// "3.2 GB" for people: decimal units, one decimal.
[[nodiscard]] std::string byteText(std::int64_t bytes);

}  // namespace quillbay
