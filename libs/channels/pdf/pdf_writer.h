#pragma once
#include <memory>

#include "channels/pdf/pdf_document.h"
#include "channels/pdf/pdf_page.h"

namespace quillbay {

/// Adds pages to a file.
class PdfWriter {
 public:
  /// Throws ModuleError for a file that takes no page.
  explicit PdfWriter(const QbFile* file) : m_file(file), m_state(stateForAdding(file)), m_before(m_state) {}
  [[nodiscard]] std::int32_t pages() const noexcept { return static_cast<std::int32_t>(m_state.tree.count()); }
  void begin(const QbPage& page, const QbOptions* options) {
    m_before = m_state;
    m_page = std::make_unique<PdfPage>(m_file, m_state, page, options);
  }
  void write(const QbBlock& block) { m_page->write(block); }
  void end() {
    m_state = m_page->finish();
    m_page = nullptr;
  }
  void drop() noexcept {
    m_page = nullptr;
    m_state = m_before;
  }

 private:
  EdgeFile m_file;
  PdfState m_state;   // with the page that was ended last
  PdfState m_before;  // without it
  std::unique_ptr<PdfPage> m_page;
};

}  // namespace quillbay
