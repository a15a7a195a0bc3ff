#pragma once
#include <algorithm>
#include <memory>

#include "channels/pdf/pdf_document.h"
#include "channels/pdf/pdf_page.h"
#include "channels/pdf/pdf_source.h"

namespace quillbay {

/// Adds pages to a file.
class PdfWriter {
 public:
  /// Throws ModuleError for a file that takes no page.
  explicit PdfWriter(const QbFile* file) : m_file(file), m_state(stateForAdding(file)), m_before(m_state) {}
  /// Up to the last "%%EOF" with its line's end: readers look for it at the file's very end.
  [[nodiscard]] std::int64_t wholeSize() const { return std::min(findPdfEnd(m_file).end + 1, m_file.size()); }
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
