#include "widgets/tick_source.h"

#include <QTimer>
#include <chrono>

namespace quillbay {

namespace {
class PlatformTicks final : public TickSource {
 public:
  void start(int milliseconds, std::function<void()> tick) override {
    m_timer.disconnect();
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [tick = std::move(tick)] {
      const auto copy = tick;  // it may destroy this timer, and itself with it
      copy();
    });
    m_timer.start(milliseconds);
  }
  void stop() override { m_timer.stop(); }

 private:
  QTimer m_timer;
};
}  // namespace

std::int64_t steadyMilliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

std::unique_ptr<TickSource> platformTicks() { return std::make_unique<PlatformTicks>(); }

}  // namespace quillbay
