#pragma once
#include <memory>

#include "control/panel_parts.h"
#include "control/scan_router.h"

namespace quillbay {

/// The result of a preparation.
struct Preparation {
  bool isReady = false;
  EndCause cause = EndCause::Refused;  ///< when it is not
  UnitFault fault;
  Prepared page;
  KxPtr<IParam> request;
  std::shared_ptr<const ScanPlan> plan;
};

/// All steps before the document moves: the host frees its rasters, the destination prepares a file, the pages give
/// their settings, area and palette are found, a document is loaded. Each step may refuse (it tells the user why),
/// show messages and run event loops. User-interface thread only.
class PagePreparation {
 public:
  /// `seen`: whether a view shows pages and pictures of them.
  PagePreparation(PanelParts& parts, bool seen) : m_parts(parts), m_seen(seen) {}

  [[nodiscard]] Preparation page();
  /// The preview of the whole bed.
  [[nodiscard]] Preparation prescan();
  /// The preview of `area`, the part that the host's view shows.
  [[nodiscard]] Preparation areaPrescan(const tagRRECT& area);

  /// Looks for the area as a step of a run, or for a page of the panel. `found` may be null. False: not found, and
  /// the user does not want to go on.
  [[nodiscard]] bool detect(IParam* request, int mask, bool* found);
  /// The settings of the current mode's pages; null when a page found its own not acceptable.
  [[nodiscard]] KxPtr<IParam> collectRequest() const;

 private:
  [[nodiscard]] KxPtr<ISStripStor> makeViewStore() const;
  [[nodiscard]] bool arePagesAcceptable() const;
  [[nodiscard]] bool canFindArea() const;
  [[nodiscard]] bool makeRoom(Preparation& out);
  [[nodiscard]] bool findArea(Preparation& out);
  [[nodiscard]] bool keepsFound() const;
  void noteFound() const;
  [[nodiscard]] bool detectFor(Preparation& out);
  [[nodiscard]] bool findPalette(Preparation& out);
  [[nodiscard]] bool checkMedia(Preparation& out);
  void putRectangle(Preparation& out, ScanPlan& plan);
  [[nodiscard]] bool fitsFormat(Preparation& out, const ScanPlan& plan) const;
  void noteWidening(double width) const;
  void finishPreview(Preparation& out, RunKind kind, const tagRRECT& area, int dpi);
  void takeSettings(ScanPlan& plan) const;

  PanelParts& m_parts;
  const bool m_seen;
};

}  // namespace quillbay
