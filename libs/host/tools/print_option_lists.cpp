#include "host/tools/print_option_lists.h"

#include <QSignalBlocker>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <initializer_list>

#include "host/tools/tool_base.h"
#include "platform/base_services.h"
#include "quillbay/printing.h"

namespace quillbay {

namespace {

struct ListEntry {
  const char* text;
  int value;
};

void addEntries(QComboBox* list, std::initializer_list<ListEntry> entries) {
  for (const ListEntry& entry : entries) list->addItem(toolText(entry.text), entry.value);
}

QString filled(const char* pattern, const std::string& what) {
  return QString::fromStdString(formatText(Supp_Translate(pattern), {what}));
}

QString notOffered(const QString& what) { return filled("%s (not with this printer)", what.toStdString()); }

std::string wholeMm(double mm) { return toText(static_cast<std::int64_t>(std::llround(mm))); }

/// "A1, 594 x 841 mm", "Roll, 914 mm wide".
std::string mediaText(const PrinterMedia& media) {
  std::string title = mediaTitle(media);
  if (media.hasAnyWidth()) return title;
  if (media.isRoll()) return formatText(Supp_Translate("%s, %s mm wide"), {title, wholeMm(media.width)});
  return formatText(Supp_Translate("%s, %s x %s mm"), {title, wholeMm(media.width), wholeMm(media.length)});
}

QString dpiText(int dpi) { return filled("%d dpi", std::to_string(dpi)); }

}  // namespace

void selectValue(QComboBox* list, const QVariant& value, const QString& ifMissing) {
  int at = list->findData(value);
  if (at < 0) {
    list->addItem(ifMissing, value);
    at = list->count() - 1;
  }
  list->setCurrentIndex(at);
}

void fillScalings(QComboBox* list) {
  addEntries(list, {{"True size", numberOfEnum(PrintScaling::TrueSize)},
                    {"Percent of it", numberOfEnum(PrintScaling::Percent)},
                    {"Fit to the width", numberOfEnum(PrintScaling::FitWidth)}});
}

void fillTurns(QComboBox* list) {
  addEntries(list, {{"Not turned", numberOfEnum(PrintTurn::None)},
                    {"By 90\u00B0", numberOfEnum(PrintTurn::Quarter)},
                    {"By 90\u00B0 where it saves paper", numberOfEnum(PrintTurn::Auto)}});
}

void fillPlaces(QComboBox* list) {
  addEntries(list, {{"Centred", numberOfEnum(PrintPlace::Centred)},
                    {"At the left edge", numberOfEnum(PrintPlace::Left)},
                    {"At the right edge", numberOfEnum(PrintPlace::Right)}});
}

void fillHalftones(QComboBox* list) {
  addEntries(list, {{"Threshold", numberOfEnum(PrintHalftone::Threshold)},
                    {"Ordered dots", numberOfEnum(PrintHalftone::Ordered)},
                    {"Error diffusion", numberOfEnum(PrintHalftone::Diffusion)}});
}

void offerMedia(QComboBox* list, const PrinterInfo* printer) {
  const QString chosen = list->currentData().toString();
  const QSignalBlocker quiet(list);
  list->clear();
  list->addItem(toolText("By the page's size"), QString());
  if (printer) {
    for (const PrinterMedia& media : printer->media) {
      const std::string title = mediaText(media);
      list->addItem(media.isReady ? filled("%s (loaded)", title) : QString::fromStdString(title),
                    QString::fromStdString(media.name));
    }
  }
  selectValue(list, chosen, printer ? notOffered(chosen) : chosen);
}

void offerResolutions(QComboBox* list, const PrinterInfo* printer) {
  const int chosen = valueOf(list);
  const QSignalBlocker quiet(list);
  list->clear();
  list->addItem(toolText("By the page"), 0);
  if (printer) {
    for (const PrinterResolution& r : printer->resolutions) {
      const auto dpi = static_cast<int>(std::min(r.x, r.y));
      if (list->findData(dpi) < 0) list->addItem(dpiText(dpi), dpi);
    }
  }
  selectValue(list, chosen, printer ? notOffered(dpiText(chosen)) : dpiText(chosen));
}

void offerColors(QComboBox* list, const PrinterInfo* printer) {
  const int chosen = valueOf(list);
  const QSignalBlocker quiet(list);
  list->clear();
  const bool hasColor = !printer || printer->hasColor;
  addEntries(list,
             {{hasColor ? "As scanned" : "As scanned (colours become grey)", numberOfEnum(PrintColor::AsScanned)},
              {"Grey", numberOfEnum(PrintColor::Grey)},
              {"Black and white", numberOfEnum(PrintColor::Bitonal)}});
  selectValue(list, chosen, {});
}

void offerQualities(QComboBox* list, const PrinterInfo* printer) {
  constexpr std::array kQualityNames{ListEntry{"Draft", 3}, ListEntry{"Normal", 4}, ListEntry{"High", 5}};
  const int chosen = valueOf(list);
  const QSignalBlocker quiet(list);
  list->clear();
  list->addItem(toolText("The printer's own"), 0);
  QString missing;
  for (const ListEntry& entry : kQualityNames) {
    const bool offers = !printer || std::find(printer->qualities.begin(), printer->qualities.end(), entry.value) !=
                                        printer->qualities.end();
    if (offers) list->addItem(toolText(entry.text), entry.value);
    if (entry.value == chosen) missing = notOffered(toolText(entry.text));
  }
  selectValue(list, chosen, missing);
}

}  // namespace quillbay
