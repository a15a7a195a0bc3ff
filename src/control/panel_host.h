#pragma once
#include <functional>
#include <string>

#include "control/outside_call.h"
#include "control/run_events.h"
#include "params/shared_scan_params.h"
#include "quillbay/events.h"
#include "widgets/timer_events.h"

namespace quillbay {

/// What the host is asked to make room for. No page follows a connection or a preview.
enum class ClearFor { Connection, Preview, Scan };

/// The panel's way to its host: messages, script commands, and the listeners. All but `note` may run an event loop
/// and throw `WindowGone` when the panel's window was destroyed in it.
class PanelHost {
 public:
  PanelHost(const PanelLife& life, KxPtr<CSharedScanParams> params, IScriptCmdSink* script);
  ~PanelHost();
  PanelHost(const PanelHost&) = delete;
  PanelHost& operator=(const PanelHost&) = delete;

  /// Makes a call of a page, the destination or a step.
  template <class F>
  std::invoke_result_t<F> call(F&& f) const {
    return callOutside(m_life, std::forward<F>(f));
  }
  /// Sends a script command; 0 for success, also without a script sink.
  int execCommand(const char* command, IParam* arguments) const;
  /// Shows a message and tells the listeners of it. Returns the host's answer; a host without messages returns the
  /// harmless one.
  int message(EventKind kind, const std::string& text, EventButtons buttons) const;
  /// The same, never answered automatically: the user alone knows.
  int ask(EventKind kind, const std::string& text, EventButtons buttons) const;
  /// The same for an event by number.
  int event(int code, const std::string& text, EventButtons buttons) const;
  void note(const std::string& text) const;
  /// The host's events for the destination; null where the host has none.
  [[nodiscard]] KxPtr<IEvents> toldEvents() const;
  /// Whether a user can answer questions.
  [[nodiscard]] bool isInteractive() const;
  /// Asks the host to release its rasters; false: it refuses. `inRun`: it must not ask the user.
  [[nodiscard]] bool clearRasters(ClearFor what, bool inRun) const;

  [[nodiscard]] RunEvents& listeners() noexcept { return m_listeners; }

 private:
  /// The host's events, which answer messages automatically when the settings say so; null where it has none.
  [[nodiscard]] KxPtr<IEvents> events() const;
  void enterEvents() const;
  void leaveEvents() const noexcept;
  int show(const std::string& text, EventButtons buttons, const std::function<int(IEvents&)>& shown) const;

  const PanelLife& m_life;
  KxPtr<CSharedScanParams> m_params;
  KxPtr<IScriptCmdSink> m_script;
  mutable KxPtr<CTimerEvents> m_events;
  mutable KxPtr<IApp> m_eventsOf;  // the application that they are registered with
  RunEvents m_listeners;
};

}  // namespace quillbay
