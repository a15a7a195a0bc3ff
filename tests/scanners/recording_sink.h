#pragma once
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "quillbay/scan_buffer.h"

namespace quillbay::testing {

/// Keeps what a unit reports: the lines one after another, and the order of the notifications.
class RecordingSink : public CKxUnknownImplStatic<IScanSink> {
 public:
  int ScanEnded(int status) override {
    ended.push_back(status);
    if (onEnded) onEnded(status);
    return 1;
  }
  int QueryContinue() override { return 1; }
  int ScanStarted(KxColorSpace cs, std::int64_t w, std::int64_t lines, std::uint32_t d) override {
    ++started;
    colorSpace = cs;
    width = w;
    announced = lines;
    dpi = d;
    return 1;
  }
  int StripeArrived(std::int64_t position, IScanBuffer* stripe, std::int64_t /*extra*/) override {
    inOrder = inOrder && started == 1 && ended.empty() && position == lineCount;
    KxSize size;
    stripe->GetSize(&size);
    ++stripes;
    lineCount += size.height;
    if (keep) keepLines(stripe, size);
    return onStripe ? onStripe(stripe) : 1;
  }
  [[nodiscard]] const std::uint8_t* line(std::int64_t y) const {
    return bytes.data() + y * width * bitsPerPixel(colorSpace) / 8;
  }

  bool keep = true;
  bool inOrder = true;
  int started = 0, stripes = 0;
  KxColorSpace colorSpace = KxColorSpace::None;
  std::int64_t width = 0, announced = 0, lineCount = 0;
  std::uint32_t dpi = 0;
  std::vector<int> ended;
  std::vector<std::uint8_t> bytes;
  std::function<int(IScanBuffer*)> onStripe;
  std::function<void(int)> onEnded;

 private:
  void keepLines(IScanBuffer* stripe, KxSize size) {
    const std::size_t fixed = fixedLineBytes(stripe->GetColorSpace(), size.width);
    for (std::int32_t i = 0; i < size.height; ++i) {
      const std::uint8_t* p = stripe->GetLine(i);
      const std::size_t n = fixed != 0 ? fixed : runListBytes(runCount(reinterpret_cast<const std::uint32_t*>(p)));
      bytes.insert(bytes.end(), p, p + n);
    }
  }
};

}  // namespace quillbay::testing
