#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "platform/base_services.h"
#include "quillbay/presets.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

const QString kPresetFormatKey = QStringLiteral("format");
const QString kPresetFormat = QStringLiteral("quillbay-preset");
const QString kPresetVersionKey = QStringLiteral("version");
constexpr int kPresetVersion = 1;
const QString kPresetName = QStringLiteral("name");
const QString kPresetComment = QStringLiteral("comment");
const QString kPresetPages = QStringLiteral("pages");
const QString kPageNumber = QStringLiteral("page");
const QString kPageTitle = QStringLiteral("title");  // for people who read the file
const QString kPageSettings = QStringLiteral("settings");
const QString kPageStores = QStringLiteral("stores");
constexpr qsizetype kLargestPreset = 1 << 20;
constexpr qsizetype kMostValues = 2000;  // of a page or a nested set
constexpr qsizetype kLongestPresetName = 400;
constexpr int kDeepestSet = 16;

/// Says what is wrong, for `ReadPresetText` to hand on.
class PresetFault : public CXException {
 public:
  using CXException::CXException;
};

[[noreturn]] void refusePreset(std::string_view pattern, const std::vector<std::string>& arguments) {
  throw PresetFault(formatText(Supp_Translate(pattern), arguments));
}

// --- what pages take

enum class Takes { Anything, Number, Text, Edges, Bytes };

struct TypedKey {
  std::string_view key;  // with `numbered`, the stem
  Takes takes;
  bool numbered = false;
};

constexpr TypedKey kTypedKeys[] = {
    {key::Units, Takes::Number},
    {key::PaperName, Takes::Text},
    {key::Counter, Takes::Number},
    {key::CounterFormat, Takes::Text},
    {key::UseAutoCounter, Takes::Number},
    {key::MultiPage, Takes::Number},
    {key::Portrait, Takes::Number},
    {key::Bursting, Takes::Number},
    {key::FileFate, Takes::Number},
    {key::Center, Takes::Number},
    {key::RcScan, Takes::Edges},
    {key::FormatName, Takes::Text, true},
    {key::CounterDigits, Takes::Number},
    {key::StartCounter, Takes::Number},
    {key::UseScript, Takes::Number},
    {key::ScriptName, Takes::Text},
    {key::AddWidth, Takes::Number},
    {key::AutoSet, Takes::Number},
    {key::DisablePreview, Takes::Number},
    {key::AutoAnswerEnable, Takes::Number},
    {key::AutoAnswerDelay, Takes::Number},
    {key::ScanSpeed, Takes::Number},
    {key::Rewind, Takes::Number},
    {key::DetectionThreshold, Takes::Number},
    {key::StandardPapers, Takes::Number},
    {key::Deskew, Takes::Number},
    {key::ModeIndex, Takes::Number},
    {key::ResolutionIndex, Takes::Number},
    {key::PaperIndex, Takes::Number},
    {key::SaveSettings, Takes::Text, true},
    {key::Mode, Takes::Number},
    {key::ImageDpi, Takes::Number},
    {key::Rect, Takes::Edges},
    {key::PaperLength, Takes::Number},
    {key::Threshold, Takes::Number},
    {key::Gamma, Takes::Bytes},
    {key::Brightness, Takes::Number},
    {key::Contrast, Takes::Number},
    {key::Hue, Takes::Number},
    {key::Saturation, Takes::Number},
    {key::RedBalance, Takes::Number},
    {key::GreenBalance, Takes::Number},
    {key::BlueBalance, Takes::Number},
    {key::IsGamma, Takes::Number},
    {key::CurvePoints, Takes::Text},
    {key::PaletteMethod, Takes::Number},
    {key::PaletteColors, Takes::Number},
    {key::LutFileName, Takes::Text},
    {key::Level, Takes::Number, true},
    {key::BackgroundSuppression, Takes::Number, true},
    {key::SoftenSharpen, Takes::Number, true},
    {key::Blur, Takes::Number, true},
    {key::HardBwPoint, Takes::Bytes},
};

