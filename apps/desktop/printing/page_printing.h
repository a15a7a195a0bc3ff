#pragma once
#include <QString>
#include <vector>

#include "document/page.h"
#include "quillbay/print_host.h"
#include "window/side_work.h"

namespace desktop {

/// Prints pages, each as a job of its own, while a window shows how far it is and can cancel.
class PagePrinting {
 public:
  /// `window` is painted meanwhile and takes no input.
  PagePrinting(quillbay::IApp* app, QWidget* window) : m_app(app), m_window(window) {}

  /// Prints one page; `which` and `count` are for the progress. False when it was cancelled or failed: `why` is
  /// empty for the first.
  [[nodiscard]] bool print(const Page& page, int which, int count, quillbay::IParam* options, QString* why);
  /// "Job 12 on plotter: turned by 90°", of the page that was printed last.
  [[nodiscard]] const QString& sent() const { return m_sent; }

 private:
  [[nodiscard]] quillbay::KxPtr<quillbay::IPrintingJob> start(const Page& page, quillbay::IParam* options,
                                                              QString* why) const;

  quillbay::IApp* m_app;
  QWidget* m_window;
  QString m_sent;
};

}  // namespace desktop
