#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "quillbay/color_space.h"
#include "quillbay/param.h"

/// Lookup files of classified colours: a palette, and for every colour the entry that it becomes.
///
/// | lines, ended by CR LF or LF | what it holds                                                          |
/// |-----------------------------|------------------------------------------------------------------------|
/// | 1                           | "MORVANE-LUT", with anything around it                                 |
/// | 2                           | "0402"; not read                                                       |
/// | 3                           | n, the number of palette lines; up to 256 are read                     |
/// | n lines                     | "RED GREEN BLUE", the numbers separated by single blanks               |
/// | 1 line                      | "0"; not read                                                          |
/// | 32,768 bytes                | the palette entry of each colour code: red5 << 10 | green5 << 5 | blue5 |
namespace quillbay {

inline constexpr std::size_t kLutEntries = 256;
inline constexpr std::size_t kLutPaletteBytes = kLutEntries * 4;
inline constexpr std::size_t kLutClasses = 32768;
/// `key::Lut`: the palette's entries in the byte order blue, green, red, 0, then the classes.
inline constexpr std::size_t kLutBytes = kLutPaletteBytes + kLutClasses;

/// What `key::Lut` holds of a file's bytes; nothing when they are none of a lookup file: another first line, no
/// number of palette lines, or fewer than 32,768 classes.
/// A line is cut after 512 bytes, and its rest is the next line; a first line that is cut and holds a carriage
/// return is of a file whose lines end in that alone, which is none. A number is what a line's piece starts with
/// (blanks and tabs, a sign, digits), held to 32 bits; 0 without digits. Of palette numbers the low byte counts,
/// and a number of palette lines below 0 counts as 256. Bytes after the classes are not read.
[[nodiscard]] std::optional<CKxBlob> parseLutFile(std::span<const std::uint8_t> bytes);

/// The bytes of the file for a palette of 256 entries, of which the first `count` (0 to 256) are classes: each
/// colour code becomes the entry that `CPalletteCube` of 8 divisions finds for the middle of its range.
[[nodiscard]] CKxBlob makeLutFile(std::span<const KXRGBQUAD, kLutEntries> palette, int count);

/// The colours of `key::Lut` that a class has, in the order of their entries.
[[nodiscard]] std::vector<KXRGBQUAD> colorsOfLut(const CKxBlob& lut);

/// Reads a lookup file into `key::Lut`. Returns 1, or 0 with the reason (a sentence) in `*why`, which may be null:
/// the file cannot be read, is no regular file, or is no lookup file. It reads as far as a lookup file can reach.
int ReadLutFile(const std::string& path, IParam* params, std::string* why = nullptr);

/// The palette page, as the writer of its lookup file sees it. User-interface thread.
class ILutPage {
 public:
  virtual ~ILutPage() = default;
  /// The host's folder "ToolTemplatesDir"; empty when it has none.
  [[nodiscard]] virtual std::string ToolTemplatesDir() = 0;
  /// From now on colours are classified by this file.
  virtual void ClassifyBy(const std::string& lutFile) = 0;
};

/// Writes "auto.lut" for a palette (256 entries, of which `count` are classes) into the page's folder, which is
/// made when it is missing, and hands its path to the page. A reader sees the old file or the whole new one.
/// Returns 1 and stores the path in `*file`; or 0 with the reason (a sentence) in `*why`: the page keeps its own
/// file then. `why` and `file` may be null.
int WriteAutoLut(ILutPage& page, int count, const KXRGBQUAD* palette, std::string* why = nullptr,
                 std::string* file = nullptr);

}  // namespace quillbay
