#pragma once
#include <string>

/// A page on its way to standard output. The formats go back in what they have written, so that the page is written
/// into a folder of its own and copied when it is whole.
class StdoutPage {
 public:
  /// Makes the folder, in $TMPDIR or /var/tmp. Throws Failure: usage when standard output is a terminal, output
  /// when no folder can be made.
  StdoutPage();
  ~StdoutPage();  ///< deletes the folder
  StdoutPage(const StdoutPage&) = delete;
  StdoutPage& operator=(const StdoutPage&) = delete;

  [[nodiscard]] const std::string& folder() const noexcept { return m_folder; }
  /// Copies a file to standard output. Throws Failure (output).
  static void send(const std::string& file);

 private:
  std::string m_folder;
};