Takes takenBy(std::string_view name) {
  const auto end = name.find_last_not_of("0123456789");
  const std::string_view stem = name.substr(0, end == std::string_view::npos ? 0 : end + 1);
  for (const TypedKey& known : kTypedKeys) {
    if (sameKey(known.key, known.numbered ? stem : name)) return known.takes;
  }
  return Takes::Anything;
}

bool isTaken(Takes takes, const CKxVariant& value) {
  switch (takes) {
    case Takes::Anything: return true;
    case Takes::Number: return value.get<std::int32_t>() || value.get<double>();
    case Takes::Text: return value.get<std::string>() != nullptr;
    case Takes::Edges: return value.get<tagRRECT>() != nullptr;
    case Takes::Bytes: return value.get<CKxBlob>() != nullptr;
  }
  return false;
}

const char* nameOf(Takes takes) {
  switch (takes) {
    case Takes::Number: return "a number";
    case Takes::Text: return "text";
    case Takes::Edges: return "{\"rect\": [left, top, right, bottom]}";
    default: return "{\"blob\": \"base64\"}";
  }
}

// --- writing

/// A number that keeps its kind: a whole one that is no integer is marked. JSON has none that is not finite.
QJsonValue doubleAsJson(double value) {
  if (!std::isfinite(value)) return QJsonValue::Undefined;
  if (value != std::floor(value)) return value;
  return QJsonObject{{QStringLiteral("double"), value}};
}

struct SettingWriter {
  QJsonValue operator()(std::monostate) const { return QJsonValue::Undefined; }
  QJsonValue operator()(std::int32_t v) const { return v; }
  QJsonValue operator()(double v) const { return doubleAsJson(v); }
  QJsonValue operator()(const std::string& v) const {
    const QByteArray bytes = QByteArray::fromStdString(v);
    const QString text = QString::fromUtf8(bytes);
    if (text.toUtf8() == bytes) return text;
    return QJsonObject{{QStringLiteral("text64"), QString::fromLatin1(bytes.toBase64())}};
  }
  QJsonValue operator()(const tagRRECT& v) const {
    return QJsonObject{{QStringLiteral("rect"), QJsonArray{v.left, v.top, v.right, v.bottom}}};
  }
  QJsonValue operator()(const tagRPOINT& v) const {
    return QJsonObject{{QStringLiteral("point"), QJsonArray{v.x, v.y}}};
  }
  QJsonValue operator()(const CKxBlob& v) const {
    const QByteArray bytes(reinterpret_cast<const char*>(v.data()), static_cast<qsizetype>(v.size()));
    return QJsonObject{{QStringLiteral("blob"), QString::fromLatin1(bytes.toBase64())}};
  }
  QJsonValue operator()(const KxPtr<IKxUnknown>&) const { return QJsonValue::Undefined; }
};

void putSet(QJsonObject& object, IParam* set, int depth) {
  if (depth > kDeepestSet) refusePreset("its settings are nested too deeply", {});
  QJsonObject settings, stores;
  for (const std::string& name : set->GetKeys()) {
    const QJsonValue value = std::visit(SettingWriter{}, paramValue(set, name).value());
    if (!value.isUndefined()) settings.insert(QString::fromStdString(name), value);
  }
  for (const std::string& name : set->GetSubStores()) {
    QJsonObject nested;
    putSet(nested, KxPtr<IParam>::adopt(set->GetSubStore(name, 1)).get(), depth + 1);
    stores.insert(QString::fromStdString(name), nested);
  }
  object.insert(kPageSettings, settings);
  if (!stores.isEmpty()) object.insert(kPageStores, stores);
}

// --- reading; `where` is the place for whoever edited the file

using Numbers = std::vector<double>;

double numberAt(const QJsonValue& value, const std::string& where) {
  const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
  if (!std::isfinite(number)) refusePreset("%s: it should hold a number", {where});
  return number;
}

Numbers numbersAt(const QJsonValue& value, qsizetype count, const std::string& where) {
  const QJsonArray list = value.toArray();
  if (list.size() != count) refusePreset("%s: it should hold %d numbers", {where, std::to_string(count)});
  Numbers numbers;
  for (const QJsonValue number : list) numbers.push_back(numberAt(number, where));
  return numbers;
}

