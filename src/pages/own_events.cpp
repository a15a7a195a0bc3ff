#include "pages/own_events.h"

#include <QApplication>
#include <QInputEvent>
#include <QPointer>
#include <QWidget>
#include <memory>
#include <utility>
#include <vector>

namespace quillbay {

namespace {

/// Keeps input for others than a page from them, and gives it to them when it is destroyed.
class HeldInput final : public QObject {
 public:
  explicit HeldInput(const QWidget* page) : m_page(page) { qApp->installEventFilter(this); }
  ~HeldInput() override {
    qApp->removeEventFilter(this);
    for (auto& [receiver, event] : m_held) {
      if (receiver) QCoreApplication::postEvent(receiver, event.release());
    }
  }
  HeldInput(const HeldInput&) = delete;
  HeldInput& operator=(const HeldInput&) = delete;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget || !isInput(*event) || isOfPage(*widget)) return false;
    m_held.emplace_back(widget, std::unique_ptr<QEvent>(event->clone()));
    event->accept();  // not offered to the controls around it
    return true;
  }

 private:
  static bool isInput(const QEvent& event) {
    switch (event.type()) {
      case QEvent::MouseButtonPress:
      case QEvent::MouseButtonRelease:
      case QEvent::MouseButtonDblClick:
      case QEvent::KeyPress:
      case QEvent::KeyRelease:
      case QEvent::Wheel: return true;
      default: return false;
    }
  }
  [[nodiscard]] bool isOfPage(const QWidget& widget) const {
    return m_page && (&widget == m_page || m_page->isAncestorOf(&widget));
  }

  const QPointer<const QWidget> m_page;
  std::vector<std::pair<QPointer<QWidget>, std::unique_ptr<QEvent>>> m_held;
};

}  // namespace

void dispatchOwnEvents(QWidget* page) {
  const HeldInput held(page);
  QCoreApplication::processEvents();
}

}  // namespace quillbay
