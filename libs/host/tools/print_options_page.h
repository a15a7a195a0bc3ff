#pragma once
#include <QWidget>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "printing/print_settings.h"
#include "printing/printers.h"
#include "quillbay/param.h"

class QComboBox;
namespace Ui {
class PrintOptionsForm;
}

namespace quillbay {

/// The form of a set of print options, with a drawing of the page on its sheets. Printers are listed, and asked
/// what they take, in the background; what a printer does not take cannot be chosen, but stays where it was chosen
/// before.
class PrintOptionsPage final : public QWidget {
  Q_OBJECT
 public:
  explicit PrintOptionsPage(QWidget* parent);
  ~PrintOptionsPage() override;

  /// Shows a set; a missing key means its default.
  void load(IParam* options);
  /// Stores what is shown.
  void save(IParam* options) const;
  /// Why what is shown cannot be printed with; empty when it can, as far as is known.
  [[nodiscard]] std::string refusal() const;

 Q_SIGNALS:
  void changed();

 private:
  /// The entries of the list of printers that are none.
  enum class Special : int { None = 0, Detect = 1, Default = 2 };

  void connectFields();
  void edited();
  void listPrinters();
  void takePrinters(std::vector<PrinterInfo> printers, bool isComplete, const std::string& error);
  void takePrinter(const std::string& name, const PrinterInfo& printer, const std::string& error);
  void printerChosen();
  void describePrinter();
  void showPrinter();
  void showEnabled();
  void showSheets();
  void selectPrinter(Special special, const std::string& name);
  [[nodiscard]] Special special() const;
  [[nodiscard]] std::string printerName() const;
  void note(const QString& text);

  std::unique_ptr<Ui::PrintOptionsForm> m_form;
  std::vector<PrinterInfo> m_printers;   // as they were listed
  std::optional<PrinterInfo> m_printer;  // the chosen one, with its attributes
  std::string m_asked;                   // the printer that was asked last
  bool m_isListed = false;               // completely
  std::string m_fault;                   // of the listing, or of the chosen printer
  PageShape m_page;                      // of the drawing
  bool m_isLoading = false;
  std::unique_ptr<PrinterList> m_list;  // last: its callbacks use the rest
};

}  // namespace quillbay
