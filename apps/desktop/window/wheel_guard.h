#pragma once
#include <QObject>

class QWidget;

namespace desktop {

/// Keeps the wheel from changing a control that is merely under the pointer: it works only in the one with the
/// focus.
class WheelGuard : public QObject {
 public:
  /// Belongs to the control.
  explicit WheelGuard(QWidget* control);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace desktop
