#include <QCoreApplication>
#include <QThread>

#include "control/maindlg.h"
#include "platform/base_services.h"
#include "quillbay/quillbay.h"

namespace quillbay {

HWND New_Quillbay(IApp* app, CWnd* parent, IKxView* view, IScriptCmdSink* script, IQuillbaySink** out,
                  eTarnwellMode mode) {
  if (!QCoreApplication::instance() || QThread::currentThread() != QCoreApplication::instance()->thread()) {
    logLine(LogLevel::Error, "quillbay.entry", "New_Quillbay needs a QApplication, on its thread");
    return nullptr;
  }
  // Owned by `parent` once it is handed out; until then by this function.
  auto dialog = std::make_unique<CMaindlg>(app, view, parent, script, mode);
  if (!dialog->ConnectScanner() || !dialog->StartUp()) return nullptr;
  if (out) {
    *out = dialog->sink();
    (*out)->AddRef();
  }
  return dialog.release();
}

}  // namespace quillbay
