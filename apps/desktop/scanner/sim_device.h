#pragma once
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace desktop {

/// A simulated scanner's device string, "sim:key=value,key=value", taken apart and put together again. Keys that
/// nobody asks for stay as they are and where they are. Numbers have a decimal point in any locale.
class SimDevice {
 public:
  explicit SimDevice(const QString& device);
  [[nodiscard]] static bool isOne(const QString& device);

  /// The value of a key, as it is written; empty without one. Of several the last counts.
  [[nodiscard]] QString value(const QString& key) const;
  /// Sets a key where it stands, or at the end; an empty value takes it away.
  void set(const QString& key, const QString& value);
  [[nodiscard]] QString text() const;

 private:
  std::vector<std::pair<QString, QString>> m_items;  // the value with its "=", so that a lone key stays one
};

/// A number as device strings have it: as short as it can be without a loss below a thousandth.
[[nodiscard]] QString simNumber(double value);
/// "841x594"; nothing for another text.
[[nodiscard]] QString simPair(double first, double second);
[[nodiscard]] std::optional<std::pair<double, double>> simPairOf(const QString& text);
/// Names of files, parted by colons; in a name commas, colons and per cent signs are escaped.
[[nodiscard]] QString simFiles(const QStringList& files);
[[nodiscard]] QStringList simFilesOf(const QString& text);

}  // namespace desktop
