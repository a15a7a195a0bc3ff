#pragma once
#include <QPointer>
#include <QWidget>

class QMessageBox;

namespace quillbay {

/// The box that stands while a batch waits for a document to be loaded. It does not ask the scanner itself: it
/// posts `kPollDocument` to the panel several times a second, and `kWaitCancelled` when the user gives up.
class DocumentWait {
 public:
  explicit DocumentWait(QWidget* panel) : m_panel(panel) {}
  void begin();
  /// Does nothing when there is no box.
  void close();

 private:
  QWidget* m_panel;
  QPointer<QMessageBox> m_box;
};

}  // namespace quillbay
