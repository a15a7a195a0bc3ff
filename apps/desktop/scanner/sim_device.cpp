#include "scanner/sim_device.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace desktop {

namespace {

constexpr QLatin1String kPrefix("sim:");

QString escaped(QString name) { return name.replace('%', "%25").replace(',', "%2C").replace(':', "%3A"); }

/// Undoes "%3A" and the like, of any byte; what is no such thing stays.
QString unescaped(const QString& text) {
  const QByteArray bytes = text.toUtf8();
  QByteArray out;
  for (qsizetype i = 0; i < bytes.size(); ++i) {
    const QByteArray code = bytes.mid(i + 1, 2);
    bool isCode = false;
    const int byte = bytes[i] == '%' && code.size() == 2 && std::isxdigit(code[0]) && std::isxdigit(code[1])
                         ? code.toInt(&isCode, 16)
                         : 0;
    out += isCode ? static_cast<char>(byte) : bytes[i];
    if (isCode) i += 2;
  }
  return QString::fromUtf8(out);
}

}  // namespace

bool SimDevice::isOne(const QString& device) { return device == "sim" || device.startsWith(kPrefix); }

SimDevice::SimDevice(const QString& device) {
  for (const QString& item : device.mid(kPrefix.size()).split(',', Qt::SkipEmptyParts)) {
    const qsizetype equals = item.indexOf('=');
    m_items.emplace_back(item.left(equals), equals < 0 ? QString() : item.mid(equals));
  }
}

QString SimDevice::value(const QString& key) const {
  const auto found =
      std::find_if(m_items.rbegin(), m_items.rend(), [&](const auto& item) { return item.first == key; });
  return found == m_items.rend() ? QString() : found->second.mid(1);
}

void SimDevice::set(const QString& key, const QString& value) {
  const auto is = [&](const auto& item) { return item.first == key; };
  const auto found = std::find_if(m_items.begin(), m_items.end(), is);
  if (value.isEmpty()) {
    m_items.erase(std::remove_if(found, m_items.end(), is), m_items.end());
  } else if (found == m_items.end()) {
    m_items.emplace_back(key, "=" + value);
  } else {
    found->second = "=" + value;
    m_items.erase(std::remove_if(found + 1, m_items.end(), is), m_items.end());
  }
}

QString SimDevice::text() const {
  QStringList items;
  for (const auto& [key, value] : m_items) items += key + value;
  return kPrefix + items.join(',');
}

QString simNumber(double value) {
  QString text = QString::number(value, 'f', 3);
  while (text.endsWith('0')) text.chop(1);
  if (text.endsWith('.')) text.chop(1);
  return text == "-0" ? QString("0") : text;
}

QString simPair(double first, double second) { return simNumber(first) + "x" + simNumber(second); }

std::optional<std::pair<double, double>> simPairOf(const QString& text) {
  const QStringList parts = text.toLower().split('x');
  bool first = false, second = false;
  if (parts.size() != 2) return {};
  const std::pair<double, double> pair{parts[0].toDouble(&first), parts[1].toDouble(&second)};
  if (!first || !second || !std::isfinite(pair.first) || !std::isfinite(pair.second)) return {};
  return pair;
}

QString simFiles(const QStringList& files) {
  QStringList names;
  for (const QString& file : files) names += escaped(file);
  return names.join(':');
}

QStringList simFilesOf(const QString& text) {
  QStringList files;
  for (const QString& name : text.split(':', Qt::SkipEmptyParts)) files += unescaped(name);
  return files;
}

}  // namespace desktop
