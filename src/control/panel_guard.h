#pragma once
#include <QObject>
#include <exception>
#include <functional>
#include <string>

#include "control/outside_call.h"
#include "platform/base_services.h"

namespace quillbay {

/// Guards every call of the panel. What a host, a unit or a page throws does not leave the panel: `failed` gets its
/// text. The panel's object is deleted after its window was destroyed and its last call has returned.
class PanelGuard {
 public:
  using Failed = std::function<void(const std::string& what)>;
  explicit PanelGuard(QObject* panel) : m_panel(panel) {}
  void onFailure(Failed failed) { m_failed = std::move(failed); }
  [[nodiscard]] PanelLife& life() noexcept { return m_life; }

  /// Makes a call of the panel. Returns what it returns, or its type's zero when it failed.
  template <class F>
  std::invoke_result_t<F> guarded(F&& call) {
    const Call counted(*this);
    std::string what;
    try {
      return call();
    } catch (const WindowGone&) {
      return {};
    } catch (const std::exception& e) {
      what = e.what();
    } catch (...) {
      what = Supp_Translate("unknown error");
    }
    m_failed(what);
    return {};
  }

  /// The same for a call whose failures are its caller's; `gone` is the result when the window was destroyed in it.
  template <class F>
  std::invoke_result_t<F> passed(F&& call, std::invoke_result_t<F> gone) {
    const Call counted(*this);
    try {
      return call();
    } catch (const WindowGone&) {
      return gone;
    }
  }

  /// The window was destroyed. Returns whether the object can be deleted now.
  [[nodiscard]] bool leave() noexcept {
    m_life.gone = true;
    return m_life.calls == 0;
  }

 private:
  class Call {
   public:
    explicit Call(PanelGuard& guard) : m_guard(guard) { ++guard.m_life.calls; }
    ~Call() {
      // Later than now: a page of the panel may be on the way back to its own.
      if (--m_guard.m_life.calls == 0 && m_guard.m_life.gone) m_guard.m_panel->deleteLater();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    PanelGuard& m_guard;
  };

  QObject* m_panel;
  PanelLife m_life;
  Failed m_failed;
};

}  // namespace quillbay