QByteArray bytesAt(const QJsonValue& value, const std::string& where) {
  const auto decoded =
      QByteArray::fromBase64Encoding(value.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
  if (!value.isString() || !decoded) refusePreset("%s: it should hold base64 text", {where});
  return decoded.decoded;
}

/// {"double": ...}, {"rect": [...]} and so on: a value that a plain one does not say.
CKxVariant markedValue(const QJsonObject& object, const std::string& where) {
  if (object.size() == 1) {
    const QString kind = object.begin().key();
    const QJsonValue value = object.begin().value();
    if (kind == QStringLiteral("double")) return numberAt(value, where);
    if (kind == QStringLiteral("text64")) return bytesAt(value, where).toStdString();
    if (kind == QStringLiteral("rect")) {
      const Numbers n = numbersAt(value, 4, where);
      return tagRRECT{n[0], n[1], n[2], n[3]};
    }
    if (kind == QStringLiteral("point")) {
      const Numbers n = numbersAt(value, 2, where);
      return tagRPOINT{n[0], n[1]};
    }
    if (kind == QStringLiteral("blob")) {
      const QByteArray bytes = bytesAt(value, where);
      return CKxBlob(bytes.begin(), bytes.end());
    }
  }
  refusePreset("%s: it is no value of a known type", {where});
}

CKxVariant settingAt(const QJsonValue& value, const std::string& where) {
  if (value.isString()) return value.toString().toStdString();
  if (value.isObject()) return markedValue(value.toObject(), where);
  if (!value.isDouble()) refusePreset("%s: it is no value of a known type", {where});
  const double number = numberAt(value, where);
  const bool isWhole = number == std::floor(number) && number >= INT32_MIN && number <= INT32_MAX;
  if (isWhole) return static_cast<std::int32_t>(number);
  return number;
}

/// The object under a key; empty when there is none.
QJsonObject objectAt(const QJsonObject& object, const QString& key, const std::string& where) {
  const QJsonValue value = object.value(key);
  if (!value.isUndefined() && !value.isObject())
    refusePreset("%s: \"%s\" should be an object", {where, key.toStdString()});
  if (value.toObject().size() > kMostValues)
    refusePreset("%s: it holds more than %d values", {where, std::to_string(kMostValues)});
  return value.toObject();
}

std::string placeIn(std::string where, const std::string& name) { return where.append(", ").append(name); }

void takeSet(const QJsonObject& object, IParam* set, const std::string& where, int depth) {
  if (depth > kDeepestSet) refusePreset("its settings are nested too deeply", {});
  const QJsonObject settings = objectAt(object, kPageSettings, where);
  for (auto at = settings.begin(); at != settings.end(); ++at) {
    const std::string name = at.key().toStdString(), here = placeIn(where, name);
    const CKxVariant value = settingAt(at.value(), here);
    const Takes takes = takenBy(name);
    if (!isTaken(takes, value)) refusePreset("%s: it should be %s", {here, Supp_Translate(nameOf(takes))});
    CKxVariant twice;
    if (set->GetValue(name, &twice)) refusePreset("%s: it is there twice", {here});
    set->SetValue(name, value);
  }
  const QJsonObject stores = objectAt(object, kPageStores, where);
  for (auto at = stores.begin(); at != stores.end(); ++at) {
    const std::string name = at.key().toStdString(), here = placeIn(where, name);
    // A delimiter would make one of its own of it.
    if (name.empty() || name.find_first_of("\\/") != std::string::npos || !at.value().isObject())
      refusePreset("%s: it is no set of values", {here});
    if (KxPtr<IParam>::adopt(set->GetSubStore(name, 0))) refusePreset("%s: it is there twice", {here});
    takeSet(at.value().toObject(), KxPtr<IParam>::adopt(set->GetSubStore(name, 1)).get(), here, depth + 1);
  }
}

std::string textAt(const QJsonObject& root, const QString& key) {
  const QJsonValue value = root.value(key);
  if (!value.isUndefined() && !value.isString()) refusePreset("\"%s\" should be text", {key.toStdString()});
  return value.toString().toStdString();
}

PresetPage takePage(const QJsonValue& value) {
  const QJsonObject object = value.toObject();
  const double number = object.value(kPageNumber).toDouble(-1);
  if (!value.isObject() || number != std::floor(number) || number < 0 || number > INT32_MAX)
    refusePreset("\"pages\" holds something that is no page with a number", {});
  PresetPage page{static_cast<std::int32_t>(number), new_MemParam()};
  const std::string title = PresetPageTitle(page.number);
  if (title.empty()) {
    const QString told = object.value(kPageTitle).toString().left(60).simplified();
    refusePreset("it has settings of a page that this program does not know: page %d%s",
                 {std::to_string(page.number), told.isEmpty() ? "" : " (\"" + told.toStdString() + "\")"});
  }
  takeSet(object, page.values.get(), title, 0);
  return page;
}

QJsonObject parsedPreset(std::string_view bytes) {
  if (bytes.size() > static_cast<std::size_t>(kLargestPreset))
    refusePreset("it is larger than %d bytes, no preset is", {std::to_string(kLargestPreset)});
  QJsonParseError error{};
  const QJsonDocument document =
      QJsonDocument::fromJson(QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())), &error);
  QJsonObject root = document.object();
  if (error.error != QJsonParseError::NoError) {
    refusePreset("it is damaged, or no preset; at byte %d: %s",
                 {std::to_string(error.offset), error.errorString().toStdString()});
  }
  if (root.value(kPresetFormatKey).toString() != kPresetFormat) refusePreset("it is no preset of this program", {});
  const double version = root.value(kPresetVersionKey).toDouble(0);
  if (version < 1 || version != std::floor(version))
    refusePreset("\"version\" should be a whole number from 1", {});
  if (version > kPresetVersion) {
    refusePreset("a newer version of this program wrote it (its format has the version %d; this program reads %d)",
                 {toText(version), std::to_string(kPresetVersion)});
  }
  return root;
}

