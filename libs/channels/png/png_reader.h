#pragma once
#include <cstdint>
#include <memory>

#include "channels/codec/module_support.h"

namespace quillbay {

/// Reads a PNG through libpng: black and white as packed pixels, palettes and grey as bytes, colour as red, green,
/// blue. What is transparent lies on white; 16 bits are read by their high byte. An interlaced picture is held in
/// memory (at most 1 GiB), any other line by line.
class PngReader {
 public:
  explicit PngReader(const QbFile* file);
  ~PngReader();
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  [[nodiscard]] static std::int32_t pages() noexcept { return 1; }
  /// Goes to the first line. Throws ModuleError, as `readLine` does.
  void openPage(std::int32_t page, QbPicture* out);
  void readLine(std::uint8_t* out);

 private:
  struct Job;
  const QbFile* m_file;
  std::unique_ptr<Job> m_job;
};

}  // namespace quillbay
