#pragma once
#include <QObject>
#include <QString>
#include <map>
#include <optional>

#include "quillbay/geometry.h"

namespace desktop {

class Document;
class LivePage;
class PanelDock;
struct Page;

/// Scans parts of scanned pages again. Knows for the pages of this run of the program where they lie on the bed, as
/// long as they are as they were scanned, or cut out of it. User-interface thread.
class FrameScan : public QObject {
  Q_OBJECT
 public:
  /// All of it outlives this.
  FrameScan(PanelDock* panel, LivePage* live, Document* document, QObject* parent);

  /// Where the page's top left corner lies on the bed, mm.
  [[nodiscard]] std::optional<quillbay::tagRPOINT> cornerOf(const Page& page) const;
  /// The page was cut out of what it was before, at `moved` from its corner then.
  void noteCut(int versionBefore, const Page& page, const quillbay::tagRPOINT& moved);
  /// The panel's resolution; 0 without a panel.
  [[nodiscard]] int resolution() const;
  /// Scans an area of the bed once, to where scans go, at a resolution that the panel keeps for this scan only.
  /// False with the reason in `*why`.
  bool start(const quillbay::tagRRECT& area, int dpi, QString* why);

 private:
  void noteStarted();
  void notePage(int id);
  void restore();

  PanelDock* m_panel;
  Document* m_document;
  std::optional<quillbay::tagRPOINT> m_started;
  std::map<int, quillbay::tagRPOINT> m_corners;  // by the version of a page's raster
  std::optional<int> m_resolutionBefore;         // while a scan at another one runs
};

}  // namespace desktop
