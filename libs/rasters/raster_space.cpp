#include "rasters/raster_space.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

/// The scratch file is mapped in windows much larger than what is asked for: a process may have some 65,000
/// mappings only, and address space costs nothing.
constexpr std::size_t kWindowBytes = std::size_t{256} << 20;

}  // namespace

RasterSpace::~RasterSpace() {
  for (const Window& w : m_windows) munmap(w.data, w.bytes);
}

RasterSpace::Piece RasterSpace::allocate(std::size_t bytes, std::int64_t stillNeeded) {
  BudgetedMemory memory = BudgetedMemory::take(bytes, m_policy.budgetBytes);
  if (!memory.data()) return allocateScratch(bytes, stillNeeded);
  m_memory.push_back(std::move(memory));
  return {m_memory.back().data(), -1};
}

void RasterSpace::openScratch() {
  try {
    m_file = std::make_unique<ScratchFile>(m_policy.scratchFolder, m_policy.allowMemoryBacked);
  } catch (const CXFileException& e) {
    throw CXMemException(
        formatText(Supp_Translate("A raster has used its %s of memory and cannot continue in a file. %s"),
                   {memoryText(m_policy.budgetBytes), e.what()}));
  }
  logLine(LogLevel::Info, "quillbay.raster", "a raster goes on in the scratch folder " + m_policy.scratchFolder);
}

RasterSpace::Piece RasterSpace::allocateScratch(std::size_t bytes, std::int64_t stillNeeded) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  bytes = (bytes + page - 1) / page * page;
  if (!m_file) openScratch();
  const std::int64_t offset = m_file->reserve(static_cast<std::int64_t>(bytes), stillNeeded);
  if (m_windows.empty() || m_windows.back().bytes - m_windowUsed < bytes) {
    const std::size_t windowBytes = std::max(kWindowBytes, bytes);
    std::uint8_t* data = m_file->map(offset, windowBytes);
    if (!data) {
      throw CXMemException(formatText(
          Supp_Translate("Mapping %s of a raster's scratch file failed: the process has no address space left."),
          {memoryText(static_cast<std::int64_t>(windowBytes))}));
    }
    m_windows.push_back({data, windowBytes});
    m_windowUsed = 0;
  }
  std::uint8_t* data = m_windows.back().data + m_windowUsed;
  m_windowUsed += bytes;
  return {data, offset};
}

}  // namespace quillbay
