#pragma once
#include <cstdint>
#include <memory>

#include "channels/codec/module_support.h"

namespace quillbay {

/// Reads a JPEG through libjpeg-turbo: grey as bytes, everything else as red, green, blue; inks (CMYK) are mixed as
/// light. Line by line; only a progressive picture is held, as coefficients (at most 1 GiB).
class JpegReader {
 public:
  explicit JpegReader(const QbFile* file);
  ~JpegReader();
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;
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
