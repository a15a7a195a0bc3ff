#pragma once
#include <atomic>
#include <optional>

#include "control/panel_parts.h"
#include "quillbay/scan_buffer.h"
#include "stores/preview_stor.h"

namespace quillbay {

/// The picture of a search scan in the preview, so that the user sees what was searched, and what was found on it.
/// It takes the place of the preview's picture until the search has ended; a search that found nothing gives it
/// back. User-interface thread only, but for the sink.
class SearchPicture {
 public:
  explicit SearchPicture(PanelParts& parts);
  ~SearchPicture();
  SearchPicture(const SearchPicture&) = delete;
  SearchPicture& operator=(const SearchPicture&) = delete;

  /// A scan of `request` starts: returns the sink that shows it and passes everything on to `target`, which
  /// outlives it; `target` itself where the panel has no preview.
  [[nodiscard]] KxPtr<IScanSink> begin(IParam* request, IScanSink* target);
  /// Shows what has come.
  void show() const;
  /// The scan has ended: what came is complete.
  void complete() const;
  /// The search has ended. `keeps`: its picture stays.
  void settle(bool keeps);

 private:
  class Sink;
  struct Before {
    KxPtr<ISStripStor> store;
    tagRRECT place;
  };
  PanelParts& m_parts;
  std::optional<Before> m_before;  // the search: what it replaced
  KxPtr<Sink> m_sink;
  tagRRECT m_area{};        // of the scan; its length may be unknown
  std::int32_t m_mode = 0;  // of the scan
};

}  // namespace quillbay
