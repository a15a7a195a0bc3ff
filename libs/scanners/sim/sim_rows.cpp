#include "scanners/sim/sim_rows.h"

#include <cstring>
#include <utility>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/run_list.h"

namespace quillbay {

namespace {

constexpr int kUpright = 1, kFirstTurned = 5;  // orientations; from the second on lines are columns

}  // namespace

SimImageRows::SimImageRows(const std::string& path)
    : m_file(new_OpenFileChanel(nullptr, path).as<IKxRasterLoadFileChanel>()) {
  if (!m_file) throw CXFileException(formatText(Supp_Translate("read %s: it holds no picture"), {path}), path);
  m_lines = m_file->OpenLines(0);
  m_space = m_lines->GetColorSpace();
  m_size = m_lines->GetSize();
  m_dpi = m_lines->GetResolution();
  m_lines->GetPalette(m_palette);
  m_channels = m_space == KxColorSpace::Rgb || m_space == KxColorSpace::Palette ? 3 : 1;
  const int orientation = m_lines->GetOrientation();
  if (orientation >= kFirstTurned) std::swap(m_size.width, m_size.height);
  if (orientation != kUpright) m_lines = nullptr;
  if (m_space == KxColorSpace::Bitonal || m_space == KxColorSpace::Palette)
    m_line = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(m_size.width));
}

void SimImageRows::readLine(std::uint8_t* out) {
  if (m_lines) return m_lines->ReadLine(out);
  if (!m_raster) m_raster = KxPtr<IAccessContext>::adopt(m_file->Load(0, nullptr)->GetAccessContext(0, 0));
  const bool isRuns = m_space == KxColorSpace::Bitonal;
  if (isRuns) m_runs.resize(static_cast<std::size_t>(m_size.width) + 4);
  m_raster->ReadLine(m_next++, 0, m_size.width, isRuns ? static_cast<void*>(m_runs.data()) : out);
  if (isRuns) runsToBits(m_runs.data(), m_size.width, out);
}

void SimImageRows::readRow(std::uint8_t* out) {
  const auto width = static_cast<std::size_t>(m_size.width);
  readLine(m_line ? m_line.get() : out);
  if (m_space == KxColorSpace::Bitonal) {
    bitsToBytes(m_line.get(), width, 255, 0, out);
  } else if (m_space == KxColorSpace::Palette) {
    for (std::size_t i = 0; i < width; ++i) std::memcpy(out + 3 * i, &m_palette[m_line[i]], 3);
  }
}

}  // namespace quillbay
