#pragma once
#include <functional>

#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "quillbay/tools.h"
#include "widgets/dialog.h"

class QLabel;

namespace quillbay {

/// What a tool of the host needs of the colour page.
struct ToolSurroundings {
  std::function<void()> changed;                   ///< the user changed something
  std::function<int(ToolPicture* out)> picture;    ///< see `IToolSite::GetPicture`
  std::function<int(IPanelTool* tool)> startPick;  ///< see `IToolSite::Pick`
  std::function<void(IPanelTool* tool)> endPick;
};

/// Shows a tool of the host over all of its area. Without a tool it shows a sentence that says so, and loading and
/// saving return 0.
class ToolHold : public CDialog, public IToolSite {
 public:
  ~ToolHold() override;

  /// Makes the tool `name` of the host `app`.
  void makeTool(IApp* app, const char* name, ToolSurroundings surroundings);
  [[nodiscard]] bool hasTool() const noexcept { return static_cast<bool>(m_tool); }
  int Load(IParam* params);
  int Save(IParam* params);
  /// Shows the tool's values and the picture again.
  void refresh();

  // IToolSite
  void ToolChanged() override;
  int GetPicture(ToolPicture* out) override;
  int Pick() override;
  void EndPick() override;

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  /// `missing`: the sentence without a tool; English.
  ToolHold(QWidget* parent, const char* missing);
  void resizeEvent(QResizeEvent* event) override;
  bool event(QEvent* event) override;

 private:
  KxPtr<IPanelTool> m_tool;
  QWidget* m_window = nullptr;  // the tool's
  QLabel* m_missing;
  ToolSurroundings m_surroundings;
};

}  // namespace quillbay
