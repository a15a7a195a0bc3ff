#pragma once
#include <string>

#include "platform/file_channel.h"
#include "platform/page_target.h"

namespace quillbay {

/// Makes the channel for a page. Returns why there is none, for the user; empty when `*out` is ready to save.
/// Throws what the channel's format throws.
[[nodiscard]] std::string openPageChannel(IApp* app, const PageTarget& target, KxColorSpace colorSpace,
                                          KxPtr<IKxFileChanel>* out);

/// What `Save` returns for a page that ends where its format holds no more lines.
inline constexpr int kSavedCut = 2;

/// Saves the page through the interface that fits; what that interface's `Save` returns and throws.
[[nodiscard]] int savePageRaster(IKxFileChanel* channel, bool joinsPart, IRStor* raster, IProgress* progress);

/// An error's text with the file's name, where the text does not name it itself.
[[nodiscard]] std::string textWithFile(const std::string& file, const std::string& text);

}  // namespace quillbay
