#include "scanner/first_choices.h"

#include <QStandardPaths>
#include <algorithm>
#include <string>
#include <string_view>

#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/scanner.h"

namespace desktop {

using quillbay::KxPtr;

namespace {

constexpr int kGreyscale = 5, kRgb = 7;  // scan modes, the best one last
constexpr int kFixedWidth = 2;
constexpr std::int32_t kUsualDpi = 200;

int bestMode(quillbay::IQuillbayUnit& unit) {
  for (const int mode : {kRgb, kGreyscale}) {
    if (unit.HasMode(mode)) return mode;
  }
  return 0;
}

/// The smallest resolution of the device that is not below the usual one, or its best.
std::int32_t usualDpi(quillbay::IQuillbayUnit& unit, int mode) {
  std::vector<quillbay::UnitResolution> list;
  if (unit.GetResolutions(&list, mode) <= 0 || list.empty()) return 0;
  const auto fits = std::find_if(list.begin(), list.end(), [](const auto& r) { return r.dpi >= kUsualDpi; });
  return fits == list.end() ? list.back().dpi : fits->dpi;
}

}  // namespace

KxPtr<quillbay::IScan> currentScanner(quillbay::IApp* app) {
  const auto manager = quillbay::query<quillbay::IScanManager>(app);
  return manager ? KxPtr<quillbay::IScan>::adopt(manager->GetCurrent()) : nullptr;
}

bool knowsScanner(quillbay::IApp* app) {
  const auto scanner = currentScanner(app);
  const auto profile = quillbay::query<quillbay::IProfile>(app);
  const auto section = profile ? KxPtr<quillbay::IParam>::adopt(profile->GetSection("Quillbay2.0", 0)) : nullptr;
  if (!scanner || !section) return false;
  std::string name = scanner->GetName();
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '\\' || c == '/'; }, '_');  // as the panel stores it
  const auto own = KxPtr<quillbay::IParam>::adopt(section->GetSubStore(name, 0));
  return own && KxPtr<quillbay::IParam>::adopt(own->GetSubStore("MainDlg", 0));
}

void makeFirstChoices(quillbay::IApp* app, quillbay::IQuillbayControl* control) {
  const auto scanner = currentScanner(app);
  const auto unit = scanner.as<quillbay::IQuillbayUnit>();
  if (!unit || !control) return;
  const auto set = [control](std::string_view key, const quillbay::CKxVariant& value) {
    return control->SetParam(key, value, nullptr) != 0;
  };
  const int mode = bestMode(*unit);
  set("m_CurrMode", mode);
  if (const std::int32_t dpi = usualDpi(*unit, mode); dpi > 0) set("m_uiDPI", dpi);
  // The whole bed to the document's end.
  set("m_rcScan", quillbay::tagRRECT{0, 0, unit->GetMaxWidth(), unit->GetMaxWidth()});
  set("m_eScanType", kFixedWidth);
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  if (!folder.isEmpty()) set("m_Dir", folder.toStdString());
}

}  // namespace desktop
