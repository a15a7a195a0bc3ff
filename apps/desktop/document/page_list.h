#pragma once
#include <QDockWidget>

#include "document/document.h"

class QListWidget;
class QListWidgetItem;

namespace desktop {

class LivePage;

/// The document's pages with small pictures. A page that is in no file is marked.
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

 signals:
  void chosen(int id);
  void shown(int id);  ///< double click or Return
  void closeAsked(int id);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void add(int id);
  void refresh(int id);
  void addLive();
  void refreshLive();
  void removeLive();
  [[nodiscard]] QListWidgetItem* item(int id) const;

  Document* m_document;
  LivePage* m_live = nullptr;
  QListWidget* m_list;
};

}  // namespace desktop
