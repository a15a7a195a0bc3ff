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

KxDockBar* makeBar(IScriptCmdSink* script, IQuillbaySink** out, eTarnwellMode mode) {
  const auto app = KxPtr<IApp>::adopt(KxAcApp::GetApp());
  if (!app) {
    logLine(LogLevel::Error, "quillbay.entry", "New_QuillbayBar needs an application object: register one before");
    return nullptr;
  }
  const auto interior = query<IAppInterior>(app.get());
  KxDockBar* bar = new_DocBar(interior ? interior->GetMainWindow() : nullptr, loadString(kTextBarCaption),
                              kBarDocksAtSides | kBarFloats, kBarAtRight);
  // Both go again when the panel cannot be made.
  std::unique_ptr<QWidget> window(bar->GetWindow());
  auto holder = std::make_unique<CMHolder>(app.get(), window.get());

  KxPtr<IQuillbaySink> sink;
  const HWND panel = New_Quillbay(app.get(), holder->panelPlace(), holder->view(), script, sink.put(), mode);
  if (!panel) return nullptr;
  holder->takePanel(panel, sink);
  sink->EnableViewSync(1);
  holder->holdScript(script);
  bar->Attach(holder.release());
  if (out) *out = sink.detach();
  static_cast<void>(window.release());
  return bar;
}

}  // namespace

KxDockBar* New_QuillbayBar(IScriptCmdSink* script, IQuillbaySink** out, eTarnwellMode mode) {
  if (!onEntryThread("New_QuillbayBar")) return nullptr;
  try {
    return makeBar(script, out, mode);
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, "quillbay.entry", std::string("the panel's bar could not be made: ") + e.what());
    return nullptr;
  }
}

}  // namespace quillbay
