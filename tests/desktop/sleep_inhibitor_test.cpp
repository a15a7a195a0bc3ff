// On a private message bus, with a login manager and a desktop of the test's own.
#include <fcntl.h>
#include <unistd.h>

#include <QDBusContext>

#include "desktop_fixture.h"
#include "recovery/sleep_inhibitor.h"

namespace desktop {

class FakeLogin : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
 public:
  /// Whether a lock that was given out is still open.
  [[nodiscard]] bool isHeld() const {
    char byte = 0;
    return m_read >= 0 && ::read(m_read, &byte, 1) < 0;  // nothing to read yet, and no end
  }
  QStringList asked;

 public slots:
  QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why,
                                  const QString& mode) {
    asked += {what, who, why, mode};
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return {};
    m_read = ends[0];
    QDBusUnixFileDescriptor lock;
    lock.giveFileDescriptor(ends[1]);
    return lock;
  }

 private:
  int m_read = -1;
};

class FakeScreenSaver : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")
 public:
  int held = 0;

 public slots:
  uint Inhibit(const QString&, const QString&) {
    ++held;
    return 42;
  }
  void UnInhibit(uint cookie) { held -= cookie == 42 ? 1 : 100; }
};

namespace {

class Sleep : public DesktopTest {
 protected:
  void SetUp() override {
    m_daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
    if (!m_daemon.waitForStarted() || !m_daemon.waitForReadyRead()) GTEST_SKIP() << "there is no dbus-daemon";
    m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
  }
  void TearDown() override {
    for (const char* name : {"login", "saver", "ours"}) QDBusConnection::disconnectFromBus(name);
    m_daemon.terminate();
    m_daemon.waitForFinished();
  }
  [[nodiscard]] QDBusConnection bus(const char* name) const {
    return QDBusConnection::connectToBus(m_address, name);
  }

 private:
  QProcess m_daemon;
  QString m_address;
};

TEST_F(Sleep, TheLoginManagersLockIsHeldFromTakeToLetGo) {
  FakeLogin login;
  auto theirs = bus("login");
  ASSERT_TRUE(theirs.registerObject("/org/freedesktop/login1", &login, QDBusConnection::ExportAllSlots));
  ASSERT_TRUE(theirs.registerService("org.freedesktop.login1"));
  SleepInhibitor inhibitor(bus("ours"), bus("ours"));
  inhibitor.take("why");
  inhibitor.take("again");
  ASSERT_TRUE(waitFor([&] { return inhibitor.isHeld(); }));
  EXPECT_EQ(login.asked.size(), 4) << "asked once";
  EXPECT_EQ(login.asked[0], "sleep:idle");
  EXPECT_EQ(login.asked[2], "why");
  EXPECT_TRUE(login.isHeld());
  inhibitor.letGo();
  EXPECT_TRUE(waitFor([&] { return !login.isHeld(); }));

  inhibitor.take("a scan that ends at once");
  inhibitor.letGo();  // before the answer, whose lock must not stay
  EXPECT_TRUE(waitFor([&] { return login.asked.size() == 8 && !login.isHeld(); }));
  EXPECT_FALSE(inhibitor.isHeld());
}

TEST_F(Sleep, WithoutALoginManagerTheDesktopIsAsked) {
  FakeScreenSaver saver;
  auto theirs = bus("saver");
  ASSERT_TRUE(theirs.registerObject("/org/freedesktop/ScreenSaver", &saver, QDBusConnection::ExportAllSlots));
  ASSERT_TRUE(theirs.registerService("org.freedesktop.ScreenSaver"));
  SleepInhibitor inhibitor(bus("ours"), bus("ours"));
  inhibitor.take("why");
  ASSERT_TRUE(waitFor([&] { return inhibitor.isHeld(); }));
  EXPECT_EQ(saver.held, 1);
  inhibitor.letGo();
  EXPECT_TRUE(waitFor([&] { return saver.held == 0; }));
}

}  // namespace
}  // namespace desktop

#include "sleep_inhibitor_test.moc"
