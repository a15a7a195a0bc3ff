#include "host/tools/print_options_page.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMetaObject>
#include <QPointer>
#include <QSignalBlocker>
#include <algorithm>

#include "host/tools/print_option_lists.h"
#include "host/tools/tool_base.h"
#include "platform/base_services.h"
#include "ui_print_options.h"

namespace quillbay {

namespace {

constexpr double kMostPieceMm = 100000;
/// What the drawing shows while no page is known: an A0 sheet.
const PageShape kExamplePage{8278, 11703, 250};

bool isAddress(const std::string& name) { return name.starts_with("ipp://") || name.starts_with("ipps://"); }

std::string stateOf(const PrinterInfo& printer) {
  std::string text = printer.description.empty() ? printer.model : printer.description;
  if (!printer.location.empty()) text += (text.empty() ? "" : ", ") + printer.location;
  std::string state;
  if (printer.state == PrinterInfo::State::Stopped) state = Supp_Translate("stopped");
  if (!printer.isAccepting) state = Supp_Translate("takes no jobs");
  if (!printer.stateText.empty()) state += (state.empty() ? "" : ": ") + printer.stateText;
  if (!state.empty()) text += (text.empty() ? "" : " - ") + state;
  return text;
}

}  // namespace

PrintOptionsPage::PrintOptionsPage(QWidget* parent)
    : QWidget(parent), m_form(std::make_unique<Ui::PrintOptionsForm>()), m_list(std::make_unique<PrinterList>()) {
  m_form->setupUi(this);
  m_form->piece->setRange(0, kMostPieceMm);
  m_form->piece->setSpecialValueText(toolText("automatic"));
  m_form->state->setMinimumWidth(1);
  m_form->state->setMinimumHeight(2 * fontMetrics().lineSpacing());  // two lines, whatever the window's layout asks
  m_form->sheetsNote->setMinimumWidth(1);
  m_form->printer->lineEdit()->setAccessibleName(m_form->printer->accessibleName());
  m_form->printer->setCompleter(nullptr);
  fillScalings(m_form->scaling);
  fillTurns(m_form->turn);
  fillPlaces(m_form->place);
  fillHalftones(m_form->halftone);
  connectFields();
  load(new_MemParam().get());
  listPrinters();
}

PrintOptionsPage::~PrintOptionsPage() = default;

void PrintOptionsPage::connectFields() {
  for (QComboBox* list : {m_form->media, m_form->scaling, m_form->turn, m_form->place, m_form->color,
                          m_form->halftone, m_form->resolution, m_form->quality})
    connect(list, &QComboBox::activated, this, &PrintOptionsPage::edited);
  for (QSpinBox* field : {m_form->percent, m_form->copies})
    connect(field, &QSpinBox::valueChanged, this, &PrintOptionsPage::edited);
  for (QDoubleSpinBox* field :
       std::initializer_list<QDoubleSpinBox*>{m_form->marginLeft, m_form->marginRight, m_form->marginTop,
                                              m_form->marginBottom, m_form->overlap, m_form->piece})
    connect(field, &QDoubleSpinBox::valueChanged, this, &PrintOptionsPage::edited);
  for (QCheckBox* box : {m_form->tiled, m_form->cropMarks})
    connect(box, &QCheckBox::clicked, this, &PrintOptionsPage::edited);
  connect(m_form->printer, &QComboBox::activated, this, &PrintOptionsPage::printerChosen);
  connect(m_form->printer->lineEdit(), &QLineEdit::editingFinished, this, [this] {
    if (printerName() != m_asked) printerChosen();
  });
}

void PrintOptionsPage::edited() {
  showEnabled();
  showSheets();
  if (!m_isLoading) emit changed();
}

// Printers.

void PrintOptionsPage::listPrinters() {
  note(toolText("Looking for printers..."));
  // Comes on another thread, and after this page, not at all.
  m_list->list(
      [self = QPointer(this), this](std::vector<PrinterInfo> printers, bool isComplete, const std::string& error) {
        QMetaObject::invokeMethod(
            this,
            [self, printers = std::move(printers), isComplete, error]() mutable {
              if (self) self->takePrinters(std::move(printers), isComplete, error);
            },
            Qt::QueuedConnection);
      });
}

void PrintOptionsPage::takePrinters(std::vector<PrinterInfo> printers, bool isComplete, const std::string& error) {
  const Special chosen = special();
  const std::string name = printerName();
  m_printers = std::move(printers);
  m_isListed = isComplete;
  m_fault = error;
  selectPrinter(chosen, name);
  describePrinter();
  showPrinter();
}

void PrintOptionsPage::selectPrinter(Special chosen, const std::string& name) {
  const QSignalBlocker quiet(m_form->printer);
  QComboBox* list = m_form->printer;
  list->clear();
  list->addItem(toolText("Auto Detect Printer"), numberOfEnum(Special::Detect));
  list->addItem(toolText("The system's default printer"), numberOfEnum(Special::Default));
  for (const PrinterInfo& printer : m_printers)
    list->addItem(QString::fromStdString(printer.name), numberOfEnum(Special::None));
  const QString shown = QString::fromStdString(name);
  int at = chosen == Special::None ? list->findText(shown, Qt::MatchFixedString | Qt::MatchCaseSensitive)
                                   : list->findData(numberOfEnum(chosen));
  if (at < 0) {
    list->addItem(shown, numberOfEnum(Special::None));
    at = list->count() - 1;
  }
  list->setCurrentIndex(at);
  list->lineEdit()->setCursorPosition(0);
}

PrintOptionsPage::Special PrintOptionsPage::special() const {
  const int at = m_form->printer->findText(m_form->printer->currentText());
  return at < 0 ? Special::None : static_cast<Special>(m_form->printer->itemData(at).toInt());
}

std::string PrintOptionsPage::printerName() const {
  return special() == Special::None ? m_form->printer->currentText().trimmed().toStdString() : std::string();
}

void PrintOptionsPage::printerChosen() {
  m_printer.reset();
  m_fault.clear();
  describePrinter();
  showPrinter();
  if (!m_isLoading) emit changed();
}

/// Asks the chosen printer what it takes.
void PrintOptionsPage::describePrinter() {
  const std::string name = printerName();
  if (special() == Special::Detect) {
    m_asked.clear();
    m_printer.reset();
    return;
  }
  if (m_printer && m_asked == name) return;
  m_asked = name;
  note(toolText("Asking the printer what it takes..."));
  m_list->describe(name, [self = QPointer(this), this, name](const PrinterInfo& printer, const std::string& error) {
    QMetaObject::invokeMethod(
        this,
        [self, name, printer, error] {
          if (self) self->takePrinter(name, printer, error);
        },
        Qt::QueuedConnection);
  });
}

void PrintOptionsPage::takePrinter(const std::string& name, const PrinterInfo& printer, const std::string& error) {
  if (name != printerName() || special() == Special::Detect) return;  // another one was chosen meanwhile
  m_fault = error;
  m_printer.reset();
  if (error.empty()) m_printer = printer;
  showPrinter();
}

void PrintOptionsPage::note(const QString& text) {
  m_form->state->setText(text);
  m_form->state->setVisible(!text.isEmpty());
}

void PrintOptionsPage::showPrinter() {
  const bool asks = !m_printer && m_fault.empty() && special() != Special::Detect;
  if (special() == Special::Detect) {
    note(
        toolText("The system's default printer, or the first that takes the page's size, prints with its own "
                 "settings."));
  } else if (!asks) {
    note(QString::fromStdString(m_printer ? stateOf(*m_printer) : m_fault));
  }
  const PrinterInfo* printer = m_printer ? &*m_printer : nullptr;
  offerMedia(m_form->media, printer);
  offerResolutions(m_form->resolution, printer);
  offerColors(m_form->color, printer);
  offerQualities(m_form->quality, printer);
  showEnabled();
  showSheets();
}

void PrintOptionsPage::showEnabled() {
  const bool own = special() != Special::Detect;
  for (QWidget* field : std::initializer_list<QWidget*>{m_form->media, m_form->scaling, m_form->turn, m_form->place,
                                                        m_form->marginLeft, m_form->marginRight, m_form->marginTop,
                                                        m_form->marginBottom, m_form->color, m_form->resolution,
                                                        m_form->quality, m_form->tiled, m_form->piece})
    field->setEnabled(own);
  m_form->percent->setEnabled(own && valueOf(m_form->scaling) == numberOfEnum(PrintScaling::Percent));
  m_form->halftone->setEnabled(own && valueOf(m_form->color) == numberOfEnum(PrintColor::Bitonal));
  const bool isTiled = own && m_form->tiled->isChecked();
  m_form->overlap->setEnabled(isTiled);
  m_form->cropMarks->setEnabled(isTiled);
}

// The drawing.

void PrintOptionsPage::showSheets() {
  m_form->sheets->setLayoutOf(std::nullopt);
  m_form->sheetsNote->clear();
  if (!m_printer || special() == Special::Detect) return;
  const bool isExample = m_page.width <= 0 || m_page.dpi == 0;
  const PageShape page = isExample ? kExamplePage : m_page;
  const auto options = new_MemParam();
  save(options.get());
  try {
    PageLayout layout = layOutPage(page, readPrintSettings(options.get()), *m_printer);
    std::string text;
    for (const std::string& part : layout.notes) text += (text.empty() ? "" : ", ") + part;
    const std::string sheet = mediaTitle(layout.media);
    text = text.empty() ? sheet : sheet + ": " + text;
    if (isExample) text = Supp_Translate("A page of A0 as an example") + ". " + text;
    m_form->sheetsNote->setText(QString::fromStdString(text));
    m_form->sheets->setLayoutOf(std::move(layout));
  } catch (const CXException& e) {
    m_form->sheetsNote->setText(QString::fromStdString(e.what()));
  }
}

// Values.

void PrintOptionsPage::load(IParam* options) {
  m_isLoading = true;
  const PrintSettings s = readPrintSettings(options);
  m_page = readPageShape(options);
  const Special chosen = s.isAutomatic ? Special::Detect : s.printer.empty() ? Special::Default : Special::None;
  selectPrinter(chosen, s.printer);
  selectValue(m_form->media, QString::fromStdString(s.media), QString::fromStdString(s.media));
  selectValue(m_form->scaling, numberOfEnum(s.scaling), {});
  m_form->percent->setValue(static_cast<int>(s.percent));
  selectValue(m_form->turn, numberOfEnum(s.turn), {});
  selectValue(m_form->place, numberOfEnum(s.place), {});
  m_form->marginLeft->setValue(s.margins.left);
  m_form->marginTop->setValue(s.margins.top);
  m_form->marginRight->setValue(s.margins.right);
  m_form->marginBottom->setValue(s.margins.bottom);
  selectValue(m_form->color, numberOfEnum(s.color), {});
  selectValue(m_form->halftone, numberOfEnum(s.halftone), {});
  selectValue(m_form->resolution, static_cast<int>(s.resolution), {});
  selectValue(m_form->quality, s.quality, {});
  m_form->copies->setValue(s.copies);
  m_form->tiled->setChecked(s.isTiled);
  m_form->overlap->setValue(s.overlap);
  m_form->cropMarks->setChecked(s.hasCropMarks);
  m_form->piece->setValue(s.pieceLength);
  printerChosen();
  m_isLoading = false;
}

void PrintOptionsPage::save(IParam* options) const {
  const bool detects = special() == Special::Detect;
  options->SetValue(print_key::AutoDetect, detects ? 1 : 0);
  options->SetValue(print_key::PrinterName, detects ? Supp_Translate("Auto Detect Printer") : printerName());
  options->SetValue(print_key::Media, m_form->media->currentData().toString().toStdString());
  options->SetValue(print_key::Scaling, valueOf(m_form->scaling));
  options->SetValue(print_key::Percent, m_form->percent->value());
  options->SetValue(print_key::Turn, valueOf(m_form->turn));
  options->SetValue(print_key::Place, valueOf(m_form->place));
  options->SetValue(print_key::MarginLeft, m_form->marginLeft->value());
  options->SetValue(print_key::MarginTop, m_form->marginTop->value());
  options->SetValue(print_key::MarginRight, m_form->marginRight->value());
  options->SetValue(print_key::MarginBottom, m_form->marginBottom->value());
  options->SetValue(print_key::Color, valueOf(m_form->color));
  options->SetValue(print_key::Halftone, valueOf(m_form->halftone));
  options->SetValue(print_key::Resolution, valueOf(m_form->resolution));
  options->SetValue(print_key::Quality, valueOf(m_form->quality));
  options->SetValue(print_key::Copies, m_form->copies->value());
  options->SetValue(print_key::Tiled, m_form->tiled->isChecked() ? 1 : 0);
  options->SetValue(print_key::Overlap, m_form->overlap->value());
  options->SetValue(print_key::CropMarks, m_form->cropMarks->isChecked() ? 1 : 0);
  options->SetValue(print_key::PieceLength, m_form->piece->value());
}

std::string PrintOptionsPage::refusal() const {
  const std::string name = printerName();
  if (special() != Special::None || isAddress(name) || !m_isListed || !m_fault.empty()) return {};
  if (name.empty()) return Supp_Translate("Choose a printer.");
  const bool isKnown = std::any_of(m_printers.begin(), m_printers.end(),
                                   [&](const PrinterInfo& printer) { return printer.name == name; });
  if (isKnown) return {};
  return formatText(
      Supp_Translate("There is no printer \"%s\". Choose one of the list, or give a printer's address: "
                     "ipp://host/ipp/print"),
      {name});
}

}  // namespace quillbay
