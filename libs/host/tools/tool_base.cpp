#include "host/tools/tool_base.h"

#include <utility>

#include "platform/base_services.h"

namespace quillbay {

QString toolText(const char* english) { return QString::fromStdString(Supp_Translate(english)); }

QWidget* ToolBase::Create(QWidget* parent, IToolSite* site) {
  if (!parent || !site || m_window) return nullptr;
  m_site = site;
  m_window = new QWidget(parent);
  build(m_window);
  return m_window;
}

int ToolBase::Place(const KxRect& area) {
  if (!m_window) return 0;
  m_window->setGeometry(area.left, area.top, area.right - area.left, area.bottom - area.top);
  return 1;
}

void ToolBase::Close() {
  m_site = nullptr;
  delete m_window;
}

QToolButton* ToolBase::makeButton(QWidget* parent, const char* text, const char* tip) {
  auto* made = new QToolButton(parent);
  made->setText(toolText(text));
  made->setToolTip(toolText(tip));
  made->setFocusPolicy(Qt::StrongFocus);
  made->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  return made;
}

QToolButton* ToolBase::makePickButton(QWidget* parent, Pick what) {
  const bool isBlack = what == Pick::Black;
  QToolButton* made = makeButton(parent, isBlack ? "Black point" : "White point",
                                 isBlack ? "Choose the place in the picture that becomes black: click it, or move "
                                           "the cross with the arrow keys and press Return"
                                         : "Choose the place in the picture that becomes white: click it, or move "
                                           "the cross with the arrow keys and press Return");
  made->setCheckable(true);
  QObject::connect(made, &QToolButton::clicked, parent, [this, what](bool on) { pick(on ? what : Pick::None); });
  m_pickButtons[isBlack ? 0 : 1] = made;
  return made;
}

void ToolBase::showPick(Pick what) const {
  if (m_pickButtons[0]) m_pickButtons[0]->setChecked(what == Pick::Black);
  if (m_pickButtons[1]) m_pickButtons[1]->setChecked(what == Pick::White);
}

void ToolBase::pick(Pick what) {
  if (!site()) return;
  if (what == Pick::None) m_site->EndPick();
  const bool isRefused = what != Pick::None && !m_site->Pick();
  m_pick = isRefused ? Pick::None : what;
  showPick(m_pick);
  // Last: the window may be gone when it returns.
  if (isRefused) message(Supp_Translate("There is no picture to choose a point in. Make a preview (F6) first."));
}

int ToolBase::Picked(KXRGBQUAD color) {
  const Pick what = std::exchange(m_pick, Pick::None);
  if (!m_window || what == Pick::None) return 0;
  showPick(Pick::None);
  if (!take(what, color)) {
    message(Supp_Translate(
        what == Pick::Black ? "This place is too light for the black point: black must stay darker than white in "
                              "red, green and blue. Choose a darker place."
                            : "This place is too dark for the white point: white must stay lighter than black in "
                              "red, green and blue. Choose a lighter place."));
    return 0;
  }
  changed();
  return 1;
}

int ToolBase::PickEnded() {
  m_pick = Pick::None;
  if (!m_window) return 0;
  showPick(Pick::None);
  return 1;
}

void ToolBase::changed() {
  if (site()) m_site->ToolChanged();
}

void ToolBase::message(const std::string& text) const {
  if (m_events)
    m_events->Message(static_cast<int>(EventKind::Information), text.c_str(), 0,
                      static_cast<int>(EventButtons::Ok));
}

}  // namespace quillbay
