#pragma once
#include <stdexcept>
#include <string>
#include <utility>

namespace quillbay {

/// Base of every exception that the libraries throw. `what()` is a sentence for users: what failed,
/// on which file or device, and what to do. UTF-8.
class CXException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// An object lacks an interface or an operation that was needed.
class CXIFaceException : public CXException {
 public:
  using CXException::CXException;
};

/// Memory or scratch space ran out.
class CXMemException : public CXException {
 public:
  using CXException::CXException;
};

/// A file or folder could not be read or written.
class CXFileException : public CXException {
 public:
  CXFileException(const std::string& text, std::string path, int error = 0)
      : CXException(text), m_path(std::move(path)), m_error(error) {}
  [[nodiscard]] const std::string& path() const noexcept { return m_path; }
  /// The system's error number, 0 when there is none.
  [[nodiscard]] int systemError() const noexcept { return m_error; }

 private:
  std::string m_path;
  int m_error;
};

/// A scanner refused or failed.
class CXDeviceException : public CXException {
 public:
  using CXException::CXException;
};

}  // namespace quillbay
