#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "channels/codec/module_support.h"
#include "channels/pdf/qpdf.h"

namespace quillbay {

/// Non-zero for the first bytes of a PDF.
[[nodiscard]] bool looksLikePdf(const std::uint8_t* head, std::size_t size) noexcept;

/// The newest complete state of a file. Bytes behind it belong to a page whose writing was cut short.
struct PdfEnd {
  std::int64_t base = 0;      ///< bytes before the head; places are counted from it
  std::int64_t end = 0;       ///< of the state, from the file's beginning
  std::int64_t lastXref = 0;  ///< the place of its list of objects
  bool isStream = false;      ///< that list is a stream
};
/// Looks for it from the end backwards. Throws ModuleError for a file without any.
[[nodiscard]] PdfEnd findPdfEnd(const EdgeFile& file);

/// The file as libqpdf reads it: from the head to the end of the newest complete state.
class PdfSource final : public InputSource {
 public:
  PdfSource(const EdgeFile& file, const PdfEnd& end) : m_file(file), m_base(end.base), m_size(end.end - end.base) {}
  qpdf_offset_t findAndSkipNextEOL() override;
  std::string const& getName() const override { return m_name; }
  qpdf_offset_t tell() override { return m_at; }
  void seek(qpdf_offset_t offset, int whence) override;
  void rewind() override { m_at = 0; }
  std::size_t read(char* out, std::size_t length) override;
  void unreadCh(char) override { seek(-1, SEEK_CUR); }

 private:
  EdgeFile m_file;
  std::int64_t m_base, m_size;
  std::int64_t m_at = 0;
  std::int64_t m_cachedAt = 0;
  std::vector<char> m_cached;
  std::string m_name = "document";
};

/// Runs a step of libqpdf: what it throws becomes a ModuleError.
template <class Step>
auto withQpdf(Step step) {
  try {
    return step();
  } catch (const ModuleError&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const QPDFExc& e) {
    if (e.getErrorCode() == qpdf_e_password) {
      throw ModuleError(QB_E_REFUSED, "the document is protected by a password; remove the protection first");
    }
    throw ModuleError(QB_E_DAMAGED, "the file is damaged (" + e.getMessageDetail() + ")");
  } catch (const std::exception& e) {
    throw ModuleError(QB_E_DAMAGED, std::string("the file is damaged (") + e.what() + ")");
  }
}

}  // namespace quillbay
