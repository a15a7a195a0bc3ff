#include "host/tools/curve_text.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>
#include <array>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr std::string_view kFirstLine = "quillbay-curves 1";
constexpr std::array<std::string_view, kCurveChannels> kCurveNames{"common", "red", "green", "blue"};
constexpr qint64 kMostFileBytes = 64 * 1024;
constexpr std::size_t kMostShown = 40;  // characters of a text that is quoted

/// The next line without its end; what is left stays in `text`.
std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

/// The next word of a line; empty when there is none.
std::string_view takeWord(std::string_view& line) {
  constexpr std::string_view kBlanks = " \t";
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  return word;
}

/// Fit to be shown: cut, and without what is no printable ASCII.
std::string shownWord(std::string_view word) {
  std::string shown(word.substr(0, kMostShown));
  for (char& c : shown) {
    if (c < ' ' || c > '~') c = '?';
  }
  return word.size() > kMostShown ? shown + "..." : shown;
}

bool readPoint(std::string_view word, CurvePoint* out) {
  const std::size_t comma = word.find(',');
  if (comma == std::string_view::npos) return false;
  std::int64_t x = 0, y = 0;
  if (!parseNumber(word.substr(0, comma), &x) || !parseNumber(word.substr(comma + 1), &y)) return false;
  if (x < 0 || x > 255 || y < 0 || y > 255) return false;
  *out = {static_cast<int>(x), static_cast<int>(y)};
  return true;
}

/// Reads the points of a line. Returns what is wrong, or nothing.
std::string readCurve(std::string_view line, ToneCurve* out) {
  std::vector<CurvePoint> points;
  for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line)) {
    CurvePoint point;
    if (!readPoint(word, &point))
      return formatText(Supp_Translate("\"%s\" is no point: two numbers from 0 to 255 with a comma between them"),
                        {shownWord(word)});
    if (points.size() == ToneCurve::kMostPoints)
      return formatText(Supp_Translate("a curve has at most %s points"),
                        {toText(static_cast<std::int64_t>(ToneCurve::kMostPoints))});
    points.push_back(point);
  }
  if (points.size() < 2) return Supp_Translate("a curve has at least two points");
  auto curve = ToneCurve::through(std::move(points));
  if (!curve) return Supp_Translate("the first number of each point is greater than that of the point before");
  *out = std::move(*curve);
  return {};
}

std::string inFile(const char* pattern, const std::string& path, const std::string& why) {
  return formatText(Supp_Translate(pattern), {path, why});
}

}  // namespace

std::string curveText(const CurveSet& curves) {
  std::string text(kFirstLine);
  text += '\n';
  for (std::size_t i = 0; i < kCurveChannels; ++i) {
    text += kCurveNames[i];
    for (const CurvePoint& p : curves.curve(static_cast<CurveChannel>(i)).points())
      text += ' ' + toText(std::int64_t{p.x}) + ',' + toText(std::int64_t{p.y});
    text += '\n';
  }
  return text;
}

std::string readCurveText(std::string_view text, CurveSet* out) {
  if (takeLine(text) != kFirstLine)
    return formatText(Supp_Translate("it holds no curves: its first line is not \"%s\""),
                      {std::string(kFirstLine)});
  CurveSet curves;
  std::array<bool, kCurveChannels> seen{};
  for (std::int64_t number = 2; !text.empty(); ++number) {
    std::string_view line = takeLine(text);
    const std::string_view name = takeWord(line);
    if (name.empty() || name.starts_with('#')) continue;
    const auto known = std::find(kCurveNames.begin(), kCurveNames.end(), name);
    const auto channel = static_cast<std::size_t>(known - kCurveNames.begin());
    std::string why;
    ToneCurve curve;
    if (known == kCurveNames.end()) {
      why = formatText(Supp_Translate("\"%s\" is no curve: there are common, red, green and blue"),
                       {shownWord(name)});
    } else if (seen[channel]) {
      why = formatText(Supp_Translate("the curve %s stands there twice"), {std::string(name)});
    } else {
      why = readCurve(line, &curve);
    }
    if (!why.empty()) return formatText(Supp_Translate("line %s: %s"), {toText(number), why});
    seen[channel] = true;
    curves.setCurve(static_cast<CurveChannel>(channel), std::move(curve));
  }
  *out = std::move(curves);
  return {};
}

std::string saveCurveFile(const std::string& path, const CurveSet& curves) {
  QSaveFile file(QString::fromStdString(path));
  const std::string text = curveText(curves);
  const auto length = static_cast<qint64>(text.size());
  if (file.open(QIODevice::WriteOnly) && file.write(text.data(), length) == length && file.commit()) return {};
  return inFile("The curves cannot be saved in %s: %s.", path, file.errorString().toStdString());
}

std::string loadCurveFile(const std::string& path, CurveSet* out) {
  QFile file(QString::fromStdString(path));
  const bool isOther = file.exists() && !QFileInfo(file).isFile();  // reading a pipe would wait for its other end
  if (isOther) return inFile("The curves in %s cannot be read: %s.", path, Supp_Translate("it is no file"));
  if (!file.open(QIODevice::ReadOnly))
    return inFile("The curves in %s cannot be read: %s.", path, file.errorString().toStdString());
  const QByteArray bytes = file.read(kMostFileBytes + 1);
  if (file.error() != QFileDevice::NoError)
    return inFile("The curves in %s cannot be read: %s.", path, file.errorString().toStdString());
  if (bytes.size() > kMostFileBytes)
    return inFile("The curves in %s cannot be read: %s.", path,
                  Supp_Translate("it is too large for a file of curves"));
  const std::string why = readCurveText({bytes.data(), static_cast<std::size_t>(bytes.size())}, out);
  return why.empty() ? why : inFile("The curves in %s cannot be read: %s.", path, why);
}

}  // namespace quillbay
