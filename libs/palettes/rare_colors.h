#pragma once
#include "palettes/color_clusters.h"

namespace quillbay {

/// Gives colours that few pixels have, but that no centre is like, centres of their own: a thin red line among
/// brown ones counts for nothing in a sum of squares, and for much on a map.
///
/// Such a colour is at least 48 levels from its centre, and at least four times as far as pixels are on average;
/// one of count * 500 pixels lies within 24 levels of it. The two clusters that are merged least expensively make
/// room for it, as long as the error grows by no more than 4 % in all (0.17 dB), nor by more than 4 a pixel: of
/// photographs, whose clusters are wide, exchanges cost more than they are worth.
void keepRareColors(ColorClusters& clusters);

}  // namespace quillbay
