#pragma once
#include "quillbay/control.h"
#include "quillbay/view.h"

namespace quillbay {

/// The page that a panel scans, in a view port: it grows while lines arrive, and stays until the next page begins.
/// As long as the view shows all of it, it goes on showing all of it; a person who zoomed in is left where they
/// are. User-interface thread only.
class ScanPicture {
 public:
  explicit ScanPicture(IKxViewPort* port);

  /// A page begins: what was shown goes, and the view shows the place that the page will take.
  void begin(const ScanStartInfo& page);
  /// Lines arrived in `raster`, which may be null and is held until the next page.
  void grow(IRStor* raster);
  /// Nothing is shown any more: the panel may show a preview.
  void clear();
  /// The page is over.
  void end();
  /// One pixel of the page is one pixel of the screen.
  void showPixels();

 private:
  /// Draws a frame around the page's place, or a hint where there is none, and says what the view's extents are.
  class Reactor final : public TSinkImpl<IKxViewPaintReactor, ScanPicture> {
   public:
    using TSinkImpl::TSinkImpl;
    int ActiveChanged(IKxViewPort*, int) override { return 1; }
    int Paint(IKxViewPort*, IKxViewDC* dc, int) override;
    int Painted(IKxViewPort*) override { return 1; }
    int Closing(IKxViewPort*) override { return 1; }
    int GetArea(IKxViewPort*, tagRRECT* out) override;
  };

  void setPlace(const tagRRECT& place, bool show);
  [[nodiscard]] bool showsAll() const;
  void paint(IKxViewDC& dc) const;

  KxPtr<IKxViewPort> m_port;
  KxPtr<IKxRasterPainter> m_painter;
  Reactor m_reactor{this};
  KxPtr<IRStor> m_raster;  // what is shown, once a line of it is there
  tagRRECT m_place{};      // of the page, in document millimetres; empty before the first one
  double m_dpi = 0;
};

}  // namespace quillbay
