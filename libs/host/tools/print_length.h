#pragma once
#include <QDoubleSpinBox>

namespace quillbay {

/// A field for a length of the print options: shown in millimetres, and typed in any unit ("1 in").
class PrintLength final : public QDoubleSpinBox {
 public:
  explicit PrintLength(QWidget* parent = nullptr);
  [[nodiscard]] double valueFromText(const QString& text) const override;
  [[nodiscard]] QValidator::State validate(QString& text, int& position) const override;
};

}  // namespace quillbay
