#include "recovery/sleep_inhibitor.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLoggingCategory>
#include <utility>

namespace desktop {

namespace {

Q_LOGGING_CATEGORY(logSleep, "quillbay.sleep", QtInfoMsg)
constexpr int kAnswerMs = 5000;

/// Sends a call and hands its answer over; nothing when `owner` has gone meanwhile.
template <class Reply, class Handle>
void ask(const QDBusConnection& bus, const QDBusMessage& call, QObject* owner, Handle handle) {
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kAnswerMs), owner);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner, [handle](QDBusPendingCallWatcher* done) {
    const Reply reply = *done;
    done->deleteLater();
    handle(reply);
  });
}

}  // namespace

const SleepInhibitor::Service SleepInhibitor::kServices[] = {
    {"org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit"},
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver"},
};

SleepInhibitor::SleepInhibitor(QObject* parent)
    : SleepInhibitor(QDBusConnection::systemBus(), QDBusConnection::sessionBus(), parent) {}

SleepInhibitor::SleepInhibitor(const QDBusConnection& system, const QDBusConnection& session, QObject* parent)
    : QObject(parent), m_system(system), m_session(session) {}

SleepInhibitor::~SleepInhibitor() { letGo(); }

void SleepInhibitor::take(const QString& why) {
  if (std::exchange(m_wanted, true)) return;
  m_why = why;
  const int turn = ++m_turn;
  auto call = QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                             "org.freedesktop.login1.Manager", "Inhibit");
  call << "sleep:idle" << QCoreApplication::applicationName() << why << "block";
  ask<QDBusPendingReply<QDBusUnixFileDescriptor>>(m_system, call, this, [this, turn](const auto& reply) {
    if (turn != m_turn) return;  // what came with the answer is closed by that
    if (!reply.isError()) {
      m_lock = reply.value();
      emit changed();
      return;
    }
    qCDebug(logSleep) << "no login manager:" << reply.error().message();
    for (const Service& service : kServices) askDesktop(service);
  });
}

void SleepInhibitor::askDesktop(const Service& service) {
  auto call = QDBusMessage::createMethodCall(service.name, service.path, service.interface, "Inhibit");
  call << QCoreApplication::applicationName() << m_why;
  const int turn = m_turn;
  ask<QDBusPendingReply<uint>>(m_session, call, this, [this, turn, &service](const auto& reply) {
    if (reply.isError()) {
      qCDebug(logSleep) << service.name << reply.error().message();
      return;
    }
    const Cookie cookie{&service, reply.value()};
    if (turn != m_turn) return giveBack(cookie);
    m_cookies.push_back(cookie);
    emit changed();
  });
}

void SleepInhibitor::giveBack(const Cookie& cookie) {
  auto call = QDBusMessage::createMethodCall(cookie.service->name, cookie.service->path, cookie.service->interface,
                                             "UnInhibit");
  call << cookie.number;
  m_session.send(call);
}

void SleepInhibitor::letGo() {
  if (!std::exchange(m_wanted, false)) return;
  ++m_turn;
  m_lock = {};
  for (const Cookie& cookie : std::exchange(m_cookies, {})) giveBack(cookie);
  emit changed();
}

}  // namespace desktop
