#include "analysis/gamma_table.h"

#include <array>
#include <cstring>

#include "quillbay/color_curves.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

void putGammaTable(IParam* request) {
  if (paramValue(request, key::Brightness).isEmpty()) return;
  const auto value = [&](const char* name) { return paramInt(request, name); };
  std::array<KXRGBQUAD, 256> table{};
  if (!CalculateColorCurves(value(key::Brightness), value(key::Contrast), value(key::Hue), value(key::Saturation),
                            value(key::RedBalance), value(key::GreenBalance), value(key::BlueBalance), 1.0, 1.0,
                            1.0, {0, 0, 0, 0}, {255, 255, 255, 0}, table.data()))
    return;
  CKxBlob bytes(sizeof table);
  std::memcpy(bytes.data(), table.data(), bytes.size());
  request->SetValue(key::Gamma, std::move(bytes));
}

}  // namespace quillbay
