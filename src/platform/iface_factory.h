#pragma once
#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Stands for the application object towards a page that it shows: a query for anything but the counted base and
/// this interface is answered by the application.
class IFaceFactory : public IKxUnknown {};

}  // namespace quillbay
