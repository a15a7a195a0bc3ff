#pragma once
#include <string>
#include <string_view>

#include "control/host_changes.h"
#include "control/panel_parts.h"

namespace quillbay {

/// A panel's settings for its host and for the disk: loaded, saved, read and changed by name. A burst's moved area
/// is never one of them. While a page runs, what the host changes waits until it has ended. User-interface thread
/// only, but for `add`.
class PanelSettings {
 public:
  explicit PanelSettings(PanelParts& parts) : m_parts(parts) {}

  /// Loads destination and pages. Returns the layout.
  [[nodiscard]] int load() const;
  /// Returns 1, or 0 when the host could not write (it has said why).
  int save(int layout) const;

  int setParam(std::string_view key, const CKxVariant& value, std::string* why);
  int getParam(std::string_view key, CKxVariant* out) const;
  /// What every page of the mode and the destination hold.
  void getPageParams(IParam* out) const;
  /// A set of the host's for the pages; copied. Any thread.
  void add(IParam* set) { m_changes.add(set); }
  /// Applies a preset to all pages, or keeps it while a page runs. Returns 1, or 0 when there is none that holds
  /// anything for them.
  int applyPreset(std::int32_t id);
  /// Applies what waits, unless a page runs.
  void applyWaiting();

 private:
  void applySet(IParam* set) const;

  PanelParts& m_parts;
  HostChanges m_changes;
};

}  // namespace quillbay
