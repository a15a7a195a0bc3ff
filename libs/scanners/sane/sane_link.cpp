#include "scanners/sane/sane_link.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace quillbay {

namespace {

constexpr std::uint16_t kSanePort = 6566;

bool leadsToDaemon(int fd) {
  sockaddr_storage peer{};
  socklen_t size = sizeof peer;
  if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) != 0) return false;
  if (peer.ss_family == AF_INET) return ntohs(reinterpret_cast<sockaddr_in*>(&peer)->sin_port) == kSanePort;
  return peer.ss_family == AF_INET6 && ntohs(reinterpret_cast<sockaddr_in6*>(&peer)->sin6_port) == kSanePort;
}

bool isBroken(int fd) {
  tcp_info info{};
  socklen_t size = sizeof info;
  return leadsToDaemon(fd) && getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 &&
         info.tcpi_state != TCP_ESTABLISHED;
}

}  // namespace

bool hasBrokenSaneLink() {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
    if (isBroken(std::atoi(entry.path().filename().c_str()))) return true;
  }
  return false;
}

}  // namespace quillbay
