#include "screenshots/net_shots.h"

#include "net/net_commands.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"
#include "quillbay/scan_server.h"
#include "scanner/panel_dock.h"

namespace desktop {

bool shootNet(Stage& stage) {
  const std::string folder = stage.scratch("server/hot").toStdString();
  std::string why;
  if (!quillbay::SetNetServer({folder, {"SCANPC1", "Drawing office", "Archive"}}, &why)) return false;
  if (!stage.window().setMode(quillbay::ScanToNet)) return false;
  stage.choose({210, 148}, quillbay::kModeGrey, 50);
  stage.set(quillbay::key::Mask, "plan<COUNTER>");
  for (int page = 0; page < 3; ++page) {
    stage.window().startScan();
    if (!Stage::waitFor([&] { return stage.window().panelDock().isBusy(); })) return false;
    if (!Stage::waitFor([&] { return !stage.window().panelDock().isBusy(); })) return false;
  }
  const auto queue = quillbay::OpenNetQueue();
  const bool waits = Stage::waitFor([&] {
    const auto pages = queue->GetPages();
    return pages.size() == 3 && !pages.front().why.empty();
  });
  if (!waits || !stage.save(*stage.panel(), "panel-to-net")) return false;
  const bool saved = stage.saveModal("network-scanning", [&] { (void)stage.window().net().setUp(); });
  for (const quillbay::NetPage& page : queue->GetPages()) (void)queue->Remove(page.id, &why);
  return saved;
}

}  // namespace desktop
