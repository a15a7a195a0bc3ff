#include "analysis/lut_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <limits>
#include <string_view>
#include <utility>

#include "analysis/palette_cube.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr std::string_view kLutMark = "MORVANE-LUT";
constexpr std::string_view kLutVersion = "0402";
constexpr std::string_view kLutLineEnd = "\r\n";
constexpr const char* kAutoLutName = "auto.lut";
constexpr std::size_t kMostLineBytes = 512;
// Three lines, the palette, the line after it and the classes: no lookup file reaches further.
constexpr std::size_t kMostLutFileBytes =
    (3 + kLutEntries + 1) * (kMostLineBytes + kLutLineEnd.size()) + kLutClasses;
constexpr int kLutCubeDivisions = 8;

/// Reads lines from bytes, and what follows them.
class LineReader {
 public:
  explicit LineReader(std::span<const std::uint8_t> bytes)
      : m_rest(reinterpret_cast<const char*>(bytes.data()), bytes.size()) {}

  /// The next line without its end; empty after the last one.
  std::string_view line() {
    const std::size_t end = m_rest.substr(0, kMostLineBytes + kLutLineEnd.size()).find('\n');
    std::string_view found = m_rest.substr(0, end == std::string_view::npos ? kMostLineBytes : end);
    const std::size_t taken = end == std::string_view::npos ? found.size() : end + 1;
    if (end != std::string_view::npos && found.ends_with('\r')) found.remove_suffix(1);
    if (found.size() > kMostLineBytes) {  // its end is one byte too far
      m_rest.remove_prefix(kMostLineBytes);
      return found.substr(0, kMostLineBytes);
    }
    m_rest.remove_prefix(taken);
    return found;
  }
  [[nodiscard]] std::string_view rest() const { return m_rest; }

 private:
  std::string_view m_rest;
};

/// The number that a text starts with, held to 32 bits; 0 when there is none.
std::int32_t leadingNumber(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\v\f\r\n");
  if (start == std::string_view::npos) return 0;
  text.remove_prefix(start);
  const bool negative = text.front() == '-';
  if (negative || text.front() == '+') text.remove_prefix(1);
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  std::int64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    value = std::min(value * 10 + (c - '0'), kMost + 1);
  }
  return static_cast<std::int32_t>(negative ? -value : std::min(value, kMost));
}

/// A palette line's three numbers, by their low bytes; missing ones are 0.
std::array<std::uint8_t, 3> paletteNumbers(std::string_view line) {
  std::array<std::uint8_t, 3> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::size_t blank = i + 1 < numbers.size() ? line.find(' ') : std::string_view::npos;
    numbers[i] = static_cast<std::uint8_t>(leadingNumber(line.substr(0, blank)));
    line.remove_prefix(blank == std::string_view::npos ? line.size() : blank + 1);
  }
  return numbers;
}

/// An open file that is closed at the end of its life.
class LutDescriptor {
 public:
  explicit LutDescriptor(int fd) : m_fd(fd) {}
  ~LutDescriptor() { close(); }
  LutDescriptor(const LutDescriptor&) = delete;
  LutDescriptor& operator=(const LutDescriptor&) = delete;
  [[nodiscard]] int get() const noexcept { return m_fd; }
  /// Returns 0, or the error number.
  int close() noexcept {
    const int fd = std::exchange(m_fd, -1);
    return fd >= 0 && ::close(fd) != 0 ? errno : 0;
  }

 private:
  int m_fd;
};

/// The start of a regular file, as far as a lookup file can reach. Returns 0 or the error number.
int readStart(const std::string& path, CKxBlob* out) {
  // A pipe would wait for its writer.
  const LutDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (file.get() < 0) return errno;
  struct stat info {};
  if (::fstat(file.get(), &info) != 0) return errno;
  if (S_ISDIR(info.st_mode)) return EISDIR;
  if (!S_ISREG(info.st_mode)) return EINVAL;
  out->resize(kMostLutFileBytes);
  std::size_t size = 0;
  while (size < out->size()) {
    const ssize_t got = ::read(file.get(), out->data() + size, out->size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno;
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
  }
  out->resize(size);
  return 0;
}

/// Writes a new file. Returns 0 or the error number.
int writeWhole(const std::string& path, const CKxBlob& bytes) {
  LutDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (file.get() < 0) return errno;
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t wrote = ::write(file.get(), bytes.data() + done, bytes.size() - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote < 0) return errno;
    done += static_cast<std::size_t>(wrote);
  }
  if (::fsync(file.get()) != 0) return errno;
  return file.close();
}

/// A whole file in place of an old one. Throws CXFileException.
void replaceFile(const std::string& path, const CKxBlob& bytes) {
  const std::string part = path + "." + toText(std::int64_t{::getpid()}) + ".part";  // of this process alone
  if (const int error = writeWhole(part, bytes)) {
    ::unlink(part.c_str());
    throw CXFileException(fio::errorText(error), path, error);
  }
  try {
    fio::publish(part, path, true);
  } catch (...) {
    ::unlink(part.c_str());
    throw;
  }
}

