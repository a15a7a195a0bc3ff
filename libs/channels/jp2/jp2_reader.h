#pragma once
#include <cstdint>
#include <memory>

#include "channels/codec/module_support.h"

namespace quillbay {

/// Reads a JPEG 2000 through openjpeg: grey, palettes, and everything else as red, green, blue by 8 bits. A row of
/// tiles is held, or a part of a single tile with its coded bytes.
class Jp2Reader {
 public:
  explicit Jp2Reader(const QbFile* file);
  ~Jp2Reader();
  Jp2Reader(const Jp2Reader&) = delete;
  Jp2Reader& operator=(const Jp2Reader&) = delete;
  [[nodiscard]] static std::int32_t pages() noexcept { return 1; }
  /// Goes to the first line. Throws ModuleError, as `readLine` does.
  void openPage(std::int32_t page, QbPicture* out);
  void readLine(std::uint8_t* out);

 private:
  class Job;
  const QbFile* m_file;
  std::unique_ptr<Job> m_job;
};

}  // namespace quillbay
