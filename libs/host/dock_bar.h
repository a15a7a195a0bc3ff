#pragma once
#include <QDockWidget>

#include "platform/dock_bar.h"

namespace quillbay {

/// The docking bar of `new_DocBar`.
class CDockBar final : public QDockWidget, public KxDockBar {
  Q_OBJECT

 public:
  CDockBar(QWidget* mainWindow, const QString& caption, std::uint32_t style, std::uint32_t place);

  int Attach(HWND window) override;
  HWND GetWindow() override { return this; }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  [[nodiscard]] BarAnswer askWindow();
  void floatAtFirst();

  const Qt::DockWidgetArea m_side;
};

}  // namespace quillbay
