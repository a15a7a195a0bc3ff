#pragma once
#include <cstdint>
#include <vector>

#include "platform/strip_stor.h"
#include "quillbay/view.h"

namespace quillbay {

/// The extent of a store's picture in its own pixels, right and bottom exclusive; without a width when it is empty.
[[nodiscard]] tagRRECT extentOf(ISStripStor& store);

/// Lets stores draw into a view: only what is seen, in device pixels, straight from the store into the memory that
/// the view's painter gets. That memory is kept for the next time. User-interface thread only; stripes may arrive
/// meanwhile.
class StorPainter {
 public:
  /// @param toDocument  from the store's pixels to document millimetres
  void paint(IKxViewDC& dc, ISStripStor& store, const tagRRECT& extent, const CRTfm& toDocument);

 private:
  std::vector<std::uint32_t> m_pixels;
};

}  // namespace quillbay
