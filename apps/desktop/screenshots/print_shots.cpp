#include "screenshots/print_shots.h"

#include <QApplication>
#include <QLabel>
#include <QTimer>
#include <QToolButton>

#include "printing/print_dialog.h"
#include "quillbay/print_host.h"
#include "quillbay/tools.h"
#include "view/document_view.h"

namespace desktop {

namespace {

/// A plotter's usual options: a large page over several sheets.
void chooseOptions(Stage& stage) {
  const QByteArray printer = qgetenv("QUILLBAY_SHOWN_PRINTER");
  const auto options = quillbay::new_MemParam();
  options->SetValue(quillbay::print_key::AutoDetect, printer.isEmpty() ? 1 : 0);
  options->SetValue(quillbay::print_key::PrinterName,
                    printer.isEmpty() ? "Auto Detect Printer" : printer.constData());
  options->SetValue(quillbay::print_key::Tiled, 1);
  options->SetValue(quillbay::print_key::Overlap, 15);
  options->SetValue(quillbay::print_key::CropMarks, 1);
  options->SetValue(quillbay::print_key::Media, printer.isEmpty() ? "" : "roll_current_300x0mm");
  const auto provider = quillbay::query<quillbay::IParamProvider>(stage.window().app());
  provider->SetToolParams(quillbay::tool_name::PrintOptions, options.get());
}

/// Once the printer has told what it takes, or that it does not answer.
bool waitForPrinter(QWidget& page) {
  const auto* note = page.findChild<QLabel*>("sheetsNote");
  const auto* state = page.findChild<QLabel*>("state");
  return Stage::waitFor(
      [&] { return !note->text().isEmpty() || (state->isVisible() && !state->text().endsWith("...")); });
}

}  // namespace

bool shootPrint(Stage& stage) {
  chooseOptions(stage);
  const Page* page = stage.window().document().page(stage.window().view().current());
  if (!page) return false;
  {
    PrintDialog dialog(stage.window().app(), page->raster.get(), 1, 3, &stage.window());
    dialog.show();
    if (!waitForPrinter(dialog) || !stage.save(dialog, "print-window")) return false;
  }
  if (!stage.window().setMode(quillbay::ScanToPrint)) return false;
  if (!stage.save(*stage.panel(), "panel-to-print")) return false;
  auto* form = stage.panel()->findChild<QWidget*>("ScanToPrint");
  auto* setup = form ? form->findChild<QToolButton*>("setup") : nullptr;
  bool saved = false;
  QTimer::singleShot(0, form, [&] {
    auto* dialog = form->findChild<QWidget*>("PrintSetup");
    saved = dialog && waitForPrinter(*dialog) && stage.save(*dialog, "print-options");
    if (dialog) dialog->close();
  });
  if (setup) setup->click();
  return saved;
}

}  // namespace desktop
