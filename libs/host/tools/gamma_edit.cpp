#include "host/tools/gamma_edit.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTabBar>
#include <cstring>

#include "host/file_dialog.h"
#include "host/tools/curve_text.h"
#include "host/tools/curve_view.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

std::string askUser(QWidget* parent, bool toSave) {
  return askForFile(
      parent,
      {toSave ? "Save the curves" : "Load curves", "Curves (*.curves);;All files (*)", {}, {}, toSave, "curves"});
}

CKxBlob bytesOf(const GammaTable& table) {
  CKxBlob bytes(sizeof table);
  std::memcpy(bytes.data(), table.data(), bytes.size());
  return bytes;
}

}  // namespace

GammaEdit::GammaEdit(KxPtr<IEvents> events, bool picksPoints, AskFile askFile)
    : ToolBase(std::move(events)), m_picksPoints(picksPoints), m_askFile(askFile ? std::move(askFile) : askUser) {}

/// A table that the points do not give is a host's, and stands as it is.
int GammaEdit::Load(IParam* params) {
  if (!window()) return 0;
  CurveSet loaded = paramInt(params, key::ResetMark) != 0 ? CurveSet() : m_curves;
  const std::string points = paramString(params, key::CurvePoints);
  if (!points.empty()) {
    if (const std::string why = readCurveText(points, &loaded); !why.empty())
      logLine(LogLevel::Warning, "quillbay.host", "the curves of the settings are not used: " + why);
  }
  const CKxVariant table = paramValue(params, key::Gamma);
  if (const auto* bytes = table.get<CKxBlob>(); bytes && bytes->size() == sizeof(GammaTable)) {
    GammaTable given;
    std::memcpy(given.data(), bytes->data(), sizeof given);
    for (KXRGBQUAD& entry : given) entry.reserved = 0;
    if (given != loaded.table()) loaded.follow(given);
  }
  m_curves = loaded;
  return 1;
}

int GammaEdit::Save(IParam* params) {
  if (!window() || !params) return 0;
  params->SetValue(key::Gamma, bytesOf(m_curves.table()));
  params->SetValue(key::CurvePoints, curveText(m_curves));
  return 1;
}

int GammaEdit::Refresh() {
  if (!window()) return 0;
  if (!(m_view->curves() == m_curves)) m_view->setCurves(m_curves);
  ToolPicture picture;
  if (site() && site()->GetPicture(&picture))
    m_view->setLevels(countLevels(picture));
  else
    m_view->setLevels(std::nullopt);
  return 1;
}

void GammaEdit::build(QWidget* window) {
  auto* column = new QVBoxLayout(window);
  column->setContentsMargins(0, 0, 0, 0);
  m_channels = new QTabBar(window);
  m_channels->setDrawBase(false);
  m_channels->setExpanding(false);
  m_channels->setAccessibleName(toolText("Channel of the curve"));
  for (const char* name : {"All", "Red", "Green", "Blue"}) m_channels->addTab(toolText(name));
  m_view = new CurveView(window);
  m_view->setAccessibleName(toolText("Curve"));
  m_view->setToolTip(
      "<qt>" +
      toolText("Click to add a point, and drag it. The right button or Delete removes a point; arrow keys move it, "
               "Page Up and Page Down go to the next one, Insert adds one.") +
      "</qt>");
  m_view->setCurves(m_curves);
  column->addWidget(m_channels);
  column->addWidget(m_view, 1);
  column->addWidget(fieldRow(window));
  column->addWidget(buttonRow(window));
  QObject::connect(m_channels, &QTabBar::currentChanged, m_view,
                   [this](int index) { m_view->setChannel(static_cast<CurveChannel>(index)); });
  m_view->onChanged = [this] {
    m_curves = m_view->curves();
    changed();
  };
  m_view->onChosen = [this] { showPoint(); };
  showPoint();
}

QWidget* GammaEdit::fieldRow(QWidget* window) {
  auto* row = new QWidget(window);
  auto* line = new QHBoxLayout(row);
  line->setContentsMargins(0, 0, 0, 0);
  const auto add = [&](const char* name) {
    auto* label = new QLabel(toolText(name), row);
    auto* field = new QSpinBox(row);
    field->setRange(0, 255);
    label->setBuddy(field);
    line->addWidget(label);
    line->addWidget(field);
    QObject::connect(field, &QSpinBox::valueChanged, m_view, [this] { movePoint(); });
    return field;
  };
  m_input = add("&Input:");
  m_output = add("&Output:");
  line->addStretch(1);
  return row;
}

QWidget* GammaEdit::buttonRow(QWidget* window) {
  auto* row = new QWidget(window);
  auto* grid = new QGridLayout(row);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(4);
  if (m_picksPoints) {
    grid->addWidget(makePickButton(row, Pick::Black), 0, 0, 1, 3);
    grid->addWidget(makePickButton(row, Pick::White), 0, 3, 1, 3);
  }
  auto* straight = makeButton(row, "Reset", "All curves become straight lines");
  auto* load = makeButton(row, "Load...", "Load curves from a file");
  auto* save = makeButton(row, "Save...", "Save the curves in a file");
  QObject::connect(straight, &QToolButton::clicked, m_view, [this] { reset(); });
  QObject::connect(load, &QToolButton::clicked, m_view, [this] { loadFile(); });
  QObject::connect(save, &QToolButton::clicked, m_view, [this] { saveFile(); });
  grid->addWidget(straight, 1, 0, 1, 2);
  grid->addWidget(load, 1, 2, 1, 2);
  grid->addWidget(save, 1, 4, 1, 2);
  return row;
}

void GammaEdit::setCurves(const CurveSet& curves) {
  m_curves = curves;
  m_view->setCurves(curves);
  changed();
}

void GammaEdit::showPoint() {
  const auto point = m_view->chosen();
  for (QSpinBox* field : {m_input, m_output}) {
    const QSignalBlocker quietly(field);
    field->setEnabled(point.has_value());
    field->setValue(!point ? 0 : field == m_input ? point->x : point->y);
  }
}

void GammaEdit::movePoint() {
  if (m_view->chosen()) m_view->moveChosen({m_input->value(), m_output->value()});
}

void GammaEdit::reset() { setCurves({}); }

bool GammaEdit::take(Pick what, KXRGBQUAD color) {
  CurveSet curves = m_curves;
  if (what == Pick::Black ? !curves.setBlack(color) : !curves.setWhite(color)) return false;
  m_curves = curves;
  m_view->setCurves(curves);
  return true;
}

void GammaEdit::loadFile() {
  const KxPtr<IPanelTool> self = KxPtr<IPanelTool>::share(this);  // the dialog may outlive the page
  const std::string path = m_askFile(window(), false);
  if (path.empty() || !window()) return;
  CurveSet loaded;
  const std::string why = loadCurveFile(path, &loaded);
  if (!why.empty()) return message(why);
  setCurves(loaded);
}

void GammaEdit::saveFile() {
  const KxPtr<IPanelTool> self = KxPtr<IPanelTool>::share(this);
  const std::string path = m_askFile(window(), true);
  if (path.empty() || !window()) return;
  if (const std::string why = saveCurveFile(path, m_curves); !why.empty()) message(why);
}

}  // namespace quillbay
