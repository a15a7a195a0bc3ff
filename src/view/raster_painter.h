#pragma once
#include <cstdint>
#include <vector>

#include "quillbay/view.h"
#include "view/band_drawer.h"
#include "view/level_maker.h"

namespace quillbay {

/// The painter of `new_RasterPainter`. A paint draws the part of each raster that lies in its clip into a picture
/// of device pixels, in bands on several threads, and puts that on the view.
class CRasterPainter final : public CKxUnknownImpl<IKxRasterPainter> {
 public:
  explicit CRasterPainter(IKxViewPort* view);
  ~CRasterPainter() override;

  int Add(IRStor* raster, const tagRPOINT& topLeft, double dpi) override;
  int Remove(IRStor* raster) override;
  int Move(IRStor* raster, const tagRPOINT& topLeft) override;
  int Clear() override;
  int GetArea(IRStor* raster, tagRRECT* out) override;
  int Refresh() override;

 private:
  class Reactor final : public TSinkImpl<IKxViewPaintReactor, CRasterPainter> {
   public:
    using TSinkImpl::TSinkImpl;
    int ActiveChanged(IKxViewPort*, int) override { return 1; }
    int Paint(IKxViewPort*, IKxViewDC* dc, int) override;
    int Painted(IKxViewPort*) override { return 1; }
    int Closing(IKxViewPort*) override;
    int GetArea(IKxViewPort*, tagRRECT* out) override { return owner()->extents(out); }
  };
  struct Item {
    KxPtr<IRStor> raster;
    KxPtr<IRStorDraw> drawing;
    KxPtr<IRStorLevels> levels;  // null where there can be none
    tagRPOINT topLeft;
    double mmPerPixel = 0;
    std::int32_t knownHeight = 0;   // asked to be painted up to here
    std::int32_t coarseFrom = -1;   // of these, lines from here on lacked their levels; -1: none did
    std::int32_t levelsHeight = 0;  // levels were complete up to here
    std::int32_t levelsFrom = 0;    // where the levels began that were made last
    [[nodiscard]] tagRRECT area(std::int32_t firstLine, std::int32_t endLine) const;
    [[nodiscard]] tagRRECT area() const { return area(0, raster->GetHeight()); }
  };

  [[nodiscard]] Item* find(IRStor* raster);
  int extents(tagRRECT* out);
  void invalidate(const tagRRECT& area);
  void paint(IKxViewDC& dc);
  void paintItem(IKxViewDC& dc, const Item& item);
  void makeLevels();
  void levelsMade(IRStor* raster, std::int32_t lines);

  KxPtr<IKxViewPort> m_view;
  Reactor m_reactor{this};
  std::vector<Item> m_items;
  std::vector<std::uint32_t> m_pixels;  // kept from paint to paint
  BandDrawer m_bands;
  LevelMaker m_levels;
};

}  // namespace quillbay
