#include "widgets/timer_client.h"

#include "platform/post_command.h"

namespace quillbay {

int CWND_CLIENT::Fire() {
  if (m_dialog) PostCommand(m_dialog, m_id, m_code);
  return 1;
}

int CCALLBACK_CLIENT::Fire() {
  m_function(m_argument);
  return 1;
}

int CSYNC_CLIENT::Fire() { return m_object->OnTimer(m_value); }

}  // namespace quillbay
