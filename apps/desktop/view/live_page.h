#pragma once
#include <QElapsedTimer>
#include <QImage>
#include <QObject>
#include <QSizeF>
#include <QTimer>
#include <deque>
#include <functional>

#include "document/document.h"
#include "document/page_image.h"
#include "quillbay/control.h"

namespace desktop {

class ProgramSettings;

/// The page that is being scanned, as far as it has come. A page that went into a file joins the document when it
/// is finished, with the picture that was shown of it; of those the last ones are kept (settings "KeepScannedPages"
/// and "KeepScannedMiB", at least one page), so that a long batch does not fill the disk. User-interface thread.
class LivePage : public QObject {
  Q_OBJECT
 public:
  /// Returns the raster of the running scan; null as long as there is none.
  using Source = std::function<quillbay::KxPtr<quillbay::IRStor>()>;
  /// Whether pages that are scanned to files stay in the document.
  [[nodiscard]] static bool keepsScanned(const ProgramSettings& settings);
  LivePage(Source source, Document* document, const ProgramSettings* settings, QObject* parent);

  /// A page starts; the one before it is over in any case.
  void begin(const quillbay::ScanStartInfo& info);
  /// The running page is page `id` of the document from now on.
  void become(int id);
  /// A page is finished. One that is in a file and did not become a page yet does so now.
  void finish(const quillbay::PageInfo& page);
  /// The running page becomes one of the document's, in no file, as far as it has come. Returns its name; empty
  /// when there is none.
  QString rescue(const QString& name);
  /// No page runs any more: what did not become a page vanishes.
  void end();
  /// Looks what has come since the last time; happens by itself at most 25 times a second.
  void look();

  [[nodiscard]] bool isRunning() const { return m_running; }
  /// Whether lines of the page come here. A page that goes to a file and is not kept is shown by the panel.
  [[nodiscard]] bool hasLines() const { return m_info.file.empty() || keepsScanned(*m_settings); }
  /// Number of the page within its run, from 1.
  [[nodiscard]] int number() const { return m_info.page; }
  /// The file that the page goes to, or the last one went to; empty without one.
  [[nodiscard]] QString file() const { return QString::fromStdString(m_info.file); }
  /// Null until the first lines have come.
  [[nodiscard]] const quillbay::KxPtr<quillbay::IRStor>& raster() const { return m_raster; }
  [[nodiscard]] double dpi() const;
  /// The room that the page is expected to take, at least as much as it takes already. For a page of unknown length
  /// it grows by steps (`resized`).
  [[nodiscard]] QSizeF sizeMm() const;
  /// How much of that has come, from the top.
  [[nodiscard]] double arrivedMm() const;
  /// What has come, in small; null at first. It lags behind.
  [[nodiscard]] const QImage& overview() const { return m_overview; }

 signals:
  void began();
  void resized();
  void grew();
  void overviewChanged();
  /// The page has become page `id` of the document; `raster` is the picture that was shown of it, null for none.
  void became(int id, const quillbay::KxPtr<quillbay::IRStor>& raster);
  void vanished();
  /// For the log.
  void note(const QString& text);

 private:
  void stop();
  void takeOverview(const QImage& image);
  bool keepPage(const quillbay::PageInfo& page, const QString& file, bool continues);
  void keepLast();
  [[nodiscard]] bool isWhole(const quillbay::PageInfo& page) const;
  [[nodiscard]] std::int64_t width() const;

  const Source m_source;
  Document* m_document;
  const ProgramSettings* m_settings;
  PageImages m_images;
  QTimer m_timer;
  quillbay::ScanStartInfo m_info;
  bool m_running = false;
  quillbay::KxPtr<quillbay::IRStor> m_raster;
  std::int64_t m_lines = 0, m_room = 0;  // that have come; that it takes in the view
  QImage m_overview;
  QElapsedTimer m_overviewAge;
  bool m_overviewAsked = false;
  std::deque<int> m_kept;  // pages of files that were scanned, the oldest first
  QString m_lastFile;
  int m_pagesOfFile = 0;
};

}  // namespace desktop
