#pragma once
#include <QScrollArea>

namespace quillbay {

/// Scrolls a column up and down where there is too little room for it. It is never narrower than the column and its
/// scroll bar, so that nothing is cut off at the side.
class ColumnScroll final : public QScrollArea {
  Q_OBJECT
 public:
  explicit ColumnScroll(QWidget* parent = nullptr);
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  [[nodiscard]] int barWidth() const;
};

}  // namespace quillbay
