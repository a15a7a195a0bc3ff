#pragma once
#include <QDockWidget>
#include <vector>

#include "document/document.h"
#include "quillbay/app.h"

class QListWidget;
class QListWidgetItem;

namespace desktop {

class LivePage;

/// The document's pages with small pictures, of which several can be chosen, and which dragging puts into another
/// order. A page that is not saved is marked.
class PageList : public QDockWidget {
  Q_OBJECT
 public:
  PageList(Document* document, QWidget* parent);
  /// Lists the page that is being scanned as well, after the others, with a picture that grows. It cannot be
  /// chosen.
  void setLive(LivePage* live);
  /// Without `chosen`.
  void setCurrent(int id);
  [[nodiscard]] int current() const;
  /// The pages that are chosen, in the document's order; the current one in any case.
  [[nodiscard]] std::vector<int> selected() const;
  /// Of the lengths; null: millimetres.
  void setUnit(quillbay::KxPtr<quillbay::ILinearUnit> unit);

 signals:
  void chosen(int id);
  void shown(int id);  ///< double click or Return
  /// Delete: the pages that are chosen.
  void closeAsked();
  /// A menu is wanted at this place of the screen.
  void menuAsked(const QPoint& at);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void add(int id);
  void refresh(int id);
  void arrange();
  [[nodiscard]] QString sizeText(const QSizeF& mm) const;
  void addLive();
  void refreshLive();
  void removeLive();
  [[nodiscard]] QListWidgetItem* item(int id) const;

  Document* m_document;
  LivePage* m_live = nullptr;
  quillbay::KxPtr<quillbay::ILinearUnit> m_unit;
  QListWidget* m_list;
};

}  // namespace desktop
