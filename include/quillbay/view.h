#pragma once
#include "quillbay/kx_unknown.h"
#include "quillbay/raster.h"

class QWidget;

namespace quillbay {

/// The host's view; the panel subscribes to it and asks it to redraw. Called on the user-interface thread.
class IKxView : public IKxUnknown {
 public:
  /// Asks for a repaint of everything.
  virtual int Invalidate() = 0;
  /// The window that shows the view, or null.
  virtual QWidget* GetWindow() = 0;
};

/// What a host reads a running scan from: queried from the panel's `IQuillbaySink`.
class IRGetSource : public IKxUnknown {
 public:
  /// The view store's raster with a reference, or null.
  virtual IRStor* GetRaster() = 0;
  /// From raster pixels to document millimetres.
  virtual CRDirectTfm GetTransform() = 0;
  virtual int GetFlags() = 0;
};

}  // namespace quillbay
