#include <QEvent>
#include <QPointer>
#include <cmath>

#include "drawing/ruler_band.h"
#include "platform/ruler.h"

namespace quillbay {

namespace {

/// Places the rulers when their window changes its size.
class SizeWatch final : public QObject {
 public:
  explicit SizeWatch(std::function<void()> place) : m_place(std::move(place)) {}
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Resize || event->type() == QEvent::FontChange) m_place();
    return false;
  }

 private:
  std::function<void()> m_place;
};

}  // namespace

class CKxRuler final : public CKxUnknownImpl<IKxRuler> {
 public:
  CKxRuler(HWND window, ILinearUnit* unit, const CRTfm& view, const CRDirectTfm& ruler, std::uint32_t style,
           ISetReactor* reactors)
      : m_window(window),
        m_top(new RulerBand(Qt::Horizontal, window)),
        m_left(new RulerBand(Qt::Vertical, window)),
        m_style(style),
        m_view(view),
        m_watch([this] { place(); }) {
    window->installEventFilter(&m_watch);
    SetUnit(unit, ruler);
    m_reactors = KxPtr<ISetReactor>::share(reactors);
    if (m_reactors) m_reactors->AddReactor(&m_mark);
  }
  ~CKxRuler() override {
    if (m_reactors) m_reactors->RemoveReactor(&m_mark);
    delete m_top;
    delete m_left;
  }

  int Show(int show) override {
    m_shown = show != 0;
    return place();
  }
  int SetStyle(std::uint32_t mask, std::uint32_t bits) override {
    m_style = (m_style & ~mask) | (bits & mask);
    return place();
  }
  int SetUnit(ILinearUnit* unit, const CRDirectTfm& ruler) override {
    if (!m_window) return 0;
    m_ruler = ruler;
    m_top->setUnit(KxPtr<ILinearUnit>::share(unit));
    m_left->setUnit(KxPtr<ILinearUnit>::share(unit));
    return Redraw(m_view);
  }
  int Redraw(const CRTfm& view) override {
    m_view = view;
    if (!m_window) return 0;
    m_top->setScale(scaleOf(m_view.scaleX, m_view.offsetX, m_ruler.scaleX, m_ruler.offsetX));
    m_left->setScale(scaleOf(m_view.scaleY, m_view.offsetY, m_ruler.scaleY, m_ruler.offsetY));
    return 1;
  }
  int MarkPointer(const tagRPOINT* at) override {
    if (!m_window) return 0;
    const bool shows = at && m_marks;
    m_top->markPointer(shows ? std::optional(at->x) : std::nullopt);
    m_left->markPointer(shows ? std::optional(at->y) : std::nullopt);
    return 1;
  }
  KxSize GetInset() override {
    if (!m_window || !m_shown) return {};
    return {has(kRulerLeft) ? m_left->thickness() : 0, has(kRulerTop) ? m_top->thickness() : 0};
  }

 private:
  class Mark final : public CKxUnknownImplStatic<ICursorReactor> {
   public:
    explicit Mark(CKxRuler* owner) : m_owner(owner) {}
    int SetCursor(int on) override {
      m_owner->m_marks = on != 0;
      return on ? 1 : m_owner->MarkPointer(nullptr);
    }

   private:
    CKxRuler* m_owner;
  };

  [[nodiscard]] bool has(std::uint32_t bit) const noexcept { return (m_style & bit) != 0; }
  /// From document millimetres to pixels and to the unit's values; together: from values to pixels.
  static RulerScale scaleOf(double viewScale, double viewOffset, double unitScale, double unitOffset) {
    return {viewScale / unitScale, viewOffset - unitOffset * viewScale / unitScale};
  }
  int place() {
    if (!m_window) return 0;
    const KxSize inset = GetInset();
    m_left->setGeometry(0, inset.height, inset.width, m_window->height() - inset.height);
    m_top->setGeometry(inset.width, 0, m_window->width() - inset.width, inset.height);
    m_left->setVisible(inset.width > 0);
    m_top->setVisible(inset.height > 0);
    return 1;
  }

  QPointer<QWidget> m_window;
  QPointer<RulerBand> m_top, m_left;
  std::uint32_t m_style;
  CRTfm m_view;
  CRDirectTfm m_ruler;
  bool m_shown = false;
  bool m_marks = true;
  SizeWatch m_watch;
  Mark m_mark{this};
  KxPtr<ISetReactor> m_reactors;
};

KxPtr<IKxRuler> new_KxRuler(HWND window, ILinearUnit* unit, const CRTfm& view, const CRDirectTfm& ruler,
                            std::uint32_t style, ISetReactor* reactors) {
  return KxPtr<IKxRuler>::adopt(new CKxRuler(window, unit, view, ruler, style, reactors));
}

}  // namespace quillbay
