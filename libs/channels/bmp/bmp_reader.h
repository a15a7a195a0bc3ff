#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/bmp/bmp_head.h"
#include "channels/bmp/bmp_runs.h"

namespace quillbay {

/// Reads a bitmap of any usual kind: bits, grey and palettes as they are, everything else as red, green, blue.
/// Opacity, which most programs leave undefined, is not looked at. Some lines are held; of a picture with runs also
/// where each of its lines begins, since its last one stands first.
class BmpReader {
 public:
  explicit BmpReader(const QbFile* file) : m_file(file) {}
  [[nodiscard]] static std::int32_t pages() noexcept { return 1; }
  /// Goes to the first line. Throws ModuleError, as `readLine` does.
  void openPage(std::int32_t page, QbPicture* out);
  void readLine(std::uint8_t* out);

 private:
  const std::uint8_t* storedLine();
  void fill();
  void spread(const std::uint8_t* line, std::uint8_t* out) const noexcept;
  void toColours(const std::uint8_t* line, std::uint8_t* out) const noexcept;

  EdgeFile m_file;
  BmpHead m_head;
  bool m_isBitonal = false;
  std::uint8_t m_turned = 0;             // what turns bits over so that 1 is black
  std::vector<std::uint8_t> m_tones[3];  // the byte of each number of a field
  std::unique_ptr<BmpRuns> m_runs;
  std::vector<std::uint8_t> m_lines;
  std::int64_t m_next = 0;               // line, from the top
  std::int64_t m_first = 0, m_held = 0;  // stored lines that are held
};

}  // namespace quillbay
