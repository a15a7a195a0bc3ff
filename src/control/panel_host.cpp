#include "control/panel_host.h"

#include "control/told_events.h"

#include "platform/base_services.h"
#include "quillbay/host_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

int harmlessAnswer(EventButtons buttons) {
  switch (buttons) {
    case EventButtons::YesNo: return static_cast<int>(EventAnswer::No);
    case EventButtons::Ok: return static_cast<int>(EventAnswer::Ok);
    default: return static_cast<int>(EventAnswer::GiveUp);
  }
}

}  // namespace

PanelHost::PanelHost(const PanelLife& life, KxPtr<CSharedScanParams> params, IScriptCmdSink* script)
    : m_life(life), m_params(std::move(params)), m_script(KxPtr<IScriptCmdSink>::share(script)) {
  enterEvents();
}

PanelHost::~PanelHost() { leaveEvents(); }

void PanelHost::enterEvents() const {
  m_eventsOf = KxPtr<IApp>::share(m_params->app());
  m_events = CTimerEvents::enter(m_eventsOf.get(), [params = m_params] {
    const ScanValues& values = params->values();
    return AnswerSettings{values.autoAnswer != 0, values.autoAnswerDelay};
  });
}

void PanelHost::leaveEvents() const noexcept {
  if (m_events) m_events->leave();
  m_events = nullptr;
}

KxPtr<IEvents> PanelHost::events() const {
  if (m_eventsOf.get() != m_params->app()) {
    leaveEvents();
    enterEvents();
  }
  return m_events ? KxPtr<IEvents>::share(m_events.get()) : KxPtr<IEvents>{};
}

int PanelHost::execCommand(const char* command, IParam* arguments) const {
  if (!m_script) return 0;
  return callOutside(m_life, [&] { return m_script->ExecCommand(command, arguments); });
}

int PanelHost::show(const std::string& text, EventButtons buttons,
                    const std::function<int(IEvents&)>& shown) const {
  callOutside(m_life, [&] { m_listeners.message(splitEventText(text).text); });
  if (const auto host = events()) return callOutside(m_life, [&] { return shown(*host); });
  logLine(LogLevel::Warning, "quillbay.control", text);
  return harmlessAnswer(buttons);
}

int PanelHost::message(EventKind kind, const std::string& text, EventButtons buttons) const {
  return show(text, buttons, [&](IEvents& events) {
    return events.Message(static_cast<int>(kind), text.c_str(), 0, static_cast<int>(buttons));
  });
}

int PanelHost::ask(EventKind kind, const std::string& text, EventButtons buttons) const {
  return show(text, buttons, [&](IEvents& events) {
    return events.Message(static_cast<int>(kind), text.c_str(), kMessageForUser, static_cast<int>(buttons));
  });
}

int PanelHost::event(int code, const std::string& text, EventButtons buttons) const {
  return show(text, buttons,
              [&](IEvents& events) { return events.Event(code, text.c_str(), static_cast<int>(buttons)); });
}

void PanelHost::note(const std::string& text) const {
  if (const auto host = events()) host->Note("quillbay.control", text.c_str());
}

KxPtr<IEvents> PanelHost::toldEvents() const {
  auto host = events();
  return host ? KxPtr<IEvents>::adopt(new ToldEvents(std::move(host), m_listeners)) : KxPtr<IEvents>{};
}

bool PanelHost::isInteractive() const {
  const auto interior = query<IAppInterior>(m_params->app());
  return !interior || interior->IsInteractive() != 0;
}

bool PanelHost::clearRasters(ClearFor what, bool inRun) const {
  const auto set = new_MemParam();
  if (m_params->values().multiPage) set->SetValue(script_key::MultiPage, 1);
  if (what == ClearFor::Connection) set->SetValue(script_key::Connect, 1);
  if (what == ClearFor::Preview) set->SetValue(script_key::Prescan, 1);
  if (inRun) set->SetValue(script_key::BatchScan, 1);
  return execCommand(script_key::ClearAllRasters, set.get()) == 0;
}

}  // namespace quillbay
