// A page at a scanner's pace, printed while it comes. usage: print_bench PRINTER MB_PER_SECOND GB drawing|noise
// Prints: seconds of the scan alone, seconds until the printer has its last byte, until the job is done, MiB peak.
#include <sys/resource.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <thread>
#include <vector>

#include "printing/print_job.h"

namespace quillbay::bench {
namespace {

constexpr std::int32_t kWidth = 14394;  // 914 mm at 400 dpi
constexpr std::uint32_t kDpi = 400;

/// Lines of colour in one piece of memory.
class PrintStripe final : public CKxUnknownImpl<IScanBuffer, IContiguousLines> {
 public:
  explicit PrintStripe(std::int32_t lines)
      : m_lines(lines), m_bytes(stride() * static_cast<std::size_t>(lines), 255) {}
  static constexpr std::size_t stride() { return std::size_t{3} * kWidth; }
  std::vector<std::uint8_t>& bytes() { return m_bytes; }

  KxSize* GetSize(KxSize* out) override {
    *out = {kWidth, m_lines};
    return out;
  }
  const std::uint8_t* GetLine(std::int32_t i) override {
    return m_bytes.data() + stride() * static_cast<std::size_t>(i);
  }
  KxColorSpace GetColorSpace() override { return KxColorSpace::Rgb; }
  int GetColorCount() override { return 0; }
  const KXRGBQUAD* GetPalette() override { return nullptr; }
  std::uint32_t GetResolution() override { return kDpi; }
  int AddToRaster(std::int32_t, IRStor*) override { return 0; }
  int CreateRaster(IRStor**) override { return 0; }
  int AppendBuffer(IScanBuffer*) override { return 0; }
  const std::uint8_t* GetBytes() override { return m_bytes.data(); }
  std::size_t GetStride() override { return stride(); }

 private:
  ~PrintStripe() override = default;
  const std::int32_t m_lines;
  std::vector<std::uint8_t> m_bytes;
};

/// A drawing: paper with a little grain, and a line every few millimetres; or noise, which does not compress.
KxPtr<PrintStripe> makeStripe(bool isNoise, std::uint32_t seed) {
  constexpr std::int32_t kLines = 24;  // about 1 MiB
  auto stripe = KxPtr<PrintStripe>::adopt(new PrintStripe(kLines));
  std::size_t at = 0;
  for (std::uint8_t& byte : stripe->bytes()) {
    seed = seed * 1664525U + 1013904223U;
    const auto random = static_cast<std::uint8_t>(seed >> 24);
    const std::size_t pixel = at++ / 3;
    const bool isLine = pixel % 64 < 4;
    byte = isNoise ? random : static_cast<std::uint8_t>(isLine ? 40 : 245 + (random < 8 ? 3 : 0));
  }
  return stripe;
}

double number(const char* text) {
  double value = 0;
  std::from_chars(text, text + std::strlen(text), value);
  return value;
}

int run(const char* printer, double mbPerSecond, double gb, bool isNoise) {
  using Clock = std::chrono::steady_clock;
  std::vector<KxPtr<PrintStripe>> stripes;
  for (std::uint32_t i = 0; i < 8; ++i) stripes.push_back(makeStripe(isNoise, i));
  const std::size_t bytes = stripes[0]->bytes().size();
  const auto count = static_cast<std::int64_t>(gb * 1e9 / static_cast<double>(bytes));
  const auto options = new_MemParam();
  options->SetValue(print_key::PrinterName, printer);
  options->SetValue(print_key::PageLines, static_cast<double>(count * 24));
  PrintJob job;
  if (!job.start("Measurement", options.get())) {
    std::fprintf(stderr, "%s\n", job.error().c_str());
    return 1;
  }
  const auto start = Clock::now();
  const auto since = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  for (std::int64_t i = 0; i < count; ++i) {
    std::this_thread::sleep_until(start +
                                  std::chrono::duration<double>(static_cast<double>(i + 1) *
                                                                static_cast<double>(bytes) / (mbPerSecond * 1e6)));
    if (!job.push(stripes[static_cast<std::size_t>(i) % stripes.size()].get(), nullptr)) break;
  }
  const double scanned = since();
  if (!job.end(true)) {
    std::fprintf(stderr, "%s\n", job.error().c_str());
    return 1;
  }
  const double sent = since();
  std::string state;
  const PrintFate fate = job.await(600, &state);
  const double done = since();
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("%.3f %.3f %.3f %ld %d\n", scanned, sent, done, usage.ru_maxrss / 1024, static_cast<int>(fate));
  return fate == PrintFate::Printed ? 0 : 1;
}

}  // namespace
}  // namespace quillbay::bench

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: print_bench PRINTER MB_PER_SECOND GB drawing|noise\n");
    return 2;
  }
  return quillbay::bench::run(argv[1], quillbay::bench::number(argv[2]), quillbay::bench::number(argv[3]),
                              std::string_view(argv[4]) == "noise");
}
