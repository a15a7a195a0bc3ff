#include <QPointer>
#include <exception>
#include <memory>

#include "entry/entry_thread.h"
#include "entry/holder.h"
#include "platform/base_services.h"
#include "platform/dock_bar.h"
#include "platform/host_module.h"
#include "quillbay/quillbay.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {

/// Puts a panel into the bar. False when it cannot be made.
bool fillBar(KxDockBar& bar, IApp* app, IScriptCmdSink* script, IQuillbaySink** out, eTarnwellMode mode) {
  auto holder = std::make_unique<CMHolder>(app, bar.GetWindow()).release();  // the bar's window owns it
  KxPtr<IQuillbaySink> sink;
  const HWND panel = New_Quillbay(app, holder->panelPlace(), holder->view(), script, sink.put(), mode);
  if (!panel) return false;
  holder->takePanel(panel, sink);
  sink->EnableViewSync(1);
  holder->holdScript(script);
  bar.Attach(holder);
  if (out) *out = sink.detach();
  return true;
}

KxDockBar* makeBar(IScriptCmdSink* script, IQuillbaySink** out, eTarnwellMode mode) {
  const auto app = KxPtr<IApp>::adopt(KxAcApp::GetApp());
  if (!app) {
    logLine(LogLevel::Error, "quillbay.entry", "New_QuillbayBar needs an application object: register one before");
    return nullptr;
  }
  const auto interior = query<IAppInterior>(app.get());
  KxDockBar* bar = new_DocBar(interior ? interior->GetMainWindow() : nullptr, loadString(kTextBarCaption),
                              kBarDocksAtSides | kBarFloats, kBarAtRight);
  // The host may destroy its main window, and the bar in it, while a message is shown.
  const QPointer<QWidget> window(bar->GetWindow());
  try {
    if (fillBar(*bar, app.get(), script, out, mode)) return bar;
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, "quillbay.entry", std::string("the panel's bar could not be made: ") + e.what());
  } catch (...) {
    logLine(LogLevel::Error, "quillbay.entry", "the panel's bar could not be made: an unknown error");
  }
  delete window.data();
  return nullptr;
}

}  // namespace

KxDockBar* New_QuillbayBar(IScriptCmdSink* script, IQuillbaySink** out, eTarnwellMode mode) {
  return onEntryThread("New_QuillbayBar") ? makeBar(script, out, mode) : nullptr;
}

}  // namespace quillbay
