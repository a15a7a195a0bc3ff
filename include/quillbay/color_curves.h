#pragma once
#include "quillbay/color_space.h"
#include "quillbay/export.h"

namespace quillbay {

/// Computes the tone curves of a scan from a user's adjustments: what "SCAN_GAMMA" of a scan request holds.
/// Programs that draw or apply the same curves get the same bytes, on every machine. Any thread; nothing is
/// allocated.
///
/// For each channel: g = balance * 0.01 + gamma + hue * 0.01, at least 0.0001, and the exponent
/// y = ln(g / (g + 1)) / ln(0.5), so that 1 is a straight line and higher is lighter. Levels up to `low` become 0,
/// those from `high` on 255, and those between ((i - low) / (high - low))^y * 255, rounded. With `low` above `high`
/// a channel is 0 below `high` and 255 from it on; with `low` equal to `high` it is 0 up to it and 255 above.
/// Every level then passes through contrast and brightness. Contrast below 0 draws levels towards 127; above 0 it
/// makes a level v of d = 127 * contrast / 100 or less black, one of 255 - d or more white, and spreads what lies
/// between: (100 * v - 127 * contrast) / (100 - contrast). Brightness is added last, in levels. Results are held
/// within 0 to 255.
///
/// @param brightness, contrast  -100 to 100
/// @param hue         -180 to 180; shifts the gamma of all channels
/// @param saturation  -100 or more. A curve for each channel cannot change it: it is checked and has no effect
/// @param redBalance, greenBalance, blueBalance  -100 to 100
/// @param redGamma, greenGamma, blueGamma  any number; 1 changes nothing
/// @param low, high   the black and the white point, a byte for each channel; usually 0 and 255
/// @param table       256 entries, indexed by the input level. `reserved` of an entry stays as it is
/// @returns 1, or 0 when a number is out of its range or `table` is null; the table is then untouched
QUILLBAY_API int CalculateColorCurves(int brightness, int contrast, int hue, int saturation, int redBalance,
                                      int greenBalance, int blueBalance, double redGamma, double greenGamma,
                                      double blueGamma, KXRGBQUAD low, KXRGBQUAD high, KXRGBQUAD* table);

}  // namespace quillbay
