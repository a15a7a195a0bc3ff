#pragma once
#include <cstdint>
#include <string>

#include "platform/file_channel.h"

namespace quillbay {

/// What a page's store shall write.
struct FileOutput {
  std::string path;                ///< the final name; its extension chooses the format
  bool multiPage = false;          ///< a page of a multi-page file
  bool publishAtEnd = true;        ///< multi-page: the batch ends with this page; otherwise its part goes on
  bool mayReplace = false;         ///< the person agreed that a file of this name is replaced
  std::int64_t expectedLines = 0;  ///< 0: unknown
};

/// Makes the channel for a page. Answers why there is none, for a person; empty when `*out` is ready to save.
/// Throws what the channel's format throws.
[[nodiscard]] std::string openPageChannel(IApp* app, const FileOutput& output, KxColorSpace colorSpace,
                                          KxPtr<IKxFileChanel>* out);

/// Saves the page through the interface that fits; what that interface's `Save` answers and throws.
[[nodiscard]] int savePageRaster(IKxFileChanel* channel, bool multiPage, IRStor* raster, IProgress* progress);

/// An error's text with the file's name, where the text does not name it itself.
[[nodiscard]] std::string textWithFile(const std::string& file, const std::string& text);

}  // namespace quillbay
