#pragma once
#include <QTranslator>

namespace desktop {

/// Leads the program's own texts, and the toolkit's (the buttons of its message windows), to the panel's
/// translation function: one catalogue serves all of them. What that function leaves as it is goes on to other
/// translators.
class ToolkitTexts final : public QTranslator {
 public:
  using QTranslator::QTranslator;
  QString translate(const char* context, const char* source, const char* disambiguation, int n) const override;
  bool isEmpty() const override { return false; }
};

}  // namespace desktop
