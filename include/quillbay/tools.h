#pragma once
/// Tools that a host lends to the panel's pages: windows with settings of their own.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"

class QWidget;

namespace quillbay {

/// The names of the tools that the panel asks for.
namespace tool_name {
/// Curves, with black and white points of their own.
inline constexpr char GammaEdit[] = "GammaEdit";
/// Curves for a unit that sets its black and white points itself (`key::HardBwPoint`).
inline constexpr char GammaEditQB[] = "GammaEditQB";
/// The black and white points of such a unit.
inline constexpr char BWPointSetup[] = "BWPointSetup";
}  // namespace tool_name

/// A picture that a tool may read: rows of 32-bit pixels 0xffRRGGBB in the machine's order, top row first, `stride`
/// bytes apart. `owner` keeps them.
struct ToolPicture {
  std::int32_t width = 0, height = 0;
  std::size_t stride = 0;
  const std::uint8_t* pixels = nullptr;
  std::shared_ptr<const void> owner;
};

/// The page that shows a tool. It outlives the tool's window, or closes it. User-interface thread.
class IToolSite {
 public:
  virtual ~IToolSite() = default;
  /// The user changed something in the tool: the settings are saved and the scan follows.
  virtual void ToolChanged() = 0;
  /// The last preview without adjustments. Returns 1, or 0 while there is none.
  virtual int GetPicture(ToolPicture* out) = 0;
  /// Lets the user choose a place in the picture; `IPanelTool::Picked` follows, or `PickEnded` if the user gives
  /// up. Returns 1, or 0 while there is no picture.
  virtual int Pick() = 0;
  /// Ends that without a choice.
  virtual void EndPick() = 0;
};

/// A tool in a page. Operations return 1, or 0 when they did nothing. User-interface thread.
class IPanelTool : public IKxUnknown {
 public:
  /// Makes the tool's window as a child of `parent`, which owns it. Returns it, or null.
  virtual QWidget* Create(QWidget* parent, IToolSite* site) = 0;
  /// Puts the window into a rectangle of its parent, in pixels.
  virtual int Place(const KxRect& area) = 0;
  /// Takes over the tool's values; a missing key leaves its own, and with `key::ResetMark` in the set means the
  /// default.
  virtual int Load(IParam* params) = 0;
  /// Takes over what the user is editing.
  virtual int Apply() = 0;
  /// Stores the tool's values.
  virtual int Save(IParam* params) = 0;
  /// Shows the values and the site's picture again.
  virtual int Refresh() = 0;
  /// The colour at the place that the user chose, as the preview has it without adjustments.
  virtual int Picked(KXRGBQUAD color) = 0;
  virtual int PickEnded() = 0;
  /// The site is about to be destroyed: the window is closed.
  virtual void Close() = 0;
};

/// Makes tools by name; the panel queries the host's application object for it. Without it, or without a tool, the
/// page stays empty there.
class IToolsFactory : public IKxUnknown {
 public:
  /// A new tool with a reference, or null for a name that the host does not know. What it is, is queried from it:
  /// `IPanelTool` for one with a window, `IPrintingJob` for `tool_name::RunPrinting`.
  virtual IKxUnknown* MakeTool(std::string_view name) = 0;
};

}  // namespace quillbay
