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
