#include <cctype>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/run_list.h"
#include "scanners/sim/sim_image.h"

namespace quillbay {

namespace {

constexpr int kLargest = 1000000;

/// Plain (P1 to P3) and raw (P4 to P6) portable anymaps.
class PnmRows final : public SimImageRows {
 public:
  explicit PnmRows(const std::string& path) : m_path(path), m_file(std::fopen(path.c_str(), "rb"), &std::fclose) {
    if (!m_file) fail("cannot be opened: " + fio::errorText(errno), errno);
    if (std::fgetc(m_file.get()) != 'P') fail("is no PNM");
    m_kind = std::fgetc(m_file.get()) - '0';
    if (m_kind < 1 || m_kind > 6) fail("is no PNM");
    width = number();
    height = number();
    m_most = m_kind == 1 || m_kind == 4 ? 1 : number();
    if (width < 1 || height < 1 || width > kLargest || m_most < 1 || m_most > 65535) fail("has a damaged header");
    channels = m_kind == 3 || m_kind == 6 ? 3 : 1;
    m_samples = static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
    m_bytes.resize(m_kind == 4 ? (m_samples + 7) / 8 : m_most > 255 ? m_samples * 2 : m_samples);
  }

  void readRow(std::uint8_t* out) override {
    if (m_kind < 4) {
      for (std::size_t i = 0; i < m_samples; ++i) out[i] = level(m_kind == 1 ? bit() : number());
      return;
    }
    if (std::fread(m_bytes.data(), 1, m_bytes.size(), m_file.get()) != m_bytes.size()) fail("ends too early");
    if (m_kind == 4) {
      bitsToBytes(m_bytes.data(), m_samples, 255, 0, out);
    } else if (m_most > 255) {
      for (std::size_t i = 0; i < m_samples; ++i) out[i] = level(m_bytes[2 * i] * 256 + m_bytes[2 * i + 1]);
    } else if (m_most == 255) {
      std::copy(m_bytes.begin(), m_bytes.end(), out);
    } else {
      for (std::size_t i = 0; i < m_samples; ++i) out[i] = level(m_bytes[i]);
    }
  }

 private:
  [[noreturn]] void fail(const std::string& what, int error = 0) const {
    throw CXFileException("The image \"" + m_path + "\" " + what + ".", m_path, error);
  }
  // The next digit of a plain bitmap, whose digits need no blanks between them.
  int bit() {
    for (;;) {
      const int c = std::fgetc(m_file.get());
      if (c == '0' || c == '1') return c - '0';
      if (c == EOF || !std::isspace(c)) fail("has a damaged row");
    }
  }
  // The next number; takes the one blank after it.
  std::int32_t number() {
    int c = std::fgetc(m_file.get());
    for (; c == '#' || std::isspace(c); c = std::fgetc(m_file.get()))
      while (c == '#' && (c = std::fgetc(m_file.get())) != '\n') {
        if (c == EOF) fail("has a damaged header");
        c = '#';
      }
    if (!std::isdigit(c)) fail("has a damaged number");
    std::int32_t value = 0;
    for (; std::isdigit(c) && value <= kLargest * 100; c = std::fgetc(m_file.get())) value = value * 10 + (c - '0');
    return value;
  }
  [[nodiscard]] std::uint8_t level(int value) const noexcept {
    if (m_kind == 1) return value != 0 ? 0 : 255;
    if (m_most == 65535) return static_cast<std::uint8_t>(value >> 8);
    return static_cast<std::uint8_t>((std::min(value, m_most) * 255LL + m_most / 2) / m_most);
  }

  std::string m_path;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
  int m_kind = 0;
  int m_most = 1;
  std::size_t m_samples = 0;
  std::vector<std::uint8_t> m_bytes;
};

}  // namespace

std::unique_ptr<SimImageRows> openPnmRows(const std::string& path) { return std::make_unique<PnmRows>(path); }

}  // namespace quillbay
