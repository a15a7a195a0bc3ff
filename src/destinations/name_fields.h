#pragma once
#include <QString>
#include <string>

#include "destinations/file_names.h"
#include "destinations/history.h"

class QComboBox;
class QLineEdit;

namespace quillbay {

// What the panels of destinations that name files have in common.

/// Whether file names depend on a scan parameter.
[[nodiscard]] bool isNamingKey(const char* key);

/// Names differ by letter case; a field that completes them would write over what was typed.
void prepareHistoryCombo(QComboBox* combo);
/// Lists the texts; what is typed stays.
void fillHistoryCombo(QComboBox* combo, const History& history);
/// Shows a text, leaving the cursor of somebody who just typed it.
void showText(QComboBox* combo, const std::string& text);

/// Shown like a label: it can be selected and read out, not typed into.
void preparePlainField(QLineEdit* field);
/// The file's name, or why there can be none; the whole path as its tip.
void showOutputName(QLineEdit* field, const OutputName& name);

/// What a mask may hold.
[[nodiscard]] QString maskTip(const NameContext& context);

}  // namespace quillbay
