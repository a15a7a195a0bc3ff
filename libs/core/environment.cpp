#include <pwd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <ctime>

#include "platform/base_services.h"

namespace quillbay {
namespace {

std::atomic<std::string (*)()> g_userName{nullptr};
std::atomic<std::int64_t (*)()> g_now{nullptr};

}  // namespace

std::string userName() {
  if (const auto injected = g_userName.load(std::memory_order_acquire)) return injected();
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found) return found->pw_name;
  // A user without an entry, as in a container: the environment may know a name, the number always is one.
  if (const char* name = std::getenv("USER"); name && *name) return name;
  return toText(static_cast<std::int64_t>(::getuid()));
}

std::int64_t now() {
  if (const auto injected = g_now.load(std::memory_order_acquire)) return injected();
  return static_cast<std::int64_t>(std::time(nullptr));
}

void setEnvironment(const Environment& environment) {
  g_userName.store(environment.userName, std::memory_order_release);
  g_now.store(environment.now, std::memory_order_release);
}

}  // namespace quillbay
