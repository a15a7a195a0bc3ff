#pragma once
#include <QString>

class QLabel;

namespace quillbay {

class CSpinScrollEdit;
class UnitSpin;

/// Gives a slider and its field the name of their caption, for screen readers, and both a hint.
void describeSlider(const CSpinScrollEdit& control, const QLabel& caption, const QString& hint,
                    const QString& description = {});

/// Shows in `note` why the field does not hold what was typed, as long as there is a reason.
void showNotesOf(const UnitSpin& field, QLabel* note);

}  // namespace quillbay
