#pragma once
#include <string>
#include <string_view>
#include <vector>

/// Names of modes and papers, and suggestions for mistyped ones.
namespace names {

/// The modes of --mode, by their number (0-7).
[[nodiscard]] const std::vector<std::string>& modes();
/// The mode's number, or -1.
[[nodiscard]] int modeOf(std::string_view name);

/// Equal without regard to case, blanks, dashes and underscores: "arch-e1" is "ARCH E1".
[[nodiscard]] bool same(std::string_view a, std::string_view b);

/// Joined by a comma and a blank.
[[nodiscard]] std::string joined(const std::vector<std::string>& list);

/// The names nearest to `given`, at most `most`, the best first; the first ones when nothing is near.
[[nodiscard]] std::vector<std::string> nearest(const std::vector<std::string>& list, std::string_view given,
                                               std::size_t most);

/// "there are: a, b, c" for a short list, else "nearest: a, b; HOW lists all".
[[nodiscard]] std::string allowed(const std::vector<std::string>& list, std::string_view given,
                                  std::string_view how);

}  // namespace names
