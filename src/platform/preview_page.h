#pragma once
#include "quillbay/geometry.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// Shows the whole-bed prescan and lets areas be drawn on it. The controller owns it and decides where it stands:
/// in the panel, or in a window of its own. User-interface thread only.
class IPreviewPage {
 public:
  virtual ~IPreviewPage() = default;
  /// Adds a prescan's stripe to the preview store and shows it.
  virtual void AddStripe(IScanBuffer* stripe) = 0;
  /// The preview store's picture covers `area` of the bed, in millimetres.
  virtual void PlaceRaster(const tagRRECT& area) = 0;
  /// That area.
  [[nodiscard]] virtual tagRRECT GetRasterPlace() const = 0;
  /// Fits the picture into the page, and lets the commands follow the state of the panel.
  virtual void Refresh() = 0;
  /// 0: while something runs, nothing can be drawn.
  virtual void Enable(int enable) = 0;
  /// 1: the page is about to be put into the panel; it keeps where its window stood. 0: it has become a window; it
  /// shows itself where that stood before. The page shows the commands that it then has.
  virtual void SetDocked(int docked) = 0;
  /// The panel is being closed: a window of the page's is hidden, and where it stood is kept.
  virtual void Close() = 0;
  /// A command of the page, as its button gives it. Returns 1, or 0 when it cannot be given now.
  virtual int Command(int id) = 0;
  virtual int IsCommandEnabled(int id) = 0;
  virtual int IsCommandChecked(int id) = 0;
  virtual HWND GetHwnd() = 0;
};

}  // namespace quillbay
