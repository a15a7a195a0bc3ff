#pragma once
#include <sane/sane.h>

#include <string>
#include <string_view>

#include "quillbay/errors.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// How the units' own code gives up a scan; becomes the unit's `UnitFault`.
class UnitFaultException : public CXDeviceException {
 public:
  explicit UnitFaultException(const UnitFault& fault) : CXDeviceException(fault.text), m_fault(fault) {}
  [[nodiscard]] const UnitFault& fault() const noexcept { return m_fault; }

 private:
  UnitFault m_fault;
};

/// What was asked of the device when it answered with a status.
enum class SaneStep : int { Open, Set, Start, Read };

/// The fault for a SANE status other than GOOD, naming the device and what to do. `detail` is added in brackets,
/// e.g. the option that was refused; may be empty.
[[nodiscard]] UnitFault saneFault(SANE_Status status, const std::string& device, SaneStep step,
                                  std::string_view detail = {});

/// Throws `saneFault` for a status other than GOOD.
void checkSane(SANE_Status status, const std::string& device, SaneStep step, std::string_view detail = {});

/// "The scan on test:0 was stopped."
[[nodiscard]] UnitFault stoppedFault(const std::string& device);

}  // namespace quillbay
