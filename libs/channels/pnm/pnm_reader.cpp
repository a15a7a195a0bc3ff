#include "channels/pnm/pnm_reader.h"

#include "quillbay/color_space.h"

namespace quillbay {

void PnmReader::openPage(std::int32_t, QbPicture* out) {
  m_bytes = std::make_unique<ByteStream>(EdgeFile(m_file));
  m_header = readPnmHeader(*m_bytes);
  if (m_header.height < 1)
    throw ModuleError(QB_E_DAMAGED, "its head says 0 lines: it was never written to its end");
  const KxColorSpace space = m_header.isBitonal()                       ? KxColorSpace::Bitonal
                             : m_header.kind == 3 || m_header.kind == 6 ? KxColorSpace::Rgb
                                                                        : KxColorSpace::Grey;
  *out = {};
  out->color_space = static_cast<std::int32_t>(space);
  out->width = m_header.width;
  out->height = m_header.height;
  out->orientation = 1;
  checkLineBytes(m_header.samples());
  m_wide.resize(!m_header.isPlain() && m_header.most > 255 ? 2 * m_header.samples() : 0);
}

void PnmReader::readLine(std::uint8_t* out) {
  const std::size_t samples = m_header.samples();
  if (m_header.kind == 1) return readBits(out);
  if (m_header.isPlain()) {
    for (std::size_t i = 0; i < samples; ++i) out[i] = level(readPnmNumber(*m_bytes));
    return;
  }
  if (m_header.kind == 4) return m_bytes->take(out, (samples + 7) / 8);
  if (m_wide.empty()) {
    m_bytes->take(out, samples);
    if (m_header.most == 255) return;
    for (std::size_t i = 0; i < samples; ++i) out[i] = level(out[i]);
    return;
  }
  m_bytes->take(m_wide.data(), m_wide.size());  // high byte first, whatever the machine
  for (std::size_t i = 0; i < samples; ++i) out[i] = level(m_wide[2 * i] << 8 | m_wide[2 * i + 1]);
}

/// Plain bits need no blanks between them.
void PnmReader::readBits(std::uint8_t* out) {
  std::memset(out, 0, (m_header.samples() + 7) / 8);
  for (std::size_t i = 0; i < m_header.samples();) {
    const int c = m_bytes->next();
    if (c < 0) throw ModuleError(QB_E_TRUNCATED, "");
    if (c == '0' || c == '1') {
      if (c == '1') out[i / 8] = static_cast<std::uint8_t>(out[i / 8] | 0x80U >> i % 8);
      ++i;
    } else if (c == '#') {
      for (int skipped = c; skipped != '\n' && skipped >= 0;) skipped = m_bytes->next();
    } else if (c != ' ' && (c < '\t' || c > '\r')) {
      throw ModuleError(QB_E_DAMAGED, "the file is damaged: there is text where a pixel should be");
    }
  }
}

std::uint8_t PnmReader::level(std::int32_t sample) const noexcept {
  const std::int32_t most = m_header.most;
  if (most == 65535) return static_cast<std::uint8_t>(sample >> 8);
  return static_cast<std::uint8_t>((std::min(sample, most) * std::int64_t{255} + most / 2) / most);
}

}  // namespace quillbay
