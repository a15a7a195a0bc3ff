#pragma once
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "channels/tiff/tiff_extent.h"
#include "channels/tiff/tiff_page.h"

namespace quillbay {

/// Adds pages to a TIFF, one after another.
class TiffWriter {
 public:
  /// Throws ModuleError for a file that takes no page since it is not whole.
  explicit TiffWriter(const QbFile* file) : m_file(file), m_state(stateOf(m_file)), m_before(m_state) {}
  [[nodiscard]] std::int32_t pages() const noexcept { return m_state.pages; }
  void begin(const QbPage& page, const QbOptions* options) {
    m_before = m_state;
    m_page = std::make_unique<TiffPage>(m_file, m_state, page, options);
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
  static TiffState stateOf(const EdgeFile& file) {
    try {
      TiffExtent extent(file);
      const TiffState state = readTiffChain(file, nullptr, [&](const TiffState& here, std::uint64_t at) {
        extent.check(here, at, "its page " + std::to_string(std::max(here.pages, 1)));
      });
      if (!state.isCopyAlone) return state;
      throw ModuleError(QB_E_DAMAGED, "its page is marked as a smaller copy of another one");
    } catch (const ModuleError& e) {
      if (e.code() == QB_E_FILE) throw;
      throw ModuleError(QB_E_REFUSED, e.text() + ", so no page can be added; choose another name");
    }
  }

  EdgeFile m_file;
  TiffState m_state;   // with the page that was ended last
  TiffState m_before;  // without it
  std::unique_ptr<TiffPage> m_page;
};

}  // namespace quillbay
