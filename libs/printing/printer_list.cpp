#include <algorithm>
#include <mutex>
#include <thread>

#include "platform/base_services.h"
#include "printing/ipp_link.h"
#include "printing/printer_attributes.h"
#include "printing/printers.h"

namespace quillbay {
namespace {

const char* optionOf(const cups_dest_t& dest, const char* name) {
  const char* value = cupsGetOption(name, dest.num_options, dest.options);
  return value ? value : "";
}

/// The words of a list that libcups joined by commas.
std::vector<std::string> wordsOf(std::string_view list) {
  std::vector<std::string> words;
  while (!list.empty()) {
    const std::string_view word = list.substr(0, list.find(','));
    if (!word.empty() && word != "none") words.emplace_back(word);
    list.remove_prefix(std::min(list.size(), word.size() + 1));
  }
  return words;
}

int addDestination(void* all, unsigned flags, cups_dest_t* dest) {
  auto& printers = *static_cast<std::vector<PrinterInfo>*>(all);
  if ((flags & CUPS_DEST_FLAGS_REMOVED) != 0) {
    std::erase_if(printers, [dest](const PrinterInfo& p) { return p.name == dest->name; });
    return 1;
  }
  if (dest->instance) return 1;  // saved options of a queue, not another printer
  PrinterInfo printer;
  printer.name = dest->name;
  printer.description = optionOf(*dest, "printer-info");
  printer.location = optionOf(*dest, "printer-location");
  printer.model = optionOf(*dest, "printer-make-and-model");
  printer.uri = optionOf(*dest, "printer-uri-supported");
  if (printer.uri.empty()) printer.uri = optionOf(*dest, "device-uri");
  printer.isDefault = dest->is_default != 0;
  printer.isAccepting = std::string_view(optionOf(*dest, "printer-is-accepting-jobs")) != "false";
  std::int64_t number = 0;
  if (parseNumber(optionOf(*dest, "printer-type"), &number)) {
    printer.isDiscovered = (number & CUPS_PRINTER_DISCOVERED) != 0;
    printer.hasColor = (number & CUPS_PRINTER_COLOR) != 0;
  }
  if (parseNumber(optionOf(*dest, "printer-state"), &number) && number >= 3 && number <= 5) {
    printer.state = static_cast<PrinterInfo::State>(number);
  }
  printer.stateReasons = wordsOf(optionOf(*dest, "printer-state-reasons"));
  const auto same =
      std::find_if(printers.begin(), printers.end(), [&](const PrinterInfo& p) { return p.name == printer.name; });
  if (same == printers.end()) {
    printers.push_back(std::move(printer));
  } else {
    *same = std::move(printer);
  }
  return 1;
}

/// Printers whose bits in the mask are 0.
constexpr cups_ptype_t kAllPrinters = 0, kOwnQueues = CUPS_PRINTER_DISCOVERED;

std::vector<PrinterInfo> destinations(cups_ptype_t mask, const PrinterPatience& patience) {
  const HttpPtr system = connectPrintSystem(patience.connect, nullptr);
  const std::string error = system ? std::string() : std::string(cupsLastErrorString());
  std::vector<PrinterInfo> printers;
  if (system || mask == kAllPrinters) {
    cupsEnumDests(CUPS_DEST_FLAGS_NONE, static_cast<int>(patience.list * 1000), nullptr, 0, mask, addDestination,
                  &printers);
  }
  if (!system && printers.empty() && mask == kAllPrinters) {
    throw CXDeviceException(formatText(
        Supp_Translate("The print system (CUPS) does not answer: %s. Start it, or enter the printer's address as "
                       "ipp://HOST/ipp/print."),
        {error}));
  }
  std::stable_sort(printers.begin(), printers.end(), [](const PrinterInfo& a, const PrinterInfo& b) {
    return a.isDefault != b.isDefault ? a.isDefault : a.isDiscovered < b.isDiscovered;
  });
  return printers;
}

}  // namespace

std::vector<PrinterInfo> listPrinters(const PrinterPatience& patience) {
  return destinations(kAllPrinters, patience);
}

PrinterInfo printerAttributes(const std::string& name, const PrinterPatience& patience) {
  IppLink link(name, patience, nullptr);
  IppPtr request = link.newRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
  const auto& wanted = wantedAttributes();
  ippAddStrings(request.get(), IPP_TAG_OPERATION, IPP_CONST_TAG(IPP_TAG_KEYWORD), "requested-attributes",
                static_cast<int>(wanted.size()), nullptr, wanted.data());
  const IppPtr answer = link.ask(std::move(request), "does not say what it takes");
  PrinterInfo printer;
  printer.name = link.name();
  printer.uri = link.uri();
  printer.isDefault = name.empty();
  readAttributes(answer.get(), printer);
  return printer;
}

/// What the threads share with the list; they keep it when the list is destroyed.
struct PrinterList::Shared {
  std::mutex mutex;
  bool isClosed = false;  // guarded by mutex, which is held while a callback runs

  template <class Call>
  void report(Call&& call) {
    const std::scoped_lock lock(mutex);
    if (!isClosed) call();
  }
};

PrinterList::PrinterList() : m_shared(std::make_shared<Shared>()) {}

PrinterList::~PrinterList() {
  const std::scoped_lock lock(m_shared->mutex);
  m_shared->isClosed = true;
}

// The threads are not waited for: libcups can stay in a connection for its own time limits. What they touch is
// theirs.
void PrinterList::list(Listed then) {
  std::thread([shared = m_shared, then = std::move(then)] {
    for (const cups_ptype_t mask : {kOwnQueues, kAllPrinters}) {
      std::vector<PrinterInfo> printers;
      std::string error;
      try {
        printers = destinations(mask, {});
      } catch (const std::exception& e) {
        error = e.what();
      }
      const bool isComplete = mask == kAllPrinters;
      if (!isComplete && printers.empty()) continue;
      shared->report([&] { then(std::move(printers), isComplete, error); });
    }
  }).detach();
}

void PrinterList::describe(const std::string& name, Described then) {
  std::thread([shared = m_shared, name, then = std::move(then)] {
    PrinterInfo printer;
    std::string error;
    try {
      printer = printerAttributes(name);
    } catch (const std::exception& e) {
      printer.name = name;
      error = e.what();
    }
    shared->report([&] { then(std::move(printer), error); });
  }).detach();
}

PrinterInfo detectPrinter(double width, double length, const PrinterPatience& patience) {
  std::string error;
  std::vector<PrinterInfo> described;
  std::vector<std::string> asked;
  // The print system's own queues are known at once; the network is asked only when none of them takes the page.
  for (const cups_ptype_t mask : {kOwnQueues, kAllPrinters}) {
    for (const PrinterInfo& printer : destinations(mask, patience)) {
      if (std::find(asked.begin(), asked.end(), printer.name) != asked.end()) continue;
      asked.push_back(printer.name);
      try {
        PrinterInfo one = printerAttributes(printer.name, patience);
        one.isDefault = printer.isDefault;
        if (width <= 0 || mediaForPage(one, width, length)) return one;
        described.push_back(std::move(one));
      } catch (const CXDeviceException& e) {
        logLine(LogLevel::Info, "quillbay.printing", e.what());
        error = e.what();
      }
    }
  }
  if (!described.empty()) return described.front();
  if (!error.empty()) throw CXDeviceException(error);
  throw CXDeviceException(Supp_Translate(
      "There is no printer. Set one up in the system's settings, or enter its address as ipp://HOST/ipp/print."));
}

}  // namespace quillbay
