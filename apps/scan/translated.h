#pragma once
#include <string>
#include <string_view>
#include <vector>

/// `english` in the user's language, each "%s" replaced by the next value.
[[nodiscard]] std::string translated(std::string_view english, const std::vector<std::string>& values = {});
