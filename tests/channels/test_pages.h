#pragma once
#include <map>
#include <string>
#include <vector>

#include "platform/file_channel.h"
#include "quillbay/param.h"
#include "quillbay/raster.h"
#include "support/temp_dir.h"

namespace quillbay::test {

/// A folder of its own that goes with the test.
class TempFolder : public TempDir {
 public:
  /// The names of what it holds, sorted, each followed by a space.
  [[nodiscard]] std::string list() const {
    std::string all;
    for (const std::string& name : names()) all += name + " ";
    return all;
  }
};

/// A page in the line format of its colour space, and what a reader must see: bits (1 is black), bytes, or red,
/// green, blue.
struct TestPage {
  KxColorSpace colorSpace = KxColorSpace::Grey;
  std::int32_t width = 0;
  std::uint32_t dpi = 300;
  std::vector<std::vector<std::uint8_t>> lines, seen;
  std::vector<KXRGBQUAD> palette;
  [[nodiscard]] std::int32_t height() const { return static_cast<std::int32_t>(lines.size()); }
};

/// A picture with flat areas, edges, gradients and noise; different for each `seed`.
[[nodiscard]] TestPage makePage(KxColorSpace colorSpace, std::int32_t width, std::int32_t height,
                                unsigned seed = 1);
/// A bitonal page from one bool per pixel.
[[nodiscard]] TestPage bitonalPage(const std::vector<std::vector<bool>>& rows, std::int32_t width);

/// How a page comes to the channel.
enum class Source {
  Stripes,       ///< as stripes in one piece of memory, bitonal ones packed
  LooseStripes,  ///< as stripes that only offer lines
  Growing,       ///< line by line, the height grows while it is read
  Stored,        ///< a raster that holds it
};
[[nodiscard]] KxPtr<IRStor> rasterOf(const TestPage& page, Source source, std::int32_t stripeLines = 7);
/// Ends after `lines` lines because it was abandoned.
[[nodiscard]] KxPtr<IRStor> abandonedRaster(const TestPage& page, std::int32_t lines);

/// Options for one format, as text.
[[nodiscard]] KxPtr<IIOParams> paramsWith(const std::map<std::string, std::string>& options);

/// Saves one page through a new channel and ends it; returns what `Save` answered. A page that was not saved is
/// abandoned.
enum class End { Commit, KeepPart, Abandon };
int savePaged(const std::string& file, IRStor* raster, End end, IIOParams* params = nullptr);
int saveSingle(const std::string& file, IRStor* raster, IIOParams* params = nullptr, bool mayReplace = false,
               std::int64_t expectedLines = 0);

/// A PDF of one page, `width` by `height` units, with an image /A in it.
[[nodiscard]] std::string documentWith(const std::string& imageWords, const std::string& bytes, int width,
                                       int height, const std::string& drawing);

}  // namespace quillbay::test
