#include "preview/info_text.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>
#include <QTextOption>
#include <algorithm>

namespace quillbay {

namespace {

constexpr double kSmallest = 0.5, kFontStep = 0.1;  // of the font's size
constexpr double kMostNames = 0.45;                 // of the width, for the names' column
constexpr double kColumnGap = 0.6;                  // between the columns, of the font's height
constexpr int kLeastPixels = 9;                     // nobody reads less
constexpr double kSlack = 0.5;                      // of a pixel: heights are sums of fractions

QFont scaled(const QFont& font, double by) {
  QFont out = font;
  out.setPixelSize(std::max(std::min(kLeastPixels, font.pixelSize()), qRound(font.pixelSize() * by)));
  return out;
}

/// A text broken into lines of a width.
class Block {
 public:
  Block(const QString& text, const QFont& font, double width) : m_layout(text, font) {
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_layout.setTextOption(option);
    m_layout.beginLayout();
    for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine()) {
      line.setLineWidth(std::max(width, 1.0));
      line.setPosition({0, m_height});
      m_height += line.height();
    }
    m_layout.endLayout();
  }
  [[nodiscard]] double height() const { return m_height; }
  /// Draws the lines that fit whole into `most`. Answers their height.
  double draw(QPainter& painter, const QPointF& at, double most) const {
    double height = 0;
    for (int i = 0; i < m_layout.lineCount(); ++i) {
      const QTextLine line = m_layout.lineAt(i);
      if (line.y() + line.height() > most) break;
      line.draw(&painter, at);
      height = line.y() + line.height();
    }
    return height;
  }

 private:
  QTextLayout m_layout;
  double m_height = 0;
};

double namesWidth(const std::vector<SummaryLine>& lines, const QFontMetricsF& metrics, double most) {
  double width = 0;
  for (const SummaryLine& line : lines) {
    if (!line.value.isEmpty()) width = std::max(width, metrics.horizontalAdvance(line.name));
  }
  return std::min(width + kColumnGap * metrics.height(), most);
}

/// Goes through the lines with the height that each takes. `draw` gets its top, and answers false to end.
template <class Draw>
double layOut(const std::vector<SummaryLine>& lines, const QFont& font, double width, Draw&& draw) {
  const QFontMetricsF metrics(font);
  const double names = namesWidth(lines, metrics, width * kMostNames);
  double y = 0;
  for (const SummaryLine& line : lines) {
    const bool hasValue = !line.value.isEmpty();
    const Block name(line.name, font, hasValue ? names : width), value(line.value, font, width - names);
    const double height = std::max(name.height(), hasValue ? value.height() : 0);
    if (!draw(y, height, name, hasValue ? &value : nullptr, names)) return y;
    y += height;
  }
  return y;
}

double heightOf(const std::vector<SummaryLine>& lines, const QFont& font, double width) {
  return layOut(lines, font, width, [](double, double, const Block&, const Block*, double) { return true; });
}

}  // namespace

std::vector<SummaryLine> summaryLines(const std::string& summary) {
  std::vector<SummaryLine> lines;
  const QString text = QString::fromStdString(summary).remove('\n');
  for (const QString& line : text.split('\r', Qt::SkipEmptyParts)) {
    const qsizetype tab = line.indexOf('\t');
    const QString name = line.left(tab < 0 ? line.size() : tab).trimmed();
    const QString value = tab < 0 ? QString() : line.mid(tab + 1).replace('\t', ' ').trimmed();
    if (!name.isEmpty() || !value.isEmpty()) lines.push_back({name, value});
  }
  return lines;
}

double paintTitle(QPainter& painter, const QRectF& room, const QFont& font, const std::string& title) {
  const QString text = QString::fromStdString(title);
  const double most = std::max(room.height() / 3, 1.0);  // the summary wants room, too
  QFont used = font;
  for (double by = 1; by > kSmallest - kFontStep / 2; by -= kFontStep) {
    used = scaled(font, by);
    const QFontMetricsF metrics(used);
    if (metrics.horizontalAdvance(text) <= room.width() && metrics.height() <= most) break;
  }
  const QFontMetricsF metrics(used);
  if (room.width() <= metrics.averageCharWidth()) return metrics.height();
  painter.setFont(used);
  painter.drawText(QRectF(room.topLeft(), QSizeF(room.width(), metrics.height())),
                   Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                   metrics.elidedText(text, Qt::ElideRight, room.width()));
  return metrics.height();
}

void paintSummary(QPainter& painter, const QRectF& room, const QFont& font, const std::string& summary) {
  const std::vector<SummaryLine> lines = summaryLines(summary);
  if (lines.empty() || room.width() <= kLeastPixels || room.height() <= kLeastPixels) return;
  QFont used = font;
  for (double by = 1; by > kSmallest - kFontStep / 2; by -= kFontStep) {
    used = scaled(font, by);
    if (heightOf(lines, used, room.width()) <= room.height()) break;
  }
  const double lineHeight = QFontMetricsF(used).height();
  painter.save();
  painter.setClipRect(room, Qt::IntersectClip);
  painter.setFont(used);
  const double whole = heightOf(lines, used, room.width());
  layOut(lines, used, room.width(),
         [&](double y, double height, const Block& name, const Block* value, double names) {
           // The last lines leave room for the dots that stand for them.
           const double end = whole > room.height() ? room.height() - lineHeight : room.height();
           const double rest = end - y + kSlack;
           double drawn = name.draw(painter, room.topLeft() + QPointF(0, y), rest);
           if (value) drawn = std::max(drawn, value->draw(painter, room.topLeft() + QPointF(names, y), rest));
           if (height <= rest) return true;
           const double dots = y + drawn + QFontMetricsF(used).ascent();
           painter.drawText(room.topLeft() + QPointF(0, dots), QString(QChar(0x2026)));
           return false;
         });
  painter.restore();
}

}  // namespace quillbay
