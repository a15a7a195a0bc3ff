#pragma once
#include <cstdint>
#include <string>

#include "channels/format_module.h"
#include "channels/page_file.h"
#include "quillbay/color_space.h"
#include "quillbay/raster.h"

namespace quillbay {

/// A picture file that is read page by page, line by line; its content tells the format. One thread at a time.
/// Errors name the file, and for one that is truncated what could be read of it.
class PictureFile {
 public:
  /// Thrown by what reads when the progress was cancelled.
  struct Cancelled {};

  /// Throws CXFileException.
  explicit PictureFile(const std::string& fileName);
  ~PictureFile();
  PictureFile(const PictureFile&) = delete;
  PictureFile& operator=(const PictureFile&) = delete;

  [[nodiscard]] const std::string& path() const noexcept { return m_file.path(); }
  [[nodiscard]] int pageCount() const { return m_format->reader_pages(m_reader); }
  /// May cancel, every few megabytes of the file; may be null. Outlives the reading.
  void setProgress(IProgress* progress) noexcept { m_progress = progress; }

  /// Goes to the first line of page `page` (from 0). Throws CXFileException, CXMemException.
  const QbPicture& openPage(int page);
  /// The page that was opened last, and how many times one was.
  [[nodiscard]] const QbPicture& picture() const noexcept { return m_picture; }
  [[nodiscard]] int opened() const noexcept { return m_opened; }
  /// Bytes of its lines: what `QbFormat::read_line` writes.
  [[nodiscard]] std::size_t lineBytes() const noexcept;
  /// Reads the next line; there is one. Throws as `openPage`.
  void readLine(std::uint8_t* out);

 private:
  int readBytes(std::int64_t offset, std::uint8_t* bytes, std::size_t size);
  void check(int code, const QbText& why);
  [[nodiscard]] std::string truncatedText(const QbText& why) const;

  PageFile m_file;
  QbFile m_edge{};  // the file, with questions to the progress in between
  const QbFormat* m_format = nullptr;
  QbReader* m_reader = nullptr;
  IProgress* m_progress = nullptr;
  bool m_cancelled = false;
  std::size_t m_unasked = 0;  // bytes read since the progress was asked
  QbPicture m_picture{};
  int m_page = 0;
  int m_opened = 0;
  std::int32_t m_line = 0;  // the next one
};

}  // namespace quillbay
