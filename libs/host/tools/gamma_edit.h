#pragma once
#include <QPointer>
#include <functional>
#include <string>

#include "host/tools/curve_set.h"
#include "host/tools/tool_base.h"

class QLabel;
class QSpinBox;
class QTabBar;

namespace quillbay {

class CurveView;

/// The curve tools: curves for all channels together and for red, green and blue, over the levels of the last
/// preview. Saves "SCAN_GAMMA" and the points it was made of.
class GammaEdit final : public ToolBase {
 public:
  /// Asks the user for a file: to save, or to open. Returns an empty text when the user gives up.
  using AskFile = std::function<std::string(QWidget* parent, bool toSave)>;
  /// @param picksPoints  with buttons for the black and the white point
  GammaEdit(KxPtr<IEvents> events, bool picksPoints, AskFile askFile = {});

  int Load(IParam* params) override;
  int Save(IParam* params) override;
  int Refresh() override;

 protected:
  void build(QWidget* window) override;
  bool take(Pick what, KXRGBQUAD color) override;

 private:
  [[nodiscard]] QWidget* fieldRow(QWidget* window);
  [[nodiscard]] QWidget* buttonRow(QWidget* window);
  void setCurves(const CurveSet& curves);
  void showPoint();
  void movePoint();
  void reset();
  void loadFile();
  void saveFile();

  const bool m_picksPoints;
  AskFile m_askFile;
  CurveSet m_curves;
  // Of the window, while it lives.
  CurveView* m_view = nullptr;
  QTabBar* m_channels = nullptr;
  QSpinBox *m_input = nullptr, *m_output = nullptr;
};

}  // namespace quillbay
