#include "destinations/destination_factory.h"

#include "destinations/scan_to_net.h"
#include "destinations/scan_to_print.h"
#include "destinations/scan_to_view.h"

namespace quillbay {

std::unique_ptr<CScanTo> makeDestination(const DestinationContext& context) {
  switch (context.mode) {
    case ScanToFile:
    case ScanToView: return std::make_unique<CScanToView>(context);
    case ScanToNet: return makeScanToNet(context);
    case ScanToPrint: return std::make_unique<CScanToPrint>(context);
    default: return nullptr;
  }
}

}  // namespace quillbay
