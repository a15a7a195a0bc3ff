#include <unistd.h>

#include <QFile>
#include <array>
#include <cerrno>

#include "platform/base_services.h"
#include "quillbay/presets.h"

namespace quillbay {
namespace {

constexpr qint64 kReadAtMost = (1 << 20) + 1;  // no preset is larger; what is gets that told

int fails(std::string_view pattern, const std::string& path, const std::string& reason, std::string* why) {
  if (why) *why = formatText(Supp_Translate(pattern), {path, reason});
  return 0;
}

std::string reasonOf(const QFile& file) { return errno ? fio::errorText(errno) : file.errorString().toStdString(); }

}  // namespace

std::int32_t PresetId(std::string_view name) noexcept {
  std::uint32_t h = 0;
  for (const char c : name) h = h * 257U + static_cast<std::uint32_t>(static_cast<signed char>(c));
  return static_cast<std::int32_t>(h);
}

std::string PresetPageTitle(std::int32_t number) {
  static constexpr std::array kTitles{"Main",           "Scanner Setup",   "BW Threshold",     "BW Adaptive",
                                      "BW Copy Normal", "BW Copy Photo",   "BW Copy Adaptive", "Palette",
                                      "Color Setup",    "Post-processing", "Save Settings"};
  const bool isKnown = number >= 0 && static_cast<std::size_t>(number) < kTitles.size();
  return isKnown ? Supp_Translate(kTitles[static_cast<std::size_t>(number)]) : std::string();
}

int WritePresetFile(const Preset& preset, const std::string& path, bool mayReplace, std::string* why) {
  constexpr std::string_view kPattern = "The preset cannot be written into \"%s\": %s";
  const std::string part = path + ".part";
  QFile file(QFile::decodeName(part.c_str()));
  try {
    const std::string text = WritePresetText(preset);
    Preset read;
    std::string unreadable;
    if (!ReadPresetText(text, &read, &unreadable)) return fails(kPattern, path, unreadable, why);
    fio::testWritable(path);
    errno = 0;
    const bool isWritten =
        file.open(QIODevice::WriteOnly) &&
        file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size()) &&
        file.flush() && ::fsync(file.handle()) == 0;
    if (!isWritten) {
      const int result = fails(kPattern, path, reasonOf(file), why);
      file.remove();
      return result;
    }
    file.close();
    fio::publish(part, path, mayReplace);
    return 1;
  } catch (const CXFileException& e) {
    if (file.exists()) file.remove();
    return e.systemError() == EEXIST ? fails("The file \"%s\" exists already%s", path, {}, why)
                                     : fails(kPattern, path, e.what(), why);
  } catch (const CXException& e) {
    return fails(kPattern, path, e.what(), why);
  }
}

int ReadPresetFile(const std::string& path, Preset* out, std::string* why) {
  QFile file(QFile::decodeName(path.c_str()));
  errno = 0;
  QByteArray bytes;
  if (file.open(QIODevice::ReadOnly)) bytes = file.read(kReadAtMost);
  if (file.error() != QFileDevice::NoError)
    return fails("The preset file \"%s\" cannot be read: %s", path, reasonOf(file), why);
  std::string reason;
  if (ReadPresetText({bytes.data(), static_cast<std::size_t>(bytes.size())}, out, &reason)) return 1;
  return fails("The file \"%s\" cannot be used: %s", path, reason, why);
}

}  // namespace quillbay
