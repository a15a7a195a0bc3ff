#pragma once
#include <optional>

#include "control/panel_parts.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// The whole-bed prescan on its way into the preview. User-interface thread only.
class PrescanFeed {
 public:
  explicit PrescanFeed(PanelParts& parts) : m_parts(parts) {}

  /// A prescan is being prepared: keeps what the last one left.
  void begin();
  /// The request that the prescan is made with.
  void prepared(IParam* request);
  /// Lengthens the area where the document sets its length, shows the stripe, and keeps the frame at its end. `dpi`
  /// is the prescan's.
  void take(IScanBuffer& stripe, int dpi);
  /// The prescan is complete: what it showed replaces the last one.
  void complete();
  /// The run ends: a prescan that was not completed leaves the last one as it was. Nothing after any other run.
  void end();

 private:
  struct Kept {
    KxPtr<ISStripStor> store;
    tagRRECT scanArea, frame, place;
    std::int32_t rectValid = 0, dirty = 0;
    DetectedArea found;
  };
  void lengthen(double by) const;
  void follow(double length) const;
  void place(const tagRRECT& area) const;

  PanelParts& m_parts;
  std::optional<Kept> m_kept;
  KxPtr<IParam> m_settings;  // of the prescan that runs
};

}  // namespace quillbay
