#pragma once
#include <array>
#include <string>
#include <vector>

#include "params/scan_values.h"
#include "quillbay/quillbay.h"

namespace quillbay {

/// The pages that a panel may have. Their order is the order in which they are made; a page's number names its
/// store.
enum class PageRole : int { Main, Setup, Bw0, Bw1, Bw2, Bw3, Bw4, Palette, Rgb, PostProcessing, Save };
inline constexpr int kPageRoles = 11;

/// The help topic of a page.
[[nodiscard]] const char* helpTopicOf(PageRole role) noexcept;
/// The help topic of a panel's destination (modes 0-3): the scanner's name, with an underscore for what is not
/// allowed in file names and for blanks, a colon and the destination's own ("Desk_2:IDH_ScanToFile").
[[nodiscard]] std::string destinationTopic(std::string scannerName, std::int32_t destinationMode);
/// The mode that a page is made with: 0-4 for the B/W pages, 7 for the RGB page, all modes for the others.
[[nodiscard]] int createModeOf(PageRole role) noexcept;

using PageLists = std::array<std::vector<PageRole>, kModeCount>;
/// The pages of each scan mode in the order of their tabs, of those in `available`.
[[nodiscard]] PageLists makePageLists(const std::array<bool, kPageRoles>& available, std::int32_t destinationMode);

}  // namespace quillbay
