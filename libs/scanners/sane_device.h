#pragma once
#include <sane/sane.h>

#include <string>
#include <string_view>
#include <vector>

#include "scanners/sane_option.h"

namespace quillbay {

/// An open SANE device with a copy of its options. SANE thread only, except `cancel`.
class SaneDevice {
 public:
  /// Opens the device. Throws UnitFaultException.
  explicit SaneDevice(std::string name);
  ~SaneDevice();
  SaneDevice(const SaneDevice&) = delete;
  SaneDevice& operator=(const SaneDevice&) = delete;

  [[nodiscard]] const std::string& name() const noexcept { return m_name; }
  [[nodiscard]] const std::vector<SaneOption>& options() const noexcept { return m_options; }
  /// The option of that name, or null. Valid until an option is set or read again.
  [[nodiscard]] const SaneOption* find(std::string_view name) const noexcept;
  /// The same, only when it can be set now.
  [[nodiscard]] const SaneOption* settable(std::string_view name) const noexcept;

  /// Sets an option. When the driver says that others changed, all are read again; otherwise its own value, since a
  /// driver may take another value than it was given. Throws UnitFaultException that names the option.
  void set(std::string_view name, const SaneValue& value);
  void setNumber(std::string_view name, double number);
  void setText(std::string_view name, std::string_view text);
  /// Reads an option's value again; sensors change by themselves.
  void refresh(std::string_view name);
  void reload();

  [[nodiscard]] SANE_Parameters parameters();
  [[nodiscard]] SANE_Status start();
  [[nodiscard]] SANE_Status read(std::uint8_t* to, SANE_Int room, SANE_Int* got);
  /// Any thread.
  void cancel();

 private:
  std::string m_name;
  SANE_Handle m_handle = nullptr;
  std::vector<SaneOption> m_options;
};

}  // namespace quillbay
