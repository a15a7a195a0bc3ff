#include "document/page_list.h"

#include <QDropEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QListWidget>
#include <QPainter>
#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include "document/page_order.h"
#include "view/live_page.h"
#include "window/lengths.h"

namespace desktop {

namespace {

/// Number of the page that is being scanned: no page of the document has it.
constexpr int kLiveId = 0;
constexpr int kIdRole = Qt::UserRole, kIconWidth = 96, kIconHeight = 72;
constexpr int kLeastWidth = 132;

/// A page's small picture in the middle of an icon, with a thin edge. Of a page that is still coming the picture
/// is the upper part: as high as its width tells.
QPixmap pictureOf(const QSizeF& sizeMm, const QImage& overview, bool whole, double ratio, const QColor& edge) {
  QPixmap icon(QSize(kIconWidth, kIconHeight) * ratio);
  icon.setDevicePixelRatio(ratio);
  icon.fill(Qt::transparent);
  QPainter painter(&icon);
  const QSizeF fitted = sizeMm.scaled(kIconWidth - 4, kIconHeight - 4, Qt::KeepAspectRatio);
  const QRectF place(QPointF((kIconWidth - fitted.width()) / 2, (kIconHeight - fitted.height()) / 2), fitted);
  QRectF drawn = place;
  if (!whole) drawn.setHeight(overview.isNull() ? 0 : place.width() * overview.height() / overview.width());
  drawn &= place;
  painter.fillRect(drawn, Qt::white);
  if (!overview.isNull()) {
    const QSize exact = (drawn.size() * ratio).toSize().expandedTo({1, 1});
    painter.drawImage(drawn, overview.scaled(exact, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
  }
  painter.setPen(whole ? QPen(edge) : QPen(edge, 1, Qt::DashLine));
  painter.drawRect(place);
  return icon;
}

QIcon iconOf(const QPixmap& picture) {
  QIcon icon(picture);
  for (const auto mode : {QIcon::Selected, QIcon::Disabled}) icon.addPixmap(picture, mode);  // in its own colours
  return icon;
}

/// A list whose pages are dragged to other places; the document moves them.
class PageItems final : public QListWidget {
 public:
  PageItems(QWidget* parent, std::function<void(int before)> moveSelected)
      : QListWidget(parent), m_moveSelected(std::move(moveSelected)) {
    setDragDropMode(QAbstractItemView::InternalMove);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMinimumWidth(kLeastWidth);
  }

 protected:
  /// A narrow list has smaller pictures, so that names keep their place.
  void resizeEvent(QResizeEvent* event) override {
    const QSize full(kIconWidth, kIconHeight);
    setIconSize(width() < 2 * kIconWidth ? full / 2 : full);
    QListWidget::resizeEvent(event);
  }
  Qt::DropActions supportedDropActions() const override { return Qt::MoveAction | Qt::CopyAction; }
  void dropEvent(QDropEvent* event) override {
    if (event->source() != this) return event->ignore();
    const QListWidgetItem* under = itemAt(event->position().toPoint());
    const int row = under ? this->row(under) + (dropIndicatorPosition() == BelowItem ? 1 : 0) : count();
    // What was dragged must not be taken out afterwards: its item moves with its page. A copy may not be on offer.
    event->setDropAction(Qt::IgnoreAction);
    event->accept();
    m_moveSelected(row < count() ? item(row)->data(kIdRole).toInt() : 0);
    viewport()->update();
  }

 private:
  const std::function<void(int before)> m_moveSelected;
};

}  // namespace

PageList::PageList(Document* document, QWidget* parent)
    : QDockWidget(tr("Pages"), parent), m_document(document), m_list(new PageItems(this, [this](int before) {
        m_document->reorder(movedOrder(m_document->order(), selected(), before));
      })) {
  setObjectName("pagesDock");
  m_list->setWordWrap(true);
  m_list->setTextElideMode(Qt::ElideMiddle);
  m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  m_list->setAccessibleName(tr("Pages"));
  m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
  m_list->setContextMenuPolicy(Qt::CustomContextMenu);
  m_list->setToolTip(
      tr("Return shows a page in full, Delete closes the chosen ones, and dragging moves them. A star marks a page "
         "that is not saved."));
  m_list->installEventFilter(this);
  setWidget(m_list);
  connect(m_document, &Document::added, this, &PageList::add);
  connect(m_document, &Document::changed, this, &PageList::refresh);
  connect(m_document, &Document::removed, this,
          [this](int id) { std::unique_ptr<QListWidgetItem>(item(id)).reset(); });
  connect(m_document, &Document::reordered, this, &PageList::arrange);
  connect(m_list, &QListWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    if (!selected().empty()) emit menuAsked(m_list->viewport()->mapToGlobal(at));
  });
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
  auto* wanted = item(id);
  if (!wanted || wanted == m_list->currentItem()) return;  // several pages may be chosen beside it
  const QSignalBlocker silent(m_list);
  m_list->setCurrentItem(wanted, QItemSelectionModel::ClearAndSelect);
  m_list->scrollToItem(wanted);
}

std::vector<int> PageList::selected() const {
  std::vector<int> ids;
  for (int row = 0; row < m_list->count(); ++row) {
    const auto* entry = m_list->item(row);
    const bool isChosen = entry->isSelected() || entry == m_list->currentItem();
    if (const int id = entry->data(kIdRole).toInt(); isChosen && id != kLiveId) ids.push_back(id);
  }
  return ids;
}

QString PageList::sizeText(const QSizeF& mm) const {
  return lengthPair(m_unit.get(), mm.width(), mm.height(), " × ", true);
}

void PageList::setUnit(quillbay::KxPtr<quillbay::ILinearUnit> unit) {
  m_unit = std::move(unit);
  for (const Page& page : m_document->pages()) refresh(page.id);
  refreshLive();
}

/// Puts the entries into the document's order.
void PageList::arrange() {
  const QSignalBlocker silent(m_list);
  const std::vector<int> chosen = selected();
  auto* const now = m_list->currentItem();
  int row = 0;
  for (const Page& page : m_document->pages()) {
    auto* entry = item(page.id);
    if (m_list->row(entry) != row) m_list->insertItem(row, m_list->takeItem(m_list->row(entry)));
    ++row;
  }
  m_list->setCurrentItem(now, QItemSelectionModel::NoUpdate);
  for (int id : chosen) item(id)->setSelected(true);
  if (now) m_list->scrollToItem(now);
}

void PageList::add(int id) {
  const auto& pages = m_document->pages();
  const auto place = std::find_if(pages.begin(), pages.end(), [&](const Page& page) { return page.id == id; });
  auto entry = std::make_unique<QListWidgetItem>();
  entry->setData(kIdRole, id);
  entry->setFlags(entry->flags() & ~Qt::ItemIsDropEnabled);                      // pages go between pages
  m_list->insertItem(static_cast<int>(place - pages.begin()), entry.release());  // the list owns it
  refresh(id);
  setCurrent(id);
}

void PageList::refresh(int id) {
  const Page* page = m_document->page(id);
  auto* entry = item(id);
  if (!page || !entry) return;
  const QSignalBlocker silent(m_list);
  const QString detail = sizeText(page->sizeMm());
  entry->setText(page->name + (page->isSaved() ? "" : " *") + "\n" + detail);
  entry->setData(Qt::AccessibleTextRole,
                 page->name + ", " + detail + (page->isSaved() ? "" : ", " + tr("not saved")));
  entry->setToolTip(page->file().isEmpty() ? tr("Not saved yet") : page->file());
  entry->setIcon(
      iconOf(pictureOf(page->sizeMm(), page->overview, true, devicePixelRatioF(), palette().color(QPalette::Mid))));
}

void PageList::setLive(LivePage* live) {
  m_live = live;
  connect(live, &LivePage::began, this, &PageList::addLive);
  connect(live, &LivePage::resized, this, &PageList::refreshLive);
  connect(live, &LivePage::overviewChanged, this, &PageList::refreshLive);
  connect(live, &LivePage::became, this, &PageList::removeLive);
  connect(live, &LivePage::vanished, this, &PageList::removeLive);
}

void PageList::addLive() {
  auto entry = std::make_unique<QListWidgetItem>();
  entry->setData(kIdRole, kLiveId);
  entry->setFlags(Qt::ItemIsEnabled);
  entry->setToolTip(tr("This page is being scanned"));
  m_list->addItem(entry.release());  // the list owns it
  refreshLive();
  m_list->scrollToItem(item(kLiveId));
}

void PageList::refreshLive() {
  auto* entry = item(kLiveId);
  if (!entry) return;
  const QString text = tr("Scanning...") + "\n" + sizeText({m_live->sizeMm().width(), m_live->arrivedMm()});
  entry->setText(text);
  entry->setIcon(iconOf(pictureOf(m_live->sizeMm(), m_live->overview(), false, devicePixelRatioF(),
                                  palette().color(QPalette::PlaceholderText))));
}

void PageList::removeLive() { std::unique_ptr<QListWidgetItem>(item(kLiveId)).reset(); }

bool PageList::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete && current()) {
    emit closeAsked();
    return true;
  }
  return QDockWidget::eventFilter(watched, event);
}

}  // namespace desktop
