#include <QCoreApplication>
#include <QPointer>
#include <QThread>

#include "control/maindlg.h"
#include "control/panel_window.h"
#include "entry/entry_thread.h"
#include "platform/base_services.h"
#include "quillbay/quillbay.h"

namespace quillbay {

bool onEntryThread(const char* entryPoint) {
  if (QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread())
    return true;
  logLine(LogLevel::Error, "quillbay.entry", std::string(entryPoint) + " needs a QApplication, on its thread");
  return false;
}

HWND New_Quillbay(IApp* app, CWnd* parent, IKxView* view, IScriptCmdSink* script, IQuillbaySink** out,
                  eTarnwellMode mode) {
  if (!onEntryThread("New_Quillbay")) return nullptr;
  // Owned by `parent`, which the host may destroy while a message is shown.
  const QPointer<PanelWindow> window(new PanelWindow(parent));
  auto* panel = new CMaindlg(app, view, window, script, mode);
  window->hold(panel);
  const KxPtr<IQuillbaySink> sink = KxPtr<IQuillbaySink>::share(panel->sink());
  if (!panel->ConnectScanner() || !window || !panel->StartUp() || !window) {
    delete window.data();
    return nullptr;
  }
  if (out) *out = KxPtr(sink).detach();
  return window.data();
}

}  // namespace quillbay
