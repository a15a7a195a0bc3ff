#include "pages/pal_dlg.h"

#include <QApplication>
#include <array>
#include <cstring>

#include "pages/palette_swatches.h"
#include "platform/base_services.h"
#include "quillbay/host_files.h"
#include "quillbay/preview_control.h"
#include "quillbay/scan_keys.h"
#include "ui_pal_dlg.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {

constexpr int kAreaPrescanCommand = static_cast<int>(PreviewCommand::AreaPrescan);

bool isMethod(std::int32_t method) { return method >= kPaletteLinear && method <= kPaletteClassified; }

bool isColorCount(std::int32_t colors) { return colors >= CPalDlg::kLeastColors && colors <= CPalDlg::kMostColors; }

}  // namespace

CPalDlg::CPalDlg(IPanelController& controller, KxPtr<CSharedScanParams> params, KxPtr<IPalCalculator> calculator)
    : CTab(controller, std::move(params), kNumber),
      m_form(std::make_unique<Ui::PalDlg>()),
      m_detector(KxPtr<CPalDetector>::adopt(new CPalDetector(*this, std::move(calculator)))) {}

CPalDlg::~CPalDlg() { m_detector->leavePage(); }

std::string CPalDlg::GetTitle() { return loadString(kTextPalette); }

void CPalDlg::createForm(int) {
  m_form->setupUi(this);
  m_form->colors->setLimits(kLeastColors, kMostColors);
  m_form->colors->setValue(kMostColors);
  connect(m_form->colors, &UnitSpin::noted, this, [this](const QString& why) {
    m_fieldNote = why.toStdString();
    showPalette();
  });
  connect(m_form->lutFile, &QLineEdit::editingFinished, this, &CPalDlg::showPalette);
  showAll();
}

int CPalDlg::Load(IParam* store) {
  const Loading loading(*this);
  const bool resets = paramInt(store, key::ResetMark) != 0;
  const std::int32_t method = paramInt(store, key::PaletteMethod, resets ? kPaletteLinear : m_method);
  setMethod(isMethod(method) ? method : m_method);
  m_lutFile = paramString(store, key::LutFileName, resets ? std::string() : m_lutFile);
  const int before = colors();
  const std::int32_t wanted = paramInt(store, key::PaletteColors, resets ? kMostColors : before);
  if (isColorCount(wanted) && wanted != before) {
    m_form->colors->setValue(wanted);
    if (m_method == kPaletteMaps) m_detector->DropCache();  // photographs have all colours
  }
  showAll();
  return 1;
}

int CPalDlg::Save(IParam* store) {
  store->SetValue(key::PaletteMethod, m_method);
  store->SetValue(key::LutFileName, m_lutFile);
  store->SetValue(key::PaletteColors, colors());
  switch (m_method) {
    case kPaletteLinear: store->SetValue(key::PaletteCount, colors()); return 1;
    case kPalettePhotos:
    case kPaletteMaps:
      if (m_detector->ApplyCache(store)) return 1;
      store->SetValue(key::Adaptive, 1);
      store->SetValue(key::PaletteCount, m_method == kPalettePhotos ? kMostColors : colors());
      return 1;
    default: return readsLut() ? readLut(store) : 1;
  }
}

/// Whether a request takes its classes from the file: not when the file is about to be made.
bool CPalDlg::readsLut() const {
  return m_method == kPaletteClassified && !m_detector->isLutRequested() && !m_lutFile.empty();
}

int CPalDlg::readLut(IParam* store) {
  m_lutProblem.clear();
  return ReadLutFile(m_lutFile, store, &m_lutProblem);
}

std::string CPalDlg::GetRefusal() {
  std::string why = finishEdits(std::array<UnitSpin*, 1>{m_form->colors});
  if (!why.empty() && m_form->colors->isEnabled()) return why;
  if (!readsLut() || readLut(new_MemParam().get())) return {};
  if (const auto events = query<IEvents>(params().app())) events->Subject(m_lutFile.c_str(), m_lutProblem.c_str());
  return formatText(loadString(kTextLutNotFound), {m_lutFile});
}

bool CPalDlg::OnPageCommand(int id, int code, std::int64_t) {
  switch (id) {
    case kLinear:
    case kPhotos:
    case kMaps:
    case kClassified:
      setMethod(id - kLinear);
      showAll();
      return true;
    case kColors:
      if (m_detector->keptColors() != colors()) m_detector->DropCache();
      return true;
    case kLutFile:
      if (code == kCodeEdited) m_lutFile = m_form->lutFile->text().toStdString();
      return true;
    case kLoadLut: loadLut(); return true;
    case kCreateLut: createLut(); return true;
    default: return false;
  }
}

