#pragma once
#include <locale.h>

#include <cstdlib>

#include "support/temp_dir.h"

namespace quillbay::test {

/// Makes "de_DE.UTF-8" known to the process, built from the system's sources when it is not installed.
class GermanLocale {
 public:
  GermanLocale() {
    m_usable = opens();
    if (m_usable) return;
    const std::string make = "localedef -i de_DE -f UTF-8 '" + m_dir.file("de_DE.UTF-8") + "' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0) return;
    ::setenv("LOCPATH", m_dir.path().c_str(), 1);
    m_usable = opens();
  }
  ~GermanLocale() { ::unsetenv("LOCPATH"); }
  GermanLocale(const GermanLocale&) = delete;
  GermanLocale& operator=(const GermanLocale&) = delete;
  [[nodiscard]] bool usable() const noexcept { return m_usable; }

 private:
  static bool opens() {
    const locale_t locale = ::newlocale(LC_ALL_MASK, "de_DE.UTF-8", nullptr);
    if (locale) ::freelocale(locale);
    return locale != nullptr;
  }
  TempDir m_dir;
  bool m_usable = false;
};

}  // namespace quillbay::test
