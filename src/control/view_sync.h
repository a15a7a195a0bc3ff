#pragma once
#include <cstdint>
#include <optional>

#include "quillbay/raster.h"
#include "quillbay/view.h"

namespace quillbay {

/// Keeps the host's view and the panel together: asks the view to redraw while stripes arrive, and knows where the
/// scan area lies for it. User-interface thread only.
class CViewSync {
 public:
  static constexpr int kNoView = 32;

  explicit CViewSync(IKxView* view) : m_view(KxPtr<IKxView>::share(view)) {}
  /// Answers 32 and does nothing without a view, else 1.
  int enable(int enable);
  [[nodiscard]] bool hasView() const noexcept { return static_cast<bool>(m_view); }
  void invalidate();
  /// The area being scanned, in millimetres, and its resolution.
  void setArea(const tagRRECT& area, std::uint32_t dpi) noexcept;
  /// The part of the document that the view shows, or none: a view that does not tell has none.
  [[nodiscard]] static std::optional<tagRRECT> visibleArea() noexcept { return std::nullopt; }
  /// From pixels of the scan to document millimetres.
  [[nodiscard]] CRDirectTfm transform() const noexcept;

 private:
  KxPtr<IKxView> m_view;
  bool m_enabled = false;
  tagRRECT m_area{};
  std::uint32_t m_dpi = 100;
};

}  // namespace quillbay
