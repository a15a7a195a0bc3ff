#pragma once
#include <QString>
#include <string>
#include <vector>

class QFont;
class QPainter;
class QRectF;

namespace quillbay {

/// A line of the settings summary: name and value, or a text of its own without a value.
struct SummaryLine {
  QString name, value;
  bool operator==(const SummaryLine&) const = default;
};
/// The lines of a summary: they end in carriage returns (line feeds are skipped), the first tab parts name and
/// value. Empty lines are left out.
[[nodiscard]] std::vector<SummaryLine> summaryLines(const std::string& summary);

/// Writes a title into the top of `room`, smaller where it is too wide, and with dots where that does not help.
/// Answers its height.
double paintTitle(QPainter& painter, const QRectF& room, const QFont& font, const std::string& title);

/// Writes the summary in two columns, its lines wrapped. The text becomes smaller where `room` is too low, down to
/// half of the font's size; lines that do not fit even then are left out, with dots in their place.
void paintSummary(QPainter& painter, const QRectF& room, const QFont& font, const std::string& summary);

}  // namespace quillbay
