#pragma once
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "channels/format_module.h"

namespace quillbay {

/// The colour spaces that a module is asked for.
inline constexpr std::int32_t kAskedColorSpaces[] = {1, 2, 4, 8, 16, 32, 64, 256, 512};
inline constexpr std::uint32_t kAllColorSpaces = 0xFFFFFFFFU;

/// What a save page needs to know of a format.
struct FormatFacts {
  std::string name, description;
  std::vector<std::string> extensions;  ///< with the leading dot, the usual one first
  std::uint32_t colorSpaces = 0;        ///< bits of `KxColorSpace` codes that can be saved
  bool paged = false;                   ///< several pages in one file
  bool saves = false;                   ///< it writes single pages, or several
};

/// Calls the format's `accepts`: what a faulty module does there happens here.
[[nodiscard]] inline FormatFacts factsOf(const QbFormat& format) {
  FormatFacts facts;
  facts.name = format.name ? format.name : "";
  facts.description = format.description ? format.description : "";
  for (const char* const* e = format.extensions; e && *e; ++e) facts.extensions.emplace_back(*e);
  const bool writes = format.open_writer && format.accepts;
  if (writes) {
    for (const std::int32_t code : kAskedColorSpaces) {
      if (format.accepts(code)) facts.colorSpaces |= static_cast<std::uint32_t>(code);
    }
  }
  facts.paged = format.paged != 0;
  if (facts.paged && facts.colorSpaces == 0) facts.colorSpaces = kAllColorSpaces;
  facts.saves = facts.colorSpaces != 0 || facts.paged;
  return facts;
}

}  // namespace quillbay
