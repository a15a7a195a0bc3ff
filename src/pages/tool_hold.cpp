#include "pages/tool_hold.h"

#include <QEvent>
#include <QLabel>
#include <algorithm>
#include <utility>

#include "platform/base_services.h"

namespace quillbay {

namespace {
constexpr int kSentenceWidth = 200;
}  // namespace

ToolHold::ToolHold(QWidget* parent, const char* missing)
    : CDialog(parent), m_missing(new QLabel(QString::fromStdString(Supp_Translate(missing)), this)) {
  m_missing->setWordWrap(true);
  m_missing->setTextFormat(Qt::PlainText);
  m_missing->setAlignment(Qt::AlignTop | Qt::AlignLeading);
}

ToolHold::~ToolHold() {
  if (m_tool) m_tool->Close();
}

void ToolHold::makeTool(IApp* app, const char* name, ToolSurroundings surroundings) {
  m_surroundings = std::move(surroundings);
  const auto factory = query<IToolsFactory>(app);
  if (factory) m_tool = query<IPanelTool>(KxPtr<IKxUnknown>::adopt(factory->MakeTool(name)).get());
  m_window = m_tool ? m_tool->Create(this, this) : nullptr;
  if (!m_window) m_tool = {};
  m_missing->setVisible(!m_window);
  if (m_window) m_window->show();
  updateGeometry();
}

int ToolHold::Load(IParam* params) {
  if (!m_tool) return 0;
  const int loaded = m_tool->Load(params);
  refresh();
  return loaded;
}

int ToolHold::Save(IParam* params) {
  if (!m_tool || !params) return 0;
  m_tool->Apply();
  const auto own = new_MemParam();
  if (!m_tool->Save(own.get())) return 0;
  return Param_CopyTo(own.get(), params);
}

void ToolHold::refresh() {
  if (m_tool) m_tool->Refresh();
}

void ToolHold::ToolChanged() {
  if (m_surroundings.changed) m_surroundings.changed();
}

int ToolHold::GetPicture(ToolPicture* out) { return m_surroundings.picture ? m_surroundings.picture(out) : 0; }

int ToolHold::Pick() { return m_surroundings.startPick ? m_surroundings.startPick(m_tool.get()) : 0; }

void ToolHold::EndPick() {
  if (m_surroundings.endPick) m_surroundings.endPick(m_tool.get());
}

QSize ToolHold::sizeHint() const {
  if (m_window) return m_window->sizeHint();
  return {kSentenceWidth, m_missing->heightForWidth(kSentenceWidth)};
}

QSize ToolHold::minimumSizeHint() const {
  if (!m_window) return {0, m_missing->heightForWidth(kSentenceWidth)};
  return m_window->minimumSizeHint();
}

void ToolHold::resizeEvent(QResizeEvent* event) {
  CDialog::resizeEvent(event);
  m_missing->setGeometry(rect());
  if (m_tool) m_tool->Place({0, 0, width(), height()});
}

bool ToolHold::event(QEvent* event) {
  if (event->type() == QEvent::LayoutRequest) updateGeometry();
  return CDialog::event(event);
}

}  // namespace quillbay
