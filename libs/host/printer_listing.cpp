#include "platform/base_services.h"
#include "printing/printers.h"
#include "quillbay/print_host.h"

namespace quillbay {

namespace {

std::string printerStateText(const PrinterInfo& printer) {
  std::string state;
  switch (printer.state) {
    case PrinterInfo::State::Idle: state = Supp_Translate("idle"); break;
    case PrinterInfo::State::Printing: state = Supp_Translate("printing"); break;
    case PrinterInfo::State::Stopped: state = Supp_Translate("stopped"); break;
    case PrinterInfo::State::Unknown: break;
  }
  if (!printer.isAccepting) state = Supp_Translate("takes no jobs");
  if (!printer.stateText.empty()) state += (state.empty() ? "" : ": ") + printer.stateText;
  return state;
}

}  // namespace

int ListPrinters(std::vector<PrinterEntry>* out, std::string* why) {
  out->clear();
  try {
    for (const PrinterInfo& printer : listPrinters()) {
      PrinterEntry entry;
      entry.name = printer.name;
      entry.description = printer.description;
      if (!printer.location.empty())
        entry.description += (entry.description.empty() ? "" : ", ") + printer.location;
      entry.state = printerStateText(printer);
      entry.isDefault = printer.isDefault;
      for (const PrinterMedia& medium : printer.media) entry.media.push_back(medium.name);
      out->push_back(std::move(entry));
    }
    return 1;
  } catch (const CXException& e) {
    if (why) *why = e.what();
    return 0;
  }
}

}  // namespace quillbay
