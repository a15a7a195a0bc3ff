#include "scanners/sane/sane_fault.h"

#include "platform/base_services.h"

namespace quillbay {

namespace {

struct StatusText {
  SANE_Status status;
  UnitFaultCode code;
  const char* text;  // "%s" is the device
};

constexpr StatusText kTexts[] = {
    {SANE_STATUS_UNSUPPORTED, UnitFaultCode::Unsupported,
     "The scanner %s does not support these settings. Choose another mode, resolution or paper source."},
    {SANE_STATUS_CANCELLED, UnitFaultCode::Cancelled,
     "The scanner %s cancelled the scan, perhaps because its cancel key was pressed. Start the scan again."},
    {SANE_STATUS_DEVICE_BUSY, UnitFaultCode::Busy,
     "The scanner %s is busy. Close other programs that use it, or wait until it has finished, and start again."},
    {SANE_STATUS_INVAL, UnitFaultCode::Invalid,
     "The scanner %s refused a setting as invalid. Choose another area, resolution or mode."},
    {SANE_STATUS_EOF, UnitFaultCode::InputOutput,
     "The scanner %s ended before the page started. Start the scan again."},
    {SANE_STATUS_JAMMED, UnitFaultCode::Jammed,
     "The document feeder of the scanner %s is jammed. Open it, remove the paper and start again."},
    {SANE_STATUS_NO_DOCS, UnitFaultCode::NoDocuments,
     "The document feeder of the scanner %s is empty. Load the documents and start again."},
    {SANE_STATUS_COVER_OPEN, UnitFaultCode::CoverOpen,
     "The cover of the scanner %s is open. Close it and start again."},
    {SANE_STATUS_IO_ERROR, UnitFaultCode::InputOutput,
     "The communication with the scanner %s failed (input/output error). Check its power and its cable or network "
     "connection, and start again."},
    {SANE_STATUS_NO_MEM, UnitFaultCode::NoMemory,
     "The scanner %s or its driver ran out of memory. Scan a smaller area or at a lower resolution."},
    {SANE_STATUS_ACCESS_DENIED, UnitFaultCode::AccessDenied,
     "Access to the scanner %s was denied. For a scanner on the network check the user name and the password; for "
     "a local one become a member of the group that owns the device (\"adduser NAME scanner\" as root, then log in "
     "again) or install the driver's udev rule."},
};

constexpr const char* kNoSuchDevice =
    "There is no scanner %s. Check that it is switched on and connected, and choose one from the list of scanners.";

}  // namespace

UnitFault saneFault(SANE_Status status, const std::string& device, SaneStep step, std::string_view detail) {
  UnitFault fault{UnitFaultCode::Other, "The scanner %s failed with an unknown status. Start the scan again."};
  for (const StatusText& t : kTexts)
    if (t.status == status) fault = {t.code, t.text};
  if (step == SaneStep::Open && status == SANE_STATUS_INVAL) fault.text = kNoSuchDevice;
  fault.text = formatText(Supp_Translate(fault.text), {device});
  if (!detail.empty()) fault.text.append(" (").append(detail).append(")");
  return fault;
}

void checkSane(SANE_Status status, const std::string& device, SaneStep step, std::string_view detail) {
  if (status == SANE_STATUS_GOOD) return;
  throw UnitFaultException(saneFault(status, device, step, detail));
}

UnitFault stoppedFault(const std::string& device) {
  return {UnitFaultCode::Cancelled, formatText(Supp_Translate("The scan on %s was stopped."), {device})};
}

}  // namespace quillbay
