#include "scanner/output_settings.h"

#include <algorithm>

#include "quillbay/scan_keys.h"
#include "window/program_settings.h"

namespace desktop {

namespace key = quillbay::key;

namespace {

constexpr int kMostDigits = 8;
constexpr const char* kExtension = "OutputExtension";
constexpr const char* kMultiPage = "OutputMultiPage";
constexpr const char* kAddsCounter = "OutputAddsCounter";
constexpr const char* kCounter = "OutputCounter";
constexpr const char* kDigits = "OutputDigits";
constexpr const char* kFate = "OutputFileFate";

std::string formatOf(int digits) { return "%." + std::to_string(std::clamp(digits, 1, kMostDigits)) + "d"; }

int digitsOf(const std::string& format, int otherwise) {
  const bool isOne = format.size() == 4 && format[2] >= '1' && format[2] <= '0' + kMostDigits;
  return isOne ? format[2] - '0' : otherwise;
}

}  // namespace

OutputSettings readOutput(quillbay::IQuillbayControl& control) {
  OutputSettings output;
  const auto value = [&control](const char* name) {
    quillbay::CKxVariant out;
    control.GetParam(name, &out);
    return out;
  };
  const auto text = [&value](const char* name) {
    const quillbay::CKxVariant out = value(name);
    const auto* found = out.get<std::string>();
    return found ? *found : std::string();
  };
  if (const std::string extension = text(key::Extension); !extension.empty()) output.extension = extension;
  output.isMultiPage = value(key::MultiPage).toInt() != 0;
  output.addsCounter = value(key::UseAutoCounter).toInt() != 0;
  output.counter = std::max(0, value(key::Counter).toInt());
  output.digits = digitsOf(text(key::CounterFormat), output.digits);
  output.fate = value(key::FileFate).toInt();
  return output;
}

bool applyOutput(quillbay::IQuillbayControl& control, const OutputSettings& output, std::string* why) {
  bool isTaken = true;
  const auto set = [&](const char* name, const quillbay::CKxVariant& value) {
    std::string reason;
    if (control.SetParam(name, value, &reason)) return;
    if (isTaken && why) *why = reason;
    isTaken = false;
  };
  set(key::Extension, output.extension);
  set(key::MultiPage, output.isMultiPage ? 1 : 0);
  set(key::UseAutoCounter, output.addsCounter ? 1 : 0);
  set(key::CounterFormat, formatOf(output.digits));
  set(key::Counter, output.counter);
  set(key::FileFate, output.fate);
  return isTaken;
}

void keepOutput(ProgramSettings& settings, const OutputSettings& output) {
  settings.setText(kExtension, QString::fromStdString(output.extension));
  settings.setNumber(kMultiPage, output.isMultiPage ? 1 : 0);
  settings.setNumber(kAddsCounter, output.addsCounter ? 1 : 0);
  settings.setNumber(kCounter, output.counter);
  settings.setNumber(kDigits, output.digits);
  settings.setNumber(kFate, output.fate);
  settings.save();
}

void keepCounter(ProgramSettings& settings, quillbay::IQuillbayControl& control) {
  if (!settings.text(kExtension).isEmpty()) settings.setNumber(kCounter, readOutput(control).counter);
}

bool recallOutput(const ProgramSettings& settings, OutputSettings* output) {
  const QString extension = settings.text(kExtension);
  if (extension.isEmpty()) return false;
  output->extension = extension.toStdString();
  output->isMultiPage = settings.number(kMultiPage, 0) != 0;
  output->addsCounter = settings.number(kAddsCounter, 1) != 0;
  output->counter = settings.number(kCounter, 0);
  output->digits = settings.number(kDigits, output->digits);
  output->fate = settings.number(kFate, output->fate);
  return true;
}

}  // namespace desktop
