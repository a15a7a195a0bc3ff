#pragma once
#include <QDockWidget>
#include <QPointer>
#include <memory>
#include <optional>

#include "quillbay/control.h"
#include "quillbay/preview_control.h"
#include "quillbay/quillbay.h"

class QLabel;

namespace desktop {

class JobBar;
class PanelListener;
class ScannerOffer;

/// The dock that holds the scanning panel; one panel at a time, of one mode. While no scanner is known it searches
/// and offers what it finds; without the known one it says why, and offers to choose another one.
class PanelDock : public QDockWidget {
  Q_OBJECT
 public:
  PanelDock(quillbay::IApp* app, quillbay::IKxView* view, QWidget* parent);
  ~PanelDock() override;

  /// Closes the open panel and opens one of this mode. False when no scanner could be opened.
  bool open(quillbay::eTarnwellMode mode);
  /// Closes the panel: stops its scan, saves its settings.
  void closePanel();
  /// Null without a panel.
  [[nodiscard]] quillbay::IQuillbayControl* control() const { return m_control.get(); }
  /// Null without a panel.
  [[nodiscard]] quillbay::KxPtr<quillbay::IPreviewControl> preview() const;
  [[nodiscard]] bool isBusy() const;
  /// Whether pages that are scanned to files have a raster as well, from the next page on; asks the open panel.
  void keepRasters(bool keep);
  /// The raster that the running scan fills for the view; null when there is none.
  [[nodiscard]] quillbay::KxPtr<quillbay::IRStor> scanRaster() const;
  /// Where the top left corner of the page that is starting (`pageStarted`) lies on the scanner's bed, mm. Nothing
  /// when its lines are not those of the bed: it is straightened, or a piece of a longer one.
  [[nodiscard]] std::optional<quillbay::tagRPOINT> startedCorner() const;
  /// The panel's window; null without one.
  [[nodiscard]] QWidget* panel() const { return m_panel; }
  /// The row above the panel.
  [[nodiscard]] JobBar& bar() const { return *m_bar; }
  /// Shows, in the panel's place, that the scanner is not open: `reason` may be empty.
  void showMissing(const QString& reason);
  /// What stands in the panel's place while no scanner is known; else null.
  [[nodiscard]] ScannerOffer* offer() const;
  /// Gives up the offer's search while somebody else uses the scanner manager; `resumeOffer` starts it again.
  void pauseOffer();
  void resumeOffer();
  /// Says, in the place of the panel that could not be opened, that its scanner is being looked for.
  void showLookingFor(const QString& name);

 signals:
  void started(int page, const QString& file);
  /// The same in full, before `started`.
  void pageStarted(const quillbay::ScanStartInfo& info);
  void linesArrived(qint64 lines);
  void pageFinished(int page, const QString& file);
  /// The same in full, before `pageFinished`.
  void pageDone(const quillbay::PageInfo& page);
  /// A multi-page file got its final name.
  void published(const QString& file);
  /// `cause` is a `quillbay::EndCause`.
  void ended(int cause, const QString& fault, int pages);
  /// A preview has started or ended; `ended` follows scans only.
  /// Before `previewStarted`: it is that of the part that the view shows.
  void areaPreviewStarted();
  void previewStarted();
  void previewEnded(int cause, const QString& fault);
  /// The units of lengths were changed in the panel.
  void unitsChanged();
  /// The scanner was set up in the panel: it may offer other sources now.
  void scannerChanged();
  void chooseScannerAsked();
  /// One of those that were found.
  void scannerChosen(const QString& device);
  void simulatedScannerAsked();

 private:
  friend class PanelListener;
  void showTrouble();
  void showOffer();
  void setContent(QWidget* content);

  quillbay::IApp* m_app;
  quillbay::IKxView* m_view;
  JobBar* m_bar;
  QWidget* m_content = nullptr;  // below the row: the panel, or what stands in its place
  QWidget* m_panel = nullptr;
  QPointer<QLabel> m_trouble;      // in the panel's place
  QPointer<ScannerOffer> m_offer;  // likewise
  bool m_isPreviewing = false;
  quillbay::KxPtr<quillbay::IQuillbaySink> m_sink;
  quillbay::KxPtr<quillbay::IQuillbayControl> m_control;
  std::unique_ptr<PanelListener> m_listener;
};

}  // namespace desktop
