#pragma once
#include <sane/sane.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "scanners/sane/sane_option.h"

namespace quillbay {

/// A SANE device with a copy of its options; open, except after a `reopen` that failed: then only `name`,
/// `options`, `isOpen`, `cancel`, `interrupt` and another `reopen` may be called. SANE thread only, except
/// `interrupt`.
class SaneDevice {
 public:
  /// Opens the device. Throws UnitFaultException.
  explicit SaneDevice(std::string name);
  ~SaneDevice();
  SaneDevice(const SaneDevice&) = delete;
  SaneDevice& operator=(const SaneDevice&) = delete;

  /// Closes the device and opens it again, or one of another name. Throws UnitFaultException.
  void reopen(const std::string& name);
  /// Whether the driver may be asked anything: the device is open, and its daemon, if it is remote, still there.
  [[nodiscard]] bool mayAsk() const;
  [[nodiscard]] bool isOpen() const noexcept { return m_handle != nullptr; }
  [[nodiscard]] const std::string& name() const noexcept { return m_name; }
  [[nodiscard]] const std::vector<SaneOption>& options() const noexcept { return m_options; }
  /// Whether the device is another machine's, through SANE's network driver.
  [[nodiscard]] bool isRemote() const noexcept { return m_name.starts_with("net:"); }
  /// The option of that name, or null. Valid until an option is set or read again.
  [[nodiscard]] const SaneOption* find(std::string_view name) const noexcept;
  /// The same, only when it can be set now.
  [[nodiscard]] const SaneOption* settable(std::string_view name) const noexcept;

  /// Sets an option. If the driver reports that others changed, all are read again; otherwise its own value, since
  /// a driver may take another value than it was given. Throws UnitFaultException that names the option.
  void set(std::string_view name, const SaneValue& value);
  void setNumber(std::string_view name, double number);
  void setText(std::string_view name, std::string_view text);
  /// Reads an option's value again; sensors change by themselves.
  void refresh(std::string_view name);
  void reload();

  [[nodiscard]] SANE_Parameters parameters();
  /// Both answer CANCELLED without a call when `stop` is set already.
  [[nodiscard]] SANE_Status start(const std::atomic<bool>& stop);
  [[nodiscard]] SANE_Status read(std::uint8_t* to, SANE_Int room, SANE_Int* got, const std::atomic<bool>& stop);
  void cancel();
  /// Any thread, after `stop` was set: ends a `start` or `read` that blocks, by the one call that SANE allows
  /// beside them. Outside of these it does nothing, so that no two calls ever meet.
  void interrupt();

 private:
  void open();
  void close() noexcept;
  template <class Call>
  SANE_Status interruptible(const std::atomic<bool>& stop, bool mayInterrupt, Call call);
  void cancelReader();

  std::string m_name;
  SANE_Handle m_handle = nullptr;
  std::vector<SaneOption> m_options;
  std::mutex m_interruptMutex;
  bool m_mayInterrupt = false;                                       // guarded by m_interruptMutex
  std::atomic<std::chrono::steady_clock::time_point> m_startedAt{};  // until the first bytes
};

}  // namespace quillbay
