#pragma once
#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Told about every write to a scan parameter, on the user-interface thread. Keys are compared without case.
class IChangeParams : public IKxUnknown {
 public:
  /// First pass: the value is stored already, other subscribers may not have seen it.
  virtual int OnParamChanging(const char* key) = 0;
  /// Second pass: every subscriber has had its first.
  virtual int OnParamChanged(const char* key) = 0;
};

}  // namespace quillbay