Preset takePreset(std::string_view bytes) {
  const QJsonObject root = parsedPreset(bytes);
  Preset preset;
  preset.name = QString::fromStdString(textAt(root, kPresetName)).trimmed().toStdString();
  preset.comment = textAt(root, kPresetComment);
  const bool hasControls = std::any_of(preset.name.begin(), preset.name.end(),
                                       [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  if (preset.name.empty() || hasControls || preset.name.size() > static_cast<std::size_t>(kLongestPresetName))
    refusePreset("\"name\" should be text of 1 to %d bytes in one line", {std::to_string(kLongestPresetName)});
  if (!root.value(kPresetPages).isArray()) refusePreset("\"pages\" should be a list", {});
  std::set<std::int32_t> seen;
  for (const QJsonValue value : root.value(kPresetPages).toArray()) {
    preset.pages.push_back(takePage(value));
    const std::int32_t number = preset.pages.back().number;
    if (!seen.insert(number).second) refusePreset("%s: it is there twice", {PresetPageTitle(number)});
  }
  return preset;
}

}  // namespace

std::string WritePresetText(const Preset& preset) {
  QJsonArray pages;
  for (const PresetPage& page : preset.pages) {
    QJsonObject object{{kPageNumber, page.number},
                       {kPageTitle, QString::fromStdString(PresetPageTitle(page.number))}};
    putSet(object, page.values.get(), 0);
    pages.append(object);
  }
  const QJsonObject root{{kPresetFormatKey, kPresetFormat},
                         {kPresetVersionKey, kPresetVersion},
                         {kPresetName, QString::fromStdString(preset.name)},
                         {kPresetComment, QString::fromStdString(preset.comment)},
                         {kPresetPages, pages}};
  return QJsonDocument(root).toJson(QJsonDocument::Indented).toStdString();
}

int ReadPresetText(std::string_view bytes, Preset* out, std::string* why) {
  try {
    *out = takePreset(bytes);
    return 1;
  } catch (const PresetFault& fault) {
    if (why) *why = fault.what();
    return 0;
  }
}

}  // namespace quillbay
