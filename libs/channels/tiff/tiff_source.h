#pragma once
#include <tiffio.h>

#include <memory>
#include <string>

#include "channels/codec/module_support.h"

namespace quillbay {

/// A file as libtiff sees it. Outlives the handle.
struct TiffSource {
  explicit TiffSource(const QbFile* from) : file(from) {}
  const QbFile* file;
  std::int64_t position = 0;
  bool endsEarly = false;  ///< libtiff wanted bytes beyond the file's end
  bool failed = false;     ///< the file could not be read
  std::string complaint;   ///< libtiff's last one

  /// Throws ModuleError for what libtiff could not do: a failure of the file, one that ends early, or damage.
  [[noreturn]] void fail() const;
};

struct CloseTiff {
  void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

/// Opens the source for reading, at the directory at `offset`. Throws ModuleError.
[[nodiscard]] TiffPtr openTiff(TiffSource& source, std::uint64_t offset);

/// A tag's value, its default by the standard, or `otherwise`.
template <class T>
[[nodiscard]] T tiffTag(TIFF* tiff, std::uint32_t id, T otherwise) {
  T value = otherwise;
  return TIFFGetFieldDefaulted(tiff, id, &value) ? value : otherwise;
}

}  // namespace quillbay
