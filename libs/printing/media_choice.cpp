#include <algorithm>
#include <tuple>

#include "printing/printers.h"

namespace quillbay {
namespace {

constexpr double kToleranceMm = 0.5;  // a page scanned in whole pixels against a medium in tenths of a millimetre

bool takes(const PrinterMedia& m, double width, double length, bool inMargins) {
  const double across = inMargins ? m.margins.left + m.margins.right : 0;
  const double along = inMargins ? m.margins.top + m.margins.bottom : 0;
  if (width + across > m.width + kToleranceMm) return false;
  return length <= 0 ? true : length + along <= m.length + kToleranceMm;
}

}  // namespace

const PrinterMedia* mediaForPage(const PrinterInfo& printer, double width, double length) {
  // Less paper first: the width that is used, then a roll, which is cut, before a sheet.
  const auto cost = [&](const PrinterMedia& m) {
    const double used = m.hasAnyWidth() ? std::max(m.minWidth, width) : m.width;
    const double area = used * (m.isRoll() ? std::max(m.minLength, length) : m.length);
    return std::tuple(!takes(m, width, length, true), length <= 0 && !m.isRoll(), !m.isReady, m.hasAnyWidth(),
                      area);
  };
  const PrinterMedia* best = nullptr;
  for (const PrinterMedia& m : printer.media) {
    if (!takes(m, width, length, false)) continue;
    if (!best || cost(m) < cost(*best)) best = &m;
  }
  return best;
}

}  // namespace quillbay
