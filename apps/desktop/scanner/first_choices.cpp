#include "scanner/first_choices.h"

#include <QStandardPaths>
#include <algorithm>
#include <string>
#include <string_view>

#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"

namespace desktop {

using quillbay::KxPtr;

namespace {

constexpr std::int32_t kFirstDpi = 200;

int bestMode(quillbay::IQuillbayUnit& unit) {
  for (const int mode : {quillbay::kModeRgb, quillbay::kModeGrey}) {
    if (unit.HasMode(mode)) return mode;
  }
  return 0;
}

/// The smallest resolution of the device that is not below the usual one, or its best.
std::int32_t usualDpi(quillbay::IQuillbayUnit& unit, int mode) {
  std::vector<quillbay::UnitResolution> list;
  if (unit.GetResolutions(&list, mode) <= 0 || list.empty()) return 0;
  const auto fits = std::find_if(list.begin(), list.end(), [](const auto& r) { return r.dpi >= kFirstDpi; });
  return fits == list.end() ? list.back().dpi : fits->dpi;
}

}  // namespace

KxPtr<quillbay::IScan> currentScanner(quillbay::IApp* app) {
  const auto manager = quillbay::query<quillbay::IScanManager>(app);
  return manager ? KxPtr<quillbay::IScan>::adopt(manager->GetCurrent()) : nullptr;
}

QString deviceOf(quillbay::IScanManager* manager) {
  const auto watch = quillbay::query<quillbay::IScannerWatch>(manager);
  quillbay::ScannerEntry entry;
  if (watch) watch->GetWanted(&entry);  // stores a simulated one as well
  return QString::fromStdString(entry.device);
}

bool knowsScanner(quillbay::IApp* app) {
  const auto scanner = currentScanner(app);
  return scanner && quillbay::HasSavedSettings(app, scanner->GetName()) != 0;
}

void makeFirstChoices(quillbay::IApp* app, quillbay::IQuillbayControl* control) {
  const auto scanner = currentScanner(app);
  const auto unit = scanner.as<quillbay::IQuillbayUnit>();
  if (!unit || !control) return;
  const auto set = [control](std::string_view key, const quillbay::CKxVariant& value) {
    return control->SetParam(key, value, nullptr) != 0;
  };
  const int mode = bestMode(*unit);
  set(quillbay::key::CurrMode, mode);
  if (const std::int32_t dpi = usualDpi(*unit, mode); dpi > 0) set(quillbay::key::Dpi, dpi);
  // The whole bed to the document's end.
  set(quillbay::key::RcScan, quillbay::tagRRECT{0, 0, unit->GetMaxWidth(), unit->GetMaxWidth()});
  set(quillbay::key::ScanAreaType, quillbay::kAreaFixedWidth);
  set(quillbay::key::Autodetect, 0);  // that area is no other's: it is not looked for
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  if (!folder.isEmpty()) set(quillbay::key::Dir, folder.toStdString());
}

}  // namespace desktop
