#include <QCoreApplication>
#include <QPointer>
#include <QThread>

#include "control/maindlg.h"
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
  // Owned by `parent`, which the host may destroy while it shows a message.
  const QPointer<CMaindlg> dialog(new CMaindlg(app, view, parent, script, mode));
  if (!dialog->ConnectScanner() || !dialog || !dialog->StartUp() || !dialog) {
    delete dialog.data();
    return nullptr;
  }
  if (out) {
    *out = dialog->sink();
    (*out)->AddRef();
  }
  return dialog.data();
}

}  // namespace quillbay
