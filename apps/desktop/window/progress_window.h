#pragma once
#include <QElapsedTimer>
#include <QProgressDialog>

#include "quillbay/raster.h"

namespace desktop {

/// Shows how far a long step is, once it takes noticeable time, and lets the user cancel. While it is shown the
/// window behind it is painted, and takes no input. User-interface thread.
class ProgressWindow final : public quillbay::CKxUnknownImpl<quillbay::IProgress> {
 public:
  /// Positions run from 0 to `end`; 0: no end is known.
  ProgressWindow(const QString& text, int end, QWidget* window);
  void SetText(const char* text) override;
  void Step() override;
  int SetPosition(int position) override;
  void Reset() override { m_position = 0; }
  int IsCancelled() override { return m_dialog.wasCanceled() ? 1 : 0; }

 private:
  const QString m_text;
  QProgressDialog m_dialog;
  QElapsedTimer m_refreshed;
  int m_position = 0;
};

}  // namespace desktop
