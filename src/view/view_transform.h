#pragma once
#include <optional>

#include "quillbay/geometry.h"
#include "quillbay/view.h"

/// The algebra of a view's transforms. Pixels are client pixels, rectangles of the document have top < bottom.
namespace quillbay::view {

/// One pixel per millimetre, y pointing up.
[[nodiscard]] CRTfm baseTransform() noexcept;

[[nodiscard]] tagRPOINT toClient(const CRTfm& t, const tagRPOINT& at) noexcept;
/// Of a transform whose scales are not 0.
[[nodiscard]] tagRPOINT toDocument(const CRTfm& t, const tagRPOINT& client) noexcept;
/// The same transform to device pixels, of which a client pixel has `ratio`.
[[nodiscard]] CRTfm onDevice(const CRTfm& t, double ratio) noexcept;
/// What bounds a client rectangle in the document.
[[nodiscard]] tagRRECT toDocument(const CRTfm& t, const tagRRECT& client) noexcept;
/// What bounds a document rectangle in the client area.
[[nodiscard]] tagRRECT toClient(const CRTfm& t, const tagRRECT& document) noexcept;

/// The smallest pixel rectangle that holds `client`, grown by `grow` on every side and cut to the client area.
[[nodiscard]] KxRect pixelCover(const tagRRECT& client, int grow, const KxSize& size) noexcept;

/// Whether a view of this client size may have the transform: scaleX > 0 > scaleY, invertible, what it shows at
/// least 0.001 wide or high, and within 1e11 of the origin.
[[nodiscard]] bool isAllowed(const CRTfm& t, const KxSize& client) noexcept;

/// The client's centre; of an odd size it lies at half a pixel.
[[nodiscard]] tagRPOINT clientCentre(const KxSize& client) noexcept;

/// `t` with other scales and the same rotation, so that the document's `at` lies at the client's `place`.
[[nodiscard]] CRTfm placed(const CRTfm& t, double scaleX, double scaleY, const tagRPOINT& at,
                           const tagRPOINT& place) noexcept;

/// The scales times `factor`; the document point under the client's `place` stays there.
[[nodiscard]] CRTfm zoomedAbout(const CRTfm& t, double factor, const tagRPOINT& place) noexcept;
/// The base scales; the point under the centre stays there.
[[nodiscard]] CRTfm actualSize(const CRTfm& t, const KxSize& client) noexcept;
/// The base scales times |factor|; `at` goes to the centre.
[[nodiscard]] CRTfm zoomedTo(const CRTfm& t, double factor, const tagRPOINT& at, const KxSize& client) noexcept;
/// `area` as large as it fits, at the centre. An area without a size gives a transform that is not allowed.
[[nodiscard]] CRTfm zoomedToRectangle(const CRTfm& t, const tagRRECT& area, const KxSize& client) noexcept;
/// The same with 5 pixels of margin; an area that is not more than 0.001 wide and high gets the base scales.
[[nodiscard]] CRTfm zoomedToExtents(const CRTfm& t, const tagRRECT& extents, const KxSize& client) noexcept;
/// A step of the wheel at the client's `place`.
[[nodiscard]] CRTfm wheeled(const CRTfm& t, bool forward, double step, const tagRPOINT& place) noexcept;
[[nodiscard]] CRTfm scrolled(const CRTfm& t, double dx, double dy) noexcept;

}  // namespace quillbay::view
