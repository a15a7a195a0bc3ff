#pragma once
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace quillbay {

/// User names and passwords for SANE resources. The environment (QUILLBAY_SANE_USER, QUILLBAY_SANE_PASSWORD) comes
/// first; otherwise the user is asked, once per resource, and the answer serves every later request for it, until
/// `forget`. Thread-safe; no lock is held while the user is asked.
class SaneAuth {
 public:
  /// Asks for a line of text (`secret`: hidden); false without an answer.
  using Ask = std::function<bool(const std::string& prompt, bool secret, std::string* answer)>;

  /// Stores what SANE wants for `resource`, which may carry "$MD5$" and a random text: then the password is
  /// "$MD5$" and the digest of that text and the password. Both are empty if unknown.
  void answer(std::string_view resource, const Ask& ask, std::string* user, std::string* password);
  /// Drops the answers, so that the next request asks again: they were refused.
  void forget();

 private:
  struct Login {
    std::string user, password;
  };
  Login find(const std::string& resource, const Ask& ask);

  std::mutex m_mutex;
  std::map<std::string, Login> m_known;
};

}  // namespace quillbay
