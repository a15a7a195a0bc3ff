#pragma once
#include <stdexcept>
#include <string>

/// Exit statuses of the program; 128 + N after signal N.
enum ExitStatus : int { kDone = 0, kUsage = 1, kDevice = 2, kOutput = 3, kMedia = 4, kScript = 5, kSignal = 128 };

/// Ends the program with a status, after one line on standard error.
class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), m_status(status) {}
  [[nodiscard]] ExitStatus status() const noexcept { return m_status; }

 private:
  ExitStatus m_status;
};
