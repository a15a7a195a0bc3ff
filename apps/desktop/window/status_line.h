#pragma once
#include <QObject>
#include <QPointF>
#include <string>

#include "document/document.h"
#include "quillbay/app.h"

class QLabel;
class QStatusBar;

namespace desktop {

/// The fields at the right of the status bar: pointer, size and resolution of the page, zoom; lengths in the unit
/// that the user chose.
class StatusLine : public QObject {
  Q_OBJECT
 public:
  /// `app` must outlive it.
  StatusLine(quillbay::IApp* app, QStatusBar* bar);
  /// "mm" or "inch".
  void setUnit(const std::string& name);
  [[nodiscard]] const quillbay::KxPtr<quillbay::ILinearUnit>& unit() const { return m_unit; }
  void showPointer(const QPointF& mm, bool inside);
  /// Null: no page.
  void showPage(const Page* page);
  void showZoom(double zoom);
  [[nodiscard]] QString size() const;
  [[nodiscard]] QString pointer() const;

 private:
  QLabel* addField(QStatusBar* bar, const QString& name, const QString& widest);
  /// "12.34 × 56.78 mm"
  [[nodiscard]] QString pair(double x, double y, const QString& between) const;

  quillbay::KxPtr<quillbay::IStyleManager> m_styles;
  quillbay::KxPtr<quillbay::ILinearUnit> m_unit;
  QLabel *m_pointer, *m_size, *m_resolution, *m_zoom;
};

}  // namespace desktop
