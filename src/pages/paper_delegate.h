#pragma once
#include <QStyledItemDelegate>

namespace quillbay {

/// Draws the entries of a list with a detail at the right, such as a paper's size beside its name.
class PaperDelegate final : public QStyledItemDelegate {
 public:
  /// The role of an entry's detail, text.
  static constexpr int kDetailRole = Qt::UserRole + 1;
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace quillbay
