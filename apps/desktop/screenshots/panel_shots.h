#pragma once
#include "screenshots/stage.h"

namespace desktop {

/// Pictures of the panel's pages, each with the settings that it shows best; they are put back. Return false when a
/// picture could not be taken.

/// The preview with both frames: a tab, a column in inches, a window.
bool shootPreview(Stage& stage);
/// The pages of a black-and-white mode.
bool shootPages(Stage& stage);
/// The colour page over the preview: sliders, curves, and the points of a scanner that sets them itself.
bool shootColours(Stage& stage);
/// The palette page with colours that were computed from the document.
bool shootPalette(Stage& stage);
/// A sheet that was found on a bed of its own; another scanner is used afterwards.
bool shootFound(Stage& stage);

}  // namespace desktop
