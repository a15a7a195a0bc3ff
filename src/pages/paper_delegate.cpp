#include "pages/paper_delegate.h"

#include <QPainter>

namespace quillbay {

namespace {
constexpr int kRowMargin = 4;
constexpr int kGap = 16;

QString detailOf(const QModelIndex& index) { return index.data(PaperDelegate::kDetailRole).toString(); }
}  // namespace

void PaperDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  QStyledItemDelegate::paint(painter, option, index);
  const QString detail = detailOf(index);
  if (detail.isEmpty()) return;
  const bool enabled = index.flags().testFlag(Qt::ItemIsEnabled);
  const bool selected = option.state.testFlag(QStyle::State_Selected) && enabled;
  painter->save();
  painter->setPen(option.palette.color(enabled ? QPalette::Active : QPalette::Disabled,
                                       selected ? QPalette::HighlightedText : QPalette::Text));
  painter->drawText(option.rect.adjusted(kRowMargin, 0, -kRowMargin, 0), Qt::AlignRight | Qt::AlignVCenter, detail);
  painter->restore();
}

QSize PaperDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  QSize hint = QStyledItemDelegate::sizeHint(option, index);
  const QString detail = detailOf(index);
  if (!detail.isEmpty()) hint.rwidth() += option.fontMetrics.horizontalAdvance(detail) + kGap;
  return hint;
}

}  // namespace quillbay
