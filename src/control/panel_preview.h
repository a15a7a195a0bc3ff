#pragma once
#include <memory>
#include <utility>

#include "control/preview_spot.h"
#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/preview_page.h"

namespace quillbay {

class PanelForm;

/// A panel's preview page and its place: a tab, a column, or a window. Without a page all of it does nothing.
/// User-interface thread only.
class PanelPreview {
 public:
  explicit PanelPreview(KxPtr<CSharedScanParams> params) : m_params(std::move(params)) {}
  /// `panel` and `form` outlive this object.
  void create(IPanelController& controller, QWidget* panel, const PanelForm& form);
  [[nodiscard]] IPreviewPage* page() const noexcept { return m_page.get(); }

  /// Moves the page where it belongs in a panel of this layout.
  void lay(bool full);
  /// A page that floats comes with the panel, as one that floated when the program ended does the first time.
  void panelShown();
  /// A page that floats goes with the panel.
  void panelHidden() const;
  /// Returns 0 when it is so already.
  int dock();
  int floatOut();
  /// In front of the settings.
  void show() const;
  /// Whether the scan area is another one than the frame was placed in.
  [[nodiscard]] bool isNewArea() const { return !(m_params->values().rcScan == m_area); }
  /// Puts the first frame into the scan area, with a view's `aspect` (height / width).
  void placeFrame(double aspect);
  /// The area was changed by a run: the frame stays where it is.
  void keepFrame();
  /// The panel is being closed: no window stays behind.
  void close() const;

 private:
  [[nodiscard]] KxPtr<IParam> section() const;
  void setFloating(bool floats);
  void moveTo(PreviewSpot spot);

  KxPtr<CSharedScanParams> m_params;
  QWidget* m_panel = nullptr;
  const PanelForm* m_form = nullptr;
  std::unique_ptr<IPreviewPage> m_page;
  PreviewSpot m_spot = PreviewSpot::Hidden;
  tagRRECT m_area{};  // that the frame was placed in
  bool m_full = true;
  bool m_floats = false;
  bool m_wasShown = false;
};

}  // namespace quillbay
