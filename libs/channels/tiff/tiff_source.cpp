#include "channels/tiff/tiff_source.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace quillbay {
namespace {

tmsize_t readSource(thandle_t handle, void* bytes, tmsize_t size) {
  auto* source = static_cast<TiffSource*>(handle);
  const std::int64_t left = source->file->size(source->file->self) - source->position;
  const std::int64_t count = std::clamp<std::int64_t>(left, 0, size);
  if (count < size) source->endsEarly = true;
  if (count == 0) return 0;
  const int code = source->file->read(source->file->self, source->position, bytes, static_cast<std::size_t>(count));
  if (code != QB_OK) {
    source->failed = true;
    return -1;
  }
  source->position += count;
  return count;
}

toff_t seekSource(thandle_t handle, toff_t offset, int whence) {
  auto* source = static_cast<TiffSource*>(handle);
  const auto by = static_cast<std::int64_t>(offset);
  if (whence == SEEK_SET) source->position = by;
  if (whence == SEEK_CUR) source->position += by;
  if (whence == SEEK_END) source->position = source->file->size(source->file->self) + by;
  return static_cast<toff_t>(source->position);
}

__attribute__((format(printf, 4, 0))) int noteError(TIFF*, void* data, const char*, const char* format,
                                                    va_list arguments) {
  char text[300];
  std::vsnprintf(text, sizeof text, format, arguments);
  static_cast<TiffSource*>(data)->complaint = text;
  return 1;
}

__attribute__((format(printf, 4, 0))) int ignoreWarning(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

}  // namespace

void TiffSource::fail() const {
  if (failed) throw ModuleError(QB_E_FILE, "");
  if (endsEarly) throw ModuleError(QB_E_TRUNCATED, "");
  throw ModuleError(QB_E_DAMAGED, "the file is damaged" + (complaint.empty() ? "" : " (" + complaint + ")"));
}

/// The head alone is read first: a page behind a damaged one can be opened.
TiffPtr openTiff(TiffSource& source, std::uint64_t offset) {
  const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                             TIFFOpenOptionsFree);
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteError, &source);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignoreWarning, &source);
  TiffPtr tiff(TIFFClientOpenExt(
      "page", "rmh", &source, readSource, [](thandle_t, void*, tmsize_t) -> tmsize_t { return -1; }, seekSource,
      [](thandle_t) { return 0; },
      [](thandle_t handle) {
        auto* from = static_cast<TiffSource*>(handle);
        return static_cast<toff_t>(from->file->size(from->file->self));
      },
      nullptr, nullptr, options.get()));
  if (!tiff || !TIFFSetSubDirectory(tiff.get(), offset)) source.fail();
  source.endsEarly = false;  // what a directory's repair looked for
  return tiff;
}

}  // namespace quillbay
