#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/scanner.h"

namespace quillbay {

/// The configuration of a simulated scanner, from its device string: "sim:key=value,key=value,...".
struct SimConfig {
  enum class Background : int { Dark, Light, White, Grey, Dirty };
  enum class Drawing : int { Plan, Map, Mix };

  double width = 900;        ///< of the bed, mm
  double length = 0;         ///< longest scan, mm; 0: no limit
  double paperWidth = 841;   ///< mm
  double paperLength = 594;  ///< mm
  bool placed = false;       ///< `x`, `y` were given; otherwise the paper lies in the middle of the bed, at the top
  double x = 0, y = 0;       ///< the paper's top left corner on the bed, mm
  double skew = 0;           ///< degrees clockwise about that corner
  Background background = Background::Dark;
  bool flatbed = false;    ///< every page is placed by hand; otherwise a feeder brings them
  std::int64_t count = 0;  ///< pages in the feeder; 0: endless
  double speed = 0;        ///< lines per second; 0: as fast as possible
  std::int64_t seed = 1;
  Drawing drawing = Drawing::Mix;
  std::int64_t jamAfter = 0;  ///< lines; 0: never
  UnitFaultCode fault = UnitFaultCode::None;
  bool unknownLength = false;  ///< the device does not announce the count of lines
  bool findsEnd = true;        ///< the device finds the end of the document
  int centring = 0;            ///< as `IQuillbayUnit::GetCentring`
  int depth = 8;               ///< bits a sample, 8 or 16
  bool colour = true;
  double imageDpi = 300;  ///< of image files that do not tell theirs
  std::vector<std::string> images;
};

/// Whether a device string names a simulated scanner.
[[nodiscard]] bool isSimDevice(std::string_view deviceString) noexcept;
/// Reads a device string over the defaults. Returns false with the reason in `*why`: one line that names the key or
/// value and lists what is allowed. `*out` is then as it was.
[[nodiscard]] bool parseSimDevice(std::string_view deviceString, SimConfig* out, std::string* why);
/// Sets one key. Returns what `parseSimDevice` returns.
[[nodiscard]] bool setSimKey(std::string_view key, std::string_view value, SimConfig* out, std::string* why);
/// All keys as options with their current values.
[[nodiscard]] std::vector<UnitOption> simOptions(const SimConfig& config);

}  // namespace quillbay
