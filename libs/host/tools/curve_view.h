#pragma once
#include <QWidget>
#include <functional>
#include <optional>

#include "host/tools/curve_set.h"
#include "host/tools/level_counts.h"

namespace quillbay {

/// Shows a curve as it will be applied, over the levels of the picture, and lets its points be moved.
/// Mouse: a press on a point takes it, elsewhere adds one; the right button removes one; Esc takes a drag back.
/// Keys: arrows move the chosen point (with Shift by 10 levels), Page Up and Page Down choose another, Insert adds
/// one behind it, Delete removes it.
class CurveView final : public QWidget {
 public:
  explicit CurveView(QWidget* parent);

  void setCurves(const CurveSet& curves);
  [[nodiscard]] const CurveSet& curves() const noexcept { return m_curves; }
  void setChannel(CurveChannel channel);
  [[nodiscard]] CurveChannel channel() const noexcept { return m_channel; }
  /// Nothing: there is no picture.
  void setLevels(std::optional<PictureLevels> levels);
  /// The chosen point; nothing before one was chosen.
  [[nodiscard]] std::optional<CurvePoint> chosen() const;
  /// Moves the chosen point as far as it goes.
  void moveChosen(CurvePoint to);

  std::function<void()> onChanged;  ///< the user moved, added or removed a point
  std::function<void()> onChosen;   ///< another point is the chosen one, or it stands elsewhere

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;
  [[nodiscard]] bool hasHeightForWidth() const override { return true; }
  [[nodiscard]] int heightForWidth(int width) const override;
  /// Where a point is drawn, and the levels at a place.
  [[nodiscard]] QPointF placeOf(CurvePoint point) const;
  [[nodiscard]] CurvePoint pointAt(const QPointF& place) const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool event(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  [[nodiscard]] QRectF plot() const;
  [[nodiscard]] ToneCurve curve() const { return m_curves.curve(m_channel); }
  [[nodiscard]] std::optional<std::size_t> pointUnder(const QPointF& place) const;
  void take(ToneCurve curve, std::optional<std::size_t> chosen);
  void choose(std::optional<std::size_t> index);
  void chooseNext(int step);
  void addBehind();
  void remove(std::size_t index);
  [[nodiscard]] bool moveByKey(int key, int step);
  void paintLevels(QPainter& painter) const;
  void paintCurve(QPainter& painter) const;

  CurveSet m_curves;
  CurveChannel m_channel = CurveChannel::Common;
  std::optional<PictureLevels> m_levels;
  std::optional<std::size_t> m_chosen;
  std::optional<CurveSet> m_before;  // of a drag
};

}  // namespace quillbay
