#pragma once
#include <optional>
#include <vector>

#include "quillbay/view.h"

namespace quillbay {

/// The transforms that a view had: a back and a forward list.
class ZoomHistory {
 public:
  /// Older ones are forgotten.
  static constexpr std::size_t kMost = 200;

  /// Keeps `now` for going back, unless it is what going back leads to already; there is no way forward then.
  void remember(const CRTfm& now);
  /// Where going back or forward leads, if anywhere.
  [[nodiscard]] std::optional<CRTfm> back() const { return last(m_back); }
  [[nodiscard]] std::optional<CRTfm> forward() const { return last(m_forward); }
  /// Going there was accepted; `from` is where the view was.
  void wentBack(const CRTfm& from) { move(m_back, m_forward, from); }
  void wentForward(const CRTfm& from) { move(m_forward, m_back, from); }

 private:
  using List = std::vector<CRTfm>;
  [[nodiscard]] static std::optional<CRTfm> last(const List& list) {
    return list.empty() ? std::nullopt : std::optional(list.back());
  }
  static void move(List& source, List& target, const CRTfm& from);

  List m_back, m_forward;
};

}  // namespace quillbay
