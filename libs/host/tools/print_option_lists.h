#pragma once
#include <QComboBox>
#include <QVariant>

#include "printing/printer_info.h"

namespace quillbay {

/// The number behind the chosen entry of a list.
[[nodiscard]] inline int valueOf(const QComboBox* list) { return list->currentData().toInt(); }
template <class E>
[[nodiscard]] constexpr int numberOfEnum(E value) {
  return static_cast<int>(value);
}
/// Chooses the entry of a value; one that is not offered becomes an entry of its own.
void selectValue(QComboBox* list, const QVariant& value, const QString& ifMissing);

// The lists of choices of the print options, in the order of their numbers in `PrintScaling` and its like.

void fillScalings(QComboBox* list);
void fillTurns(QComboBox* list);
void fillPlaces(QComboBox* list);
void fillHalftones(QComboBox* list);

// Lists of what a printer takes; null: unknown, then what was chosen stays. What it does not take is marked, and
// stays while it is chosen.

void offerMedia(QComboBox* list, const PrinterInfo* printer);
void offerResolutions(QComboBox* list, const PrinterInfo* printer);
void offerColors(QComboBox* list, const PrinterInfo* printer);
void offerQualities(QComboBox* list, const PrinterInfo* printer);

}  // namespace quillbay