int explained(std::string* why, const std::string& reason) {
  if (why) *why = reason;
  return 0;
}

/// The middle of a colour code's range.
KXRGBQUAD colorOfCode(std::size_t code) {
  const auto middle = [code](int shift) { return static_cast<std::uint8_t>(8 * ((code >> shift) & 31) + 3); };
  return {middle(10), middle(5), middle(0), 0};
}

}  // namespace

std::optional<CKxBlob> parseLutFile(std::span<const std::uint8_t> bytes) {
  LineReader reader(bytes);
  const std::string_view first = reader.line();
  if (first.find(kLutMark) == std::string_view::npos) return std::nullopt;
  // Of lines that end in carriage returns alone: what would be read of it are no colours, and classes that are
  // moved.
  if (first.size() == kMostLineBytes && first.find('\r') != std::string_view::npos) return std::nullopt;
  reader.line();
  const auto lines = static_cast<std::uint32_t>(leadingNumber(reader.line()));
  if (lines == 0) return std::nullopt;
  CKxBlob lut(kLutBytes, 0);
  for (std::size_t i = 0; i < std::min<std::size_t>(lines, kLutEntries); ++i) {
    const auto [red, green, blue] = paletteNumbers(reader.line());
    lut[4 * i] = blue;
    lut[4 * i + 1] = green;
    lut[4 * i + 2] = red;
  }
  reader.line();
  const std::string_view classes = reader.rest();
  if (classes.size() < kLutClasses) return std::nullopt;
  std::copy_n(classes.begin(), kLutClasses, lut.begin() + kLutPaletteBytes);
  return lut;
}

CKxBlob makeLutFile(std::span<const KXRGBQUAD, kLutEntries> palette, int count) {
  const auto used = static_cast<std::size_t>(std::clamp<int>(count, 0, kLutEntries));
  const CPalletteCube cube(kLutCubeDivisions, palette.first(used));
  std::string text;
  const auto addLine = [&text](std::string_view line) { text.append(line).append(kLutLineEnd); };
  const auto number = [](std::uint8_t value) { return toText(std::int64_t{value}); };
  addLine(kLutMark);
  addLine(kLutVersion);
  addLine(toText(std::int64_t{kLutEntries}));
  for (const KXRGBQUAD& c : palette) addLine(number(c.red) + ' ' + number(c.green) + ' ' + number(c.blue));
  addLine("0");
  CKxBlob bytes(text.begin(), text.end());
  bytes.reserve(bytes.size() + kLutClasses);
  for (std::size_t code = 0; code < kLutClasses; ++code)
    bytes.push_back(static_cast<std::uint8_t>(cube.Nearest(colorOfCode(code))));
  return bytes;
}

std::vector<KXRGBQUAD> colorsOfLut(const CKxBlob& lut) {
  std::vector<KXRGBQUAD> colors;
  if (lut.size() != kLutBytes) return colors;
  std::bitset<kLutEntries> isClass;
  for (std::size_t i = kLutPaletteBytes; i < kLutBytes; ++i) isClass.set(lut[i]);
  for (std::size_t i = 0; i < kLutEntries; ++i) {
    const std::uint8_t* entry = &lut[4 * i];  // blue, green, red
    if (isClass.test(i)) colors.push_back({entry[2], entry[1], entry[0], 0});
  }
  return colors;
}

int ReadLutFile(const std::string& path, IParam* params, std::string* why) {
  CKxBlob bytes;
  if (const int error = readStart(path, &bytes)) {
    const std::string cause =
        error == EINVAL ? Supp_Translate("it is not a regular file; choose a file") : fio::errorText(error);
    return explained(why, formatText(Supp_Translate("The file cannot be read: %s."), {cause}));
  }
  auto lut = parseLutFile(bytes);
  if (!lut)
    return explained(why, Supp_Translate("The file is damaged or no lookup file: choose another one, or make one "
                                         "from the preview."));
  params->SetValue(key::Lut, std::move(*lut));
  return 1;
}

int WriteAutoLut(ILutPage& page, int count, const KXRGBQUAD* palette, std::string* why, std::string* file) {
  const std::string folder = page.ToolTemplatesDir();
  if (folder.empty())
    return explained(why, Supp_Translate("The lookup file cannot be written: this program has no folder for it."));
  const std::string path = fio::withDelimiter(folder) + kAutoLutName;
  try {
    fio::createFolder(folder);
    replaceFile(path, makeLutFile(std::span<const KXRGBQUAD, kLutEntries>(palette, kLutEntries), count));
  } catch (const CXException& e) {
    return explained(why,
                     formatText(Supp_Translate("The lookup file \"%s\" cannot be written: %s"), {path, e.what()}));
  }
  if (file) *file = path;
  page.ClassifyBy(path);
  return 1;
}

}  // namespace quillbay
