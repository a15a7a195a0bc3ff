#include "names.h"
#include "translated.h"

#include <algorithm>
#include <numeric>

namespace names {
namespace {

constexpr std::size_t kShortList = 12;
constexpr std::size_t kNearest = 4;

std::string folded(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == ' ' || c == '-' || c == '_') continue;
    result += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return result;
}

/// Levenshtein distance.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

}  // namespace

const std::vector<std::string>& modes() {
  static const std::vector<std::string> list{"bw-threshold",     "bw-adaptive", "bw-copy-normal", "bw-copy-photo",
                                             "bw-copy-adaptive", "grey",        "palette",        "rgb"};
  return list;
}

int modeOf(std::string_view name) {
  if (same(name, "gray")) return 5;
  const auto found = std::find_if(modes().begin(), modes().end(), [&](const auto& m) { return same(m, name); });
  return found == modes().end() ? -1 : static_cast<int>(found - modes().begin());
}

bool same(std::string_view a, std::string_view b) { return folded(a) == folded(b); }

std::string joined(const std::vector<std::string>& list) {
  std::string text;
  for (const std::string& item : list) text += (text.empty() ? "" : ", ") + item;
  return text.empty() ? translated("none") : text;
}

std::vector<std::string> nearest(const std::vector<std::string>& list, std::string_view given, std::size_t most) {
  const std::string wanted = folded(given);
  std::vector<std::pair<std::size_t, std::string>> scored;
  for (const std::string& item : list) {
    const std::string name = folded(item);
    const bool part = !wanted.empty() && name.find(wanted) != std::string::npos;
    scored.emplace_back(part ? 0 : distance(wanted, name), item);
  }
  std::stable_sort(scored.begin(), scored.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> result;
  for (const auto& [score, item] : scored) {
    if (result.size() < most) result.push_back(item);
  }
  return result;
}

std::string allowed(const std::vector<std::string>& list, std::string_view given, std::string_view how) {
  if (list.size() <= kShortList) return translated("available: %s", {joined(list)});
  return translated("nearest: %s; %s lists all", {joined(nearest(list, given, kNearest)), std::string(how)});
}

}  // namespace names
