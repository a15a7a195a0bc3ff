#pragma once
#include <memory>
#include <set>
#include <vector>

#include "channels/codec/module_support.h"
#include "channels/pdf/pdf_source.h"
#include "channels/pdf/pdf_update.h"
#include "channels/pdf/qpdf.h"

namespace quillbay {

/// A document that exists. libqpdf reads its structure; nothing of it is repaired.
class PdfDocument {
 public:
  /// Throws ModuleError for a file that is damaged, incomplete or protected by a password.
  explicit PdfDocument(const QbFile* file);
  [[nodiscard]] QPDF& qpdf() noexcept { return *m_qpdf; }
  [[nodiscard]] const PdfEnd& end() const noexcept { return m_end; }
  [[nodiscard]] const std::vector<QPDFObjectHandle>& pages() const noexcept { return m_pages; }
  /// Whether each node says as many pages as are below it.
  [[nodiscard]] bool countsFit() const noexcept { return m_countsFit; }

 private:
  std::int64_t collect(const QPDFObjectHandle& node, int depth, std::set<QPDFObjGen>& seen);

  PdfEnd m_end;
  std::unique_ptr<QPDF> m_qpdf;
  std::vector<QPDFObjectHandle> m_pages;
  bool m_countsFit = true;
};

/// What adding a page must know of a file; an empty one is not started. Throws ModuleError for a file that takes no
/// page: one that is not a whole PDF, is encrypted or signed.
[[nodiscard]] PdfState stateForAdding(const QbFile* file);

}  // namespace quillbay
