#pragma once
#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Commands of a panel's preview.
enum class PreviewCommand : int {
  Prescan = 107,             ///< previews the bed
  AreaPrescan = 32813,       ///< previews the part that the host's view shows
  NewArea = 32795,           ///< the next frame that is drawn is the view's part; a toggle
  NewFragment = 32805,       ///< the next frame that is drawn is the fragment; a toggle
  AreaFromFragment = 32799,  ///< the fragment becomes the scan area, and is previewed
  ScanFragment = 32810,      ///< scans the fragment, without one what the preview frame shows
  DisableUpdating = 32816,   ///< changes start no preview any more; a toggle
  Dock = 32796,              ///< puts the preview that floats into the panel
  Float = 32797,             ///< shows the preview in a window of its own
  Show = 32851,              ///< brings the preview to the front
};

/// A panel's preview; queried from its `IQuillbaySink`. User-interface thread only. Operations return 0 where the
/// panel has no preview.
class IPreviewControl : public IKxUnknown {
 public:
  /// Gives a command as if its button had been pressed. Returns 1, or 0 when it cannot be given now.
  virtual int PreviewCommand(quillbay::PreviewCommand command) = 0;
  virtual int IsPreviewCommandEnabled(quillbay::PreviewCommand command) = 0;
  /// Non-zero for a toggle that is on.
  virtual int IsPreviewCommandChecked(quillbay::PreviewCommand command) = 0;
};

}  // namespace quillbay
