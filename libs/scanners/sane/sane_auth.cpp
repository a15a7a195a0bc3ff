#include "scanners/sane/sane_auth.h"

#include <cstdlib>

#include "platform/base_services.h"
#include "scanners/sane/md5.h"

namespace quillbay {

namespace {

constexpr std::string_view kMd5 = "$MD5$";
constexpr std::size_t kMaxLength = 127;  // SANE_MAX_USERNAME_LEN and SANE_MAX_PASSWORD_LEN without the terminator

}  // namespace

SaneAuth::Login SaneAuth::find(const std::string& resource, const Ask& ask) {
  const char* user = std::getenv("QUILLBAY_SANE_USER");
  const char* password = std::getenv("QUILLBAY_SANE_PASSWORD");
  if (user && password) return {user, password};
  {
    const std::lock_guard lock(m_mutex);
    if (const auto it = m_known.find(resource); it != m_known.end()) return it->second;
  }
  Login login;
  if (user) login.user = user;
  const bool known =
      (user || ask(formatText(Supp_Translate("User name for the scanner %s:"), {resource}), false, &login.user)) &&
      ask(formatText(Supp_Translate("Password for the scanner %s:"), {resource}), true, &login.password);
  if (!known) {
    login = {};
    logLine(LogLevel::Warning, "quillbay.scanner",
            "no password for " + resource + ": set QUILLBAY_SANE_USER and QUILLBAY_SANE_PASSWORD");
  }
  const std::lock_guard lock(m_mutex);
  m_known[resource] = login;
  return login;
}

void SaneAuth::answer(std::string_view resource, const Ask& ask, std::string* user, std::string* password) {
  const auto scheme = resource.find(kMd5);
  const Login login = find(std::string(resource.substr(0, scheme)), ask);
  *user = login.user.substr(0, kMaxLength);
  *password = login.password.substr(0, kMaxLength);
  if (scheme == std::string_view::npos || user->empty()) return;
  const std::string_view salt = resource.substr(scheme + kMd5.size(), kMaxLength + 1);
  *password = std::string(kMd5) + md5Hex(std::string(salt) + *password);
}

void SaneAuth::forget() {
  const std::lock_guard lock(m_mutex);
  m_known.clear();
}

}  // namespace quillbay
