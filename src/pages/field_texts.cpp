#include "pages/field_texts.h"

#include <QLabel>
#include <QSlider>

#include "widgets/number_spin.h"
#include "widgets/spin_scroll_edit.h"

namespace quillbay {

void describeSlider(const CSpinScrollEdit& control, const QLabel& caption, const QString& hint,
                    const QString& description) {
  const QString name = caption.text().remove('&').remove(':');
  for (QWidget* part : {static_cast<QWidget*>(control.slider()), static_cast<QWidget*>(control.field())}) {
    part->setAccessibleName(name);
    part->setAccessibleDescription(description);
    part->setToolTip(hint);
  }
}

void showNotesOf(const UnitSpin& field, QLabel* note) {
  QObject::connect(&field, &UnitSpin::noted, note, [note](const QString& why) {
    note->setText(why);
    note->setVisible(!why.isEmpty());
  });
}

}  // namespace quillbay
