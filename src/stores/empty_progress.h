#pragma once
#include "quillbay/raster.h"

namespace quillbay {

/// A progress display that shows nothing and never cancels.
class KxEmptyProgress final : public CKxUnknownImpl<IProgress> {
 public:
  void SetText(const char* /*text*/) override {}
  void Step() override {}
  int SetPosition(int /*position*/) override { return 0; }
  void Reset() override {}
  int IsCancelled() override { return 0; }

 private:
  ~KxEmptyProgress() override = default;
};

}  // namespace quillbay
