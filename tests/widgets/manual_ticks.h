#pragma once
#include <functional>

#include "widgets/tick_source.h"

namespace quillbay {

/// A timer that a test drives.
class ManualTicks final : public TickSource {
 public:
  void start(int milliseconds, std::function<void()> tick) override {
    m_interval = milliseconds;
    m_tick = std::move(tick);
    m_since = 0;
  }
  void stop() override { m_tick = nullptr; }
  [[nodiscard]] bool runs() const { return m_tick != nullptr; }
  void pass(int milliseconds) {
    for (int i = 0; i < milliseconds; ++i) {
      if (!m_tick || ++m_since < m_interval) continue;
      m_since = 0;
      const auto copy = m_tick;
      copy();
    }
  }

 private:
  std::function<void()> m_tick;
  int m_interval = 0, m_since = 0;
};

}  // namespace quillbay
