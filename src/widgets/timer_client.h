#pragma once
#include <QPointer>

#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Notified when a countdown expires. User-interface thread.
class ITIMER_CLIENT : public IKxUnknown {
 public:
  virtual int Fire() = 0;
};

/// What a sync client notifies.
class ITimerSync : public IKxUnknown {
 public:
  virtual int OnTimer(int value) = 0;
};

/// Posts a command to a dialog; nothing when the dialog was destroyed.
class CWND_CLIENT final : public CKxUnknownImpl<ITIMER_CLIENT> {
 public:
  CWND_CLIENT(QObject* dialog, int id, int code) : m_dialog(dialog), m_id(id), m_code(code) {}
  int Fire() override;

 private:
  QPointer<QObject> m_dialog;
  int m_id, m_code;
};

/// Calls a function with its argument.
class CCALLBACK_CLIENT final : public CKxUnknownImpl<ITIMER_CLIENT> {
 public:
  CCALLBACK_CLIENT(void (*function)(void*), void* argument) : m_function(function), m_argument(argument) {}
  int Fire() override;

 private:
  void (*m_function)(void*);
  void* m_argument;
};

/// Notifies an object with a value; holds the object.
class CSYNC_CLIENT final : public CKxUnknownImpl<ITIMER_CLIENT> {
 public:
  CSYNC_CLIENT(ITimerSync* object, int value) : m_object(KxPtr<ITimerSync>::share(object)), m_value(value) {}
  int Fire() override;

 private:
  KxPtr<ITimerSync> m_object;
  int m_value;
};

}  // namespace quillbay
