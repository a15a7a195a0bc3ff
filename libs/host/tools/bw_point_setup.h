#pragma once
#include <array>

#include "host/tools/tool_base.h"
#include "quillbay/bw_points.h"

class QGridLayout;
class QSpinBox;

namespace quillbay {

/// The black and white points of a unit that sets them itself: a level for each channel, typed or chosen in the
/// picture of the last preview. Saves "HARDBWPOINT".
class BWPointSetup final : public ToolBase {
 public:
  explicit BWPointSetup(KxPtr<IEvents> events) : ToolBase(std::move(events)) {}

  int Load(IParam* params) override;
  int Save(IParam* params) override;
  int Refresh() override;

 protected:
  void build(QWidget* window) override;
  bool take(Pick what, KXRGBQUAD color) override;

 private:
  using Fields = std::array<QSpinBox*, 3>;
  void addRow(QWidget* window, QGridLayout* grid, int row, Pick what, Fields* fields);
  void takeFields();

  BwPoints m_points;
  // Of the window, while it lives.
  Fields m_blackLevels{}, m_whiteLevels{};
};

}  // namespace quillbay
