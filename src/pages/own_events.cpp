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
    // A shortcut is given to its action, too; what only looks at input on its way to a widget is left alone.
    const bool takes = watched->isWidgetType() || event->type() == QEvent::Shortcut;
    if (!takes || !isInput(*event) || isOfPage(*watched)) return false;
    m_held.emplace_back(watched, std::unique_ptr<QEvent>(event->clone()));
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
      case QEvent::Shortcut:
      case QEvent::Wheel: return true;
      default: return false;
    }
  }
  [[nodiscard]] bool isOfPage(const QObject& object) const {
    const QObject* at = &object;
    while (at && at != m_page) at = at->parent();
    return at != nullptr;
  }

  const QPointer<const QWidget> m_page;
  std::vector<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> m_held;
};

}  // namespace

void dispatchOwnEvents(QWidget* page) {
  const HeldInput held(page);
  QCoreApplication::processEvents();
}

}  // namespace quillbay
