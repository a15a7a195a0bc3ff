#include "control/run_record.h"

namespace quillbay {

int weightOf(EndCause cause) noexcept {
  switch (cause) {
    case EndCause::Output: return 5;
    case EndCause::Device: return 4;
    case EndCause::Refused: return 3;
    case EndCause::Stopped: return 2;
    case EndCause::Media: return 1;
    case EndCause::Done: break;
  }
  return 0;
}

void RunRecord::begin(int wanted) {
  *this = {};
  m_wanted = wanted;
}

void RunRecord::note(EndCause cause, const UnitFault& fault, bool told) {
  if (weightOf(cause) < weightOf(m_cause)) return;
  if (cause == m_cause) {
    m_isTold = m_isTold || told;
    if (m_fault.code == UnitFaultCode::None) m_fault = fault;
    return;
  }
  m_cause = cause;
  m_fault = fault;
  m_isTold = told;
}

}  // namespace quillbay
