#include "core/store_json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <limits>

#include "platform/base_services.h"

namespace quillbay {
namespace {

const QString kFormatKey = QStringLiteral("format");
const QString kFormat = QStringLiteral("quillbay-settings");
const QString kVersionKey = QStringLiteral("version");
constexpr int kVersion = 1;
const QString kValues = QStringLiteral("values");
const QString kStores = QStringLiteral("stores");
constexpr int kMaxDepth = 200;  // Qt's parser takes 1024 levels; a set needs two, a value two more

QByteArray bytesOf(std::string_view text) { return {text.data(), static_cast<qsizetype>(text.size())}; }
std::string textOf(const QByteArray& bytes) { return bytes.toStdString(); }

[[noreturn]] void damaged(std::string_view where, std::string_view what) {
  throw StoreFormatError((where.empty() ? "at the top" : std::string(where)).append(": ").append(what));
}

// --- writing

void putText(QJsonObject& object, const QString& tag, std::string_view text) {
  const QByteArray bytes = bytesOf(text);
  const QString decoded = QString::fromUtf8(bytes);
  if (decoded.toUtf8() == bytes) {
    object.insert(tag, decoded);
  } else {
    object.insert(tag + QStringLiteral("64"), QString::fromLatin1(bytes.toBase64()));
  }
}

QJsonValue jsonNumber(double value) {
  const bool sayable = std::isfinite(value) && !(value == 0 && std::signbit(value));
  if (sayable) return value;
  if (std::isnan(value)) return QStringLiteral("nan");
  return QString::fromStdString(toText(value));
}

struct ValueWriter {
  QJsonObject& object;
  void operator()(std::monostate) const {}
  void operator()(std::int32_t v) const { object.insert(QStringLiteral("int"), v); }
  void operator()(double v) const { object.insert(QStringLiteral("double"), jsonNumber(v)); }
  void operator()(const std::string& v) const { putText(object, QStringLiteral("text"), v); }
  void operator()(const tagRRECT& v) const {
    object.insert(QStringLiteral("rect"),
                  QJsonArray{jsonNumber(v.left), jsonNumber(v.top), jsonNumber(v.right), jsonNumber(v.bottom)});
  }
  void operator()(const tagRPOINT& v) const {
    object.insert(QStringLiteral("point"), QJsonArray{jsonNumber(v.x), jsonNumber(v.y)});
  }
  void operator()(const CKxBlob& v) const {
    const QByteArray bytes(reinterpret_cast<const char*>(v.data()), static_cast<qsizetype>(v.size()));
    object.insert(QStringLiteral("blob"), QString::fromLatin1(bytes.toBase64()));
  }
  void operator()(const KxPtr<IKxUnknown>&) const {}
};

void putTree(QJsonObject& object, const ParamTree& tree, int depth) {
  if (depth > kMaxDepth) throw StoreFormatError(Supp_Translate("its settings are nested too deeply"));
  QJsonArray values;
  for (const auto& [key, value] : tree.values) {
    QJsonObject entry;
    std::visit(ValueWriter{entry}, value.value());
    if (entry.isEmpty()) continue;  // nothing, or an object
    putText(entry, QStringLiteral("key"), key);
    values.append(entry);
  }
  QJsonArray stores;
  for (const auto& [name, nested] : tree.stores) {
    QJsonObject entry;
    putText(entry, QStringLiteral("name"), name);
    putTree(entry, nested, depth + 1);
    stores.append(entry);
  }
  object.insert(kValues, values);
  object.insert(kStores, stores);
}

// --- reading; `where` names the place for the user who edited the file

QByteArray base64Of(const QJsonValue& value, std::string_view where) {
  const auto decoded =
      QByteArray::fromBase64Encoding(value.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
  if (!value.isString() || !decoded) damaged(where, "no base64 text");
  return decoded.decoded;
}

/// The text under `tag` or under `tag`64; false when there is neither.
bool takeText(const QJsonObject& object, const QString& tag, std::string_view where, std::string* out) {
  if (const QJsonValue plain = object.value(tag); !plain.isUndefined()) {
    if (!plain.isString()) damaged(where, "no text");
    *out = plain.toString().toStdString();
    return true;
  }
  const QJsonValue coded = object.value(tag + QStringLiteral("64"));
  if (coded.isUndefined()) return false;
  *out = textOf(base64Of(coded, where));
  return true;
}

double numberOf(const QJsonValue& value, std::string_view where) {
  if (value.isDouble()) return value.toDouble();
  const QString text = value.toString();
  if (text == QStringLiteral("nan")) return std::numeric_limits<double>::quiet_NaN();
  if (text == QStringLiteral("inf")) return std::numeric_limits<double>::infinity();
  if (text == QStringLiteral("-inf")) return -std::numeric_limits<double>::infinity();
  if (text == QStringLiteral("-0")) return -0.0;
  damaged(where, "no number");
}

std::vector<double> numbersOf(const QJsonValue& value, qsizetype count, std::string_view where) {
  const QJsonArray array = value.toArray();
  if (array.size() != count) damaged(where, "not the right count of numbers");
  std::vector<double> numbers;
  for (const QJsonValue number : array) numbers.push_back(numberOf(number, where));
  return numbers;
}

CKxVariant valueOf(const QJsonObject& entry, std::string_view where) {
  if (const QJsonValue v = entry.value(QStringLiteral("int")); !v.isUndefined()) {
    const double number = v.toDouble(std::numeric_limits<double>::quiet_NaN());
    const bool fits = number == std::floor(number) && number >= INT32_MIN && number <= INT32_MAX;
    if (!fits) damaged(where, "no 32-bit integer");
    return static_cast<std::int32_t>(number);
  }
  if (const QJsonValue v = entry.value(QStringLiteral("double")); !v.isUndefined()) return numberOf(v, where);
  if (std::string text; takeText(entry, QStringLiteral("text"), where, &text)) return text;
  if (const QJsonValue v = entry.value(QStringLiteral("rect")); !v.isUndefined()) {
    const auto n = numbersOf(v, 4, where);
    return tagRRECT{n[0], n[1], n[2], n[3]};
  }
  if (const QJsonValue v = entry.value(QStringLiteral("point")); !v.isUndefined()) {
    const auto n = numbersOf(v, 2, where);
    return tagRPOINT{n[0], n[1]};
  }
  if (const QJsonValue v = entry.value(QStringLiteral("blob")); !v.isUndefined()) {
    const QByteArray bytes = base64Of(v, where);
    return CKxBlob(bytes.begin(), bytes.end());
  }
  damaged(where, "no value of a known type");
}

QJsonArray listOf(const QJsonObject& object, const QString& key, std::string_view where) {
  const QJsonValue list = object.value(key);
  if (!list.isUndefined() && !list.isArray()) damaged(where, "no list under \"" + key.toStdString() + "\"");
  return list.toArray();
}

std::string below(std::string_view where, std::string_view name) {
  return std::string(where).append("/").append(name);
}

ParamTree treeOf(const QJsonObject& object, const std::string& where) {
  ParamTree tree;
  for (const QJsonValue value : listOf(object, kValues, where)) {
    const QJsonObject entry = value.toObject();
    std::string key;
    if (!takeText(entry, QStringLiteral("key"), where, &key)) damaged(where, "a value without a key");
    tree.setValue(key, valueOf(entry, below(where, key)));
  }
  for (const QJsonValue value : listOf(object, kStores, where)) {
    const QJsonObject entry = value.toObject();
    std::string name;
    if (!takeText(entry, QStringLiteral("name"), where, &name)) damaged(where, "a nested set without a name");
    tree.store(name) = treeOf(entry, below(where, name));
  }
  return tree;
}

}  // namespace

std::string toJson(const ParamTree& tree) {
  QJsonObject root{{kFormatKey, kFormat}, {kVersionKey, kVersion}};
  putTree(root, tree, 0);
  return textOf(QJsonDocument(root).toJson(QJsonDocument::Indented));
}

ParamTree fromJson(std::string_view json) {
  QJsonParseError error{};
  const QJsonDocument document = QJsonDocument::fromJson(bytesOf(json), &error);
  if (error.error != QJsonParseError::NoError) {
    throw StoreFormatError(formatText(Supp_Translate("at byte %d: %s"),
                                      {toText(std::int64_t{error.offset}), error.errorString().toStdString()}));
  }
  const QJsonObject root = document.object();
  if (root.value(kFormatKey).toString() != kFormat) {
    throw StoreFormatError(Supp_Translate("it is not a settings file of this program"));
  }
  if (root.value(kVersionKey).toInt() != kVersion) {
    throw StoreFormatError(Supp_Translate("another version of this program wrote it"));
  }
  return treeOf(root, {});
}

}  // namespace quillbay
