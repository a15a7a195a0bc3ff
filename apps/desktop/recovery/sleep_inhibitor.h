#pragma once
#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <vector>

namespace desktop {

/// Keeps the computer from going to sleep, through the login manager, or where that is missing through what the
/// desktop offers. Without either nothing happens. User-interface thread; never waits for an answer.
class SleepInhibitor : public QObject {
  Q_OBJECT
 public:
  explicit SleepInhibitor(QObject* parent = nullptr);
  SleepInhibitor(const QDBusConnection& system, const QDBusConnection& session, QObject* parent = nullptr);
  ~SleepInhibitor() override;

  /// Asks for it; `why` is shown to people who want to know what keeps the computer awake. Does nothing when it was
  /// asked for already.
  void take(const QString& why);
  void letGo();
  /// Whether an answer has come that the computer stays awake.
  [[nodiscard]] bool isHeld() const { return m_lock.isValid() || !m_cookies.empty(); }

 signals:
  /// What `isHeld` answers may have changed.
  void changed();

 private:
  /// An interface of the desktop's that gives out numbers.
  struct Service {
    const char* name;
    const char* path;
    const char* interface;
  };
  struct Cookie {
    const Service* service;
    uint number;
  };
  static const Service kServices[];
  void askDesktop(const Service& service);
  void giveBack(const Cookie& cookie);

  QDBusConnection m_system, m_session;
  QString m_why;
  int m_turn = 0;  // counts takes and let-gos: an answer of another turn comes too late
  bool m_wanted = false;
  QDBusUnixFileDescriptor m_lock;  // held as long as it is open
  std::vector<Cookie> m_cookies;
};

}  // namespace desktop
