#pragma once
#include "quillbay/kx_unknown.h"

namespace quillbay {

/// A mark, queried from a paint reactor: it draws over what the others draw. A view of this library calls it for
/// each part that it paints after all reactors without the mark, whatever the order in which they subscribed.
class IKxViewOverlay : public IKxUnknown {};

}  // namespace quillbay
