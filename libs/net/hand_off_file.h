#pragma once
#include <string>

namespace quillbay {

/// A value as private profiles keep it: a reader takes blanks and a pair of quotation marks off its ends, so a
/// value that has them gets a pair more. A value of several lines has no form there: throws CXException that names
/// it.
[[nodiscard]] std::string profileValue(const std::string& value);

/// The hand-off file of an image for a client, UTF-8 without a mark, lines ended as private profiles end them:
///
///     [Image]                              the image with its folder
///     Filename=/hot/scan0007.tif
///     [Destination]                        without a client, the file ends here
///     Client=\\SCANPC1
///     Image=scan0007.tif
///     [Producer]
///     Signature=Relayvox
[[nodiscard]] std::string handOffText(const std::string& image, const std::string& client);

}  // namespace quillbay
