#include "stdout_page.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "failure.h"
#include "translated.h"

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;

[[noreturn]] void fail(const std::string& what, int error) {
  throw Failure(kOutput, what + ": " + std::strerror(error));
}

void writeAll(const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t done = write(STDOUT_FILENO, bytes, size);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) fail(translated("standard output cannot be written"), errno);
    bytes += done, size -= static_cast<std::size_t>(done);
  }
}

}  // namespace

StdoutPage::StdoutPage() {
  if (isatty(STDOUT_FILENO) != 0) {
    throw Failure(kUsage,
                  translated("-o -: standard output is a terminal; redirect it to a file or another program"));
  }
  const char* set = std::getenv("TMPDIR");
  m_folder = std::string(set && *set ? set : "/var/tmp") + "/quillbay-scan-XXXXXX";
  if (!mkdtemp(m_folder.data())) fail(translated("-o -: the folder %s cannot be made", {m_folder}), errno);
}

StdoutPage::~StdoutPage() {
  std::error_code error;  // what remains is left to the system's cleaning of temporary files
  std::filesystem::remove_all(m_folder, error);
}

void StdoutPage::send(const std::string& file) {
  const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) fail(translated("%s cannot be read", {file}), errno);
  std::vector<char> piece(kPiece);
  try {
    for (;;) {
      const ssize_t got = read(fd, piece.data(), piece.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) fail(translated("%s cannot be read", {file}), errno);
      if (got == 0) break;
      writeAll(piece.data(), static_cast<std::size_t>(got));
    }
  } catch (...) {
    close(fd);
    throw;
  }
  close(fd);
}
