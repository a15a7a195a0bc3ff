#include "destinations/name_fields.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPalette>
#include <QSignalBlocker>
#include <algorithm>
#include <array>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {
constexpr std::array kNamingKeys{
    key::Dir,       key::Mask,     key::Counter,  key::CounterFormat, key::UseAutoCounter,
    key::MultiPage, key::CurrMode, key::FileFate, key::ScanAreaType,  key::PaperName,
    key::Dpi,       key::RcScan,   key::Units,    key::Extension};
}  // namespace

bool isNamingKey(const char* key) {
  return std::any_of(kNamingKeys.begin(), kNamingKeys.end(), [&](auto known) { return sameKey(known, key); });
}

void prepareHistoryCombo(QComboBox* combo) {
  combo->setCompleter(nullptr);
  combo->lineEdit()->setAccessibleName(combo->accessibleName());
}

void fillHistoryCombo(QComboBox* combo, const History& history) {
  const QSignalBlocker quiet(combo);
  const QString text = combo->currentText();
  combo->clear();
  for (const std::string& item : history.items()) combo->addItem(QString::fromStdString(item));
  combo->setEditText(text);
}

void showText(QComboBox* combo, const std::string& text) {
  const QString wanted = QString::fromStdString(text);
  if (combo->currentText() != wanted) combo->setEditText(wanted);
}

void preparePlainField(QLineEdit* field) {
  QPalette plain = field->palette();
  plain.setColor(QPalette::Base, Qt::transparent);
  field->setPalette(plain);
  field->setFrame(false);
}

void showOutputName(QLineEdit* field, const OutputName& name) {
  const bool asks = name.refused && name.exists;
  const bool bad = name.refused && !asks;
  const QString shown = QString::fromStdString(bad ? name.why : fio::fileNameOf(name.path));
  if (field->text() != shown) field->setText(shown);
  field->setCursorPosition(0);
  std::string tip = bad ? name.why : name.path;
  if (asks) tip += '\n' + Supp_Translate("This file exists; you will be asked before it is replaced.");
  field->setToolTip(QString::fromStdString(tip));
}

QString maskTip(const NameContext& context) {
  return QString::fromStdString(formatText(
      Supp_Translate("Beginning of the file names; these are replaced by their values:\n%s"), {tagList(context)}));
}

}  // namespace quillbay
