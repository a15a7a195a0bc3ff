#pragma once
#include <QWidget>

namespace quillbay {

class CMaindlg;

/// The window that a host gets and may destroy at any moment, also in a call that the panel makes to it. What is in
/// it goes with it, but the panel's object only when its last call has come back.
class PanelWindow final : public QWidget {
 public:
  explicit PanelWindow(QWidget* parent);
  ~PanelWindow() override;
  /// Takes the panel in, which must have been made for this window.
  void hold(CMaindlg* panel);

 private:
  CMaindlg* m_panel = nullptr;
};

}  // namespace quillbay
