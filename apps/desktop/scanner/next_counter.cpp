#include "scanner/next_counter.h"

#include "quillbay/scan_keys.h"
#include "window/program_settings.h"

namespace desktop {

namespace {
constexpr const char* kCounter = "NextCounter";

int counterOf(quillbay::IQuillbayControl& control) {
  quillbay::CKxVariant value;
  control.GetParam(quillbay::key::Counter, &value);
  return value.toInt();
}
}  // namespace

void keepCounter(ProgramSettings& settings, quillbay::IQuillbayControl& control) {
  settings.setNumber(kCounter, counterOf(control));
}

void recallCounter(const ProgramSettings& settings, quillbay::IQuillbayControl& control) {
  const int start = counterOf(control);
  const int kept = settings.number(kCounter, start);
  if (kept != start) control.SetParam(quillbay::key::Counter, kept, nullptr);
}

}  // namespace desktop