/// A palette that was computed for another method is not this one's.
void CPalDlg::setMethod(std::int32_t method) {
  if (std::exchange(m_method, method) != method) m_detector->DropCache();
}

void CPalDlg::loadLut() {
  const auto dialogs = query<IFileDialogs>(params().app());
  if (!dialogs) return QApplication::beep();
  std::string path = m_lutFile;
  if (!dialogs->ChooseFile(kLutFileChannel, this, &path)) return;
  m_lutFile = path;
  showAll();
}

void CPalDlg::createLut() {
  if (!controller().IsCommandEnabled(kAreaPrescanCommand)) return;
  m_detector->RequestLut();
  showPalette();
  controller().PostPanelCommand(kAreaPrescanCommand);
}

std::string CPalDlg::ToolTemplatesDir() {
  const auto folders = query<IStdDirectories>(params().app());
  std::string folder;
  return folders && folders->GetDirectory(kToolTemplatesDir, &folder) ? folder : std::string();
}

void CPalDlg::ClassifyBy(const std::string& lutFile) {
  const Loading loading(*this);
  setMethod(kPaletteClassified);
  m_lutFile = lutFile;
  showAll();
}

int CPalDlg::colors() const { return static_cast<int>(m_form->colors->value()); }

void CPalDlg::showAll() {
  m_form->linear->setChecked(m_method == kPaletteLinear);
  m_form->photos->setChecked(m_method == kPalettePhotos);
  m_form->maps->setChecked(m_method == kPaletteMaps);
  m_form->classified->setChecked(m_method == kPaletteClassified);
  const bool counts = m_method == kPaletteLinear || m_method == kPaletteMaps;
  m_form->colors->setEnabled(counts);
  m_form->colorsLabel->setEnabled(counts);
  m_form->loadLut->setEnabled(m_method == kPaletteClassified);
  m_form->lutFile->setEnabled(m_method == kPaletteClassified);
  const QString file = QString::fromStdString(m_lutFile);
  if (m_form->lutFile->text() != file) m_form->lutFile->setText(file);
  m_form->lutFile->setToolTip(file.isEmpty() ? QString::fromStdString(Supp_Translate("The lookup file")) : file);
  showPalette();
}

/// The colours of the next scan, as far as they are known before it.
std::vector<KXRGBQUAD> CPalDlg::knownColors() {
  m_lutProblem.clear();
  const auto set = new_MemParam();
  CKxVariant bytes;
  if (m_method == kPalettePhotos || m_method == kPaletteMaps) {
    if (!m_detector->ApplyCache(set.get()) || !set->GetValue(key::Palette, &bytes)) return {};
    std::vector<KXRGBQUAD> colors(static_cast<std::size_t>(m_detector->keptColors()));
    std::memcpy(colors.data(), bytes.get<CKxBlob>()->data(), colors.size() * sizeof(KXRGBQUAD));
    return colors;
  }
  if (!readsLut() || !readLut(set.get()) || !set->GetValue(key::Lut, &bytes)) return {};
  return colorsOfLut(*bytes.get<CKxBlob>());
}

std::string CPalDlg::noteOf(std::size_t shownColors) const {
  if (!m_fieldNote.empty()) return m_fieldNote;
  if (m_detector->isLutRequested()) return Supp_Translate("The next preview or scan creates the lookup file.");
  const std::string count = std::to_string(shownColors);
  switch (m_method) {
    case kPaletteLinear: return Supp_Translate("The same evenly spread colours for every document.");
    case kPalettePhotos:
    case kPaletteMaps:
      return shownColors ? formatText(Supp_Translate("%d colours, computed from the document:"), {count})
                         : Supp_Translate("A prescan before the next preview or scan computes the colours.");
    default: break;
  }
  if (m_lutFile.empty())
    return Supp_Translate(
        "No lookup file is chosen: evenly spread colours are used. Load one, or create one from the preview.");
  if (m_lutProblem.empty()) return formatText(Supp_Translate("%d classes of the lookup file:"), {count});
  return splitEventText(formatText(loadString(kTextLutNotFound), {m_lutFile})).text + " " + m_lutProblem;
}

void CPalDlg::showPalette() {
  std::vector<KXRGBQUAD> colors = knownColors();
  m_form->note->setText(QString::fromStdString(noteOf(colors.size())));
  m_form->swatches->setColors(std::move(colors));
  m_form->createLut->setEnabled(controller().IsCommandEnabled(kAreaPrescanCommand) != 0);
}

/// What the page offers while nothing runs was off in a run.
void CPalDlg::Enable(int enable) {
  CTab::Enable(enable);
  if (enable && isVisible()) showPalette();
}

void CPalDlg::showEvent(QShowEvent* event) {
  CTab::showEvent(event);
  showPalette();  // the file may have changed meanwhile
}

}  // namespace quillbay
