#include "widgets/timer_events.h"

#include <QPushButton>
#include <algorithm>
#include <utility>

#include "platform/base_services.h"
#include "widgets/message_finder.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

/// The answering of one message, for the time of its call.
class MessageAnswering {
 public:
  MessageAnswering(const AnswerSettings& settings, const std::string& productTitle)
      : m_count(settings), m_productTitle(productTitle) {}

  [[nodiscard]] const QWidget* window() const { return m_window; }
  [[nodiscard]] bool isCounting() const noexcept { return m_count.isCounting(); }

  /// A period has passed. `found` is the message window on top; null when there is none. Answers what was answered
  /// for the log; empty unless the button was pressed.
  std::string periodPassed(QWidget* found) {
    if (!m_window) m_window = found;
    if (!m_window || found != m_window) return {};  // closed, or below another window
    QPushButton* button = defaultButtonOf(*m_window);
    if (!button) return {};
    const std::string own = m_window->windowTitle().toStdString();
    const auto step = m_count.expire(own.empty() ? m_productTitle : own);
    if (!step) return {};
    m_window->setWindowTitle(QString::fromStdString(step->title));
    if (!step->press) return {};
    QMetaObject::invokeMethod(button, &QAbstractButton::click, Qt::QueuedConnection);
    return button->text().remove(QLatin1Char('&')).toStdString();
  }

  /// The user works in a window. `found` as above.
  void touched(const QWidget& window, QWidget* found) {
    if (!m_window) m_window = found;
    if (!m_window || &window != m_window) return;
    if (const auto title = m_count.stop()) m_window->setWindowTitle(QString::fromStdString(*title));
  }

 private:
  AnswerCountdown m_count;
  const std::string m_productTitle;
  QPointer<QWidget> m_window;
};

KxPtr<CTimerEvents> CTimerEvents::enter(IApp* app, Settings settings) {
  const auto own = query<IEvents>(app);
  if (!own) return {};
  auto shared = own.as<CTimerEvents>();
  if (!shared) {
    const auto product = query<IOemInfo>(app);
    shared = KxPtr<CTimerEvents>::adopt(
        new CTimerEvents(own, product ? product->GetProductTitle() : app->GetProductName(), std::move(settings)));
    auto registry = query<IInterfaceRegistry>(app);
    if (registry && registry->Register(typeid(IEvents), shared.get())) shared->m_registry = std::move(registry);
  }
  ++shared->m_panels;
  return shared;
}

void CTimerEvents::leave() {
  if (--m_panels > 0) return;
  const auto registry = std::exchange(m_registry, nullptr);
  if (registry) registry->Withdraw(typeid(IEvents), this);
}

CTimerEvents::CTimerEvents(KxPtr<IEvents> host, std::string productTitle, Settings settings,
                           std::unique_ptr<TickSource> ticks)
    : m_host(std::move(host)),
      m_productTitle(std::move(productTitle)),
      m_settings(std::move(settings)),
      m_timer(CountdownTimer::kTickMs, std::move(ticks)) {
  m_timer.addCallback([](void* self) { static_cast<CTimerEvents*>(self)->periodPassed(); }, this);
}

CTimerEvents::~CTimerEvents() = default;

int CTimerEvents::QueryInterface(const std::type_info& wanted, void** out) {
  if (wanted != typeid(CTimerEvents)) return CKxUnknownImpl::QueryInterface(wanted, out);
  AddRef();
  *out = this;
  return 1;
}

int CTimerEvents::Event(int code, const char* detail, int buttons) {
  const auto call = [&] { return m_host->Event(code, detail, buttons); };
  return answered(code != kEventNextDocument, call);
}

int CTimerEvents::Message(int kind, const char* text, int flags, int buttons) {
  return answered((flags & kMessageForUser) == 0, [&] { return m_host->Message(kind, text, flags, buttons); });
}

int CTimerEvents::answered(bool mayAnswer, const std::function<int()>& call) {
  assertUserInterfaceThread();
  const auto self = KxPtr<CTimerEvents>::share(this);  // the panel may close while the message is open
  // One that is not answered takes its turn as well: the lower ones must not take its window for theirs.
  MessageAnswering message(mayAnswer ? m_settings() : AnswerSettings{}, m_productTitle);
  struct Scope {
    CTimerEvents& events;
    MessageAnswering& message;
    ~Scope() { events.end(message); }
  };
  begin(message);
  const Scope scope{*this, message};
  return call();
}

void CTimerEvents::begin(MessageAnswering& message) {
  m_open.push_back(&message);
  if (!m_watch) m_watch = std::make_unique<TouchWatch>([this](QWidget& window) { touched(window); });
  m_timer.start(kPeriodTicks, message.isCounting());
}

void CTimerEvents::end(const MessageAnswering& message) {
  std::erase(m_open, &message);
  m_timer.halt();
  if (m_open.empty()) {
    m_watch.reset();
  } else {
    m_timer.start(kPeriodTicks, m_open.back()->isCounting());
  }
}

std::vector<const QWidget*> CTimerEvents::lowerWindows() const {
  std::vector<const QWidget*> windows;
  for (const MessageAnswering* open : m_open) {
    if (open != m_open.back() && open->window()) windows.push_back(open->window());
  }
  return windows;
}

void CTimerEvents::touched(QWidget& window) {
  MessageAnswering& message = *m_open.back();
  if (message.isCounting()) message.touched(window, findMessageWindow(lowerWindows()));
}

void CTimerEvents::periodPassed() {
  if (m_open.empty()) return;
  MessageAnswering& message = *m_open.back();
  if (!message.isCounting()) return;
  m_timer.restart();
  const std::string pressed = message.periodPassed(findMessageWindow(lowerWindows()));
  if (pressed.empty()) return;
  m_host->Note("quillbay.events",
               formatText(Supp_Translate("The message was answered automatically: %s"), {pressed}).c_str());
}

}  // namespace quillbay
