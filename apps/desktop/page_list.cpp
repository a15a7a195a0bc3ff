#include "page_list.h"

#include <QIcon>
#include <QKeyEvent>
#include <QListWidget>
#include <QPainter>
#include <algorithm>
#include <memory>

namespace desktop {

namespace {

constexpr int kIdRole = Qt::UserRole, kIconWidth = 96, kIconHeight = 72;

/// The page's small picture in the middle of an icon, with a thin edge.
QPixmap pictureOf(const Page& page, double ratio, const QColor& edge) {
  QPixmap icon(QSize(kIconWidth, kIconHeight) * ratio);
  icon.setDevicePixelRatio(ratio);
  icon.fill(Qt::transparent);
  QPainter painter(&icon);
  const QSizeF fitted = page.sizeMm().scaled(kIconWidth - 4, kIconHeight - 4, Qt::KeepAspectRatio);
  const QRectF place(QPointF((kIconWidth - fitted.width()) / 2, (kIconHeight - fitted.height()) / 2), fitted);
  painter.fillRect(place, Qt::white);
  if (!page.overview.isNull()) {
    const QSize exact = (fitted * ratio).toSize().expandedTo({1, 1});
    painter.drawImage(place, page.overview.scaled(exact, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
  }
  painter.setPen(edge);
  painter.drawRect(place);
  return icon;
}

QIcon iconOf(const Page& page, double ratio, const QColor& edge) {
  const QPixmap picture = pictureOf(page, ratio, edge);
  QIcon icon(picture);
  icon.addPixmap(picture, QIcon::Selected);  // in its own colours as well
  return icon;
}

}  // namespace

PageList::PageList(Document* document, QWidget* parent)
    : QDockWidget(tr("Pages"), parent), m_document(document), m_list(new QListWidget(this)) {
  setObjectName("pagesDock");
  m_list->setIconSize({kIconWidth, kIconHeight});
  m_list->setWordWrap(true);
  m_list->setTextElideMode(Qt::ElideMiddle);
  m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  m_list->setAccessibleName(tr("Pages"));
  m_list->setToolTip(tr("Return shows a page in full, Delete closes it. A star marks a page that is not saved."));
  m_list->installEventFilter(this);
  setWidget(m_list);
  connect(m_document, &Document::added, this, &PageList::add);
  connect(m_document, &Document::changed, this, &PageList::refresh);
  connect(m_document, &Document::removed, this,
          [this](int id) { std::unique_ptr<QListWidgetItem>(item(id)).reset(); });
  connect(m_list, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* now) {
    if (now) emit chosen(now->data(kIdRole).toInt());
  });
  connect(m_list, &QListWidget::itemActivated, this,
          [this](QListWidgetItem* now) { emit shown(now->data(kIdRole).toInt()); });
}

QListWidgetItem* PageList::item(int id) const {
  for (int row = 0; row < m_list->count(); ++row) {
    if (m_list->item(row)->data(kIdRole).toInt() == id) return m_list->item(row);
  }
  return nullptr;
}

int PageList::current() const {
  const QListWidgetItem* now = m_list->currentItem();
  return now ? now->data(kIdRole).toInt() : 0;
}

void PageList::setCurrent(int id) {
  const QSignalBlocker silent(m_list);
  if (auto* wanted = item(id)) {
    m_list->setCurrentItem(wanted);
    m_list->scrollToItem(wanted);
  }
}

void PageList::add(int id) {
  const auto& pages = m_document->pages();
  const auto place = std::find_if(pages.begin(), pages.end(), [&](const Page& page) { return page.id == id; });
  auto entry = std::make_unique<QListWidgetItem>();
  entry->setData(kIdRole, id);
  m_list->insertItem(static_cast<int>(place - pages.begin()), entry.release());  // the list owns it
  refresh(id);
  setCurrent(id);
}

void PageList::refresh(int id) {
  const Page* page = m_document->page(id);
  auto* entry = item(id);
  if (!page || !entry) return;
  const QSignalBlocker silent(m_list);
  const QSizeF size = page->sizeMm();
  const QString detail = tr("%1 × %2 mm").arg(size.width(), 0, 'f', 0).arg(size.height(), 0, 'f', 0);
  entry->setText(page->name + (page->saved ? "" : " *") + "\n" + detail);
  entry->setData(Qt::AccessibleTextRole, page->name + ", " + detail + (page->saved ? "" : ", " + tr("not saved")));
  entry->setToolTip(page->file.isEmpty() ? tr("In no file yet") : page->file);
  entry->setIcon(iconOf(*page, devicePixelRatioF(), palette().color(QPalette::Mid)));
}

bool PageList::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete && current()) {
    emit closeAsked(current());
    return true;
  }
  return QDockWidget::eventFilter(watched, event);
}

}  // namespace desktop
