#include "scanners/lines/stripe.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/raster.h"
#include "quillbay/run_list.h"

namespace quillbay {

namespace {

constexpr std::size_t kStripeBytes = std::size_t{1} << 20;
// Packed lines may become run lists of thirty-two times their size.
constexpr std::size_t kPackedStripeBytes = std::size_t{256} << 10;
constexpr std::int32_t kLeastLines = 16;

// What a line of a drawing takes as a run list: a run in 128 pixels, and the end mark.
std::size_t expectedRunBytes(std::int32_t width) noexcept {
  return runListBytes(static_cast<std::size_t>(std::max(width, 0)) / 128 + 1);
}

std::size_t packedBytes(std::int32_t width) noexcept {
  return (static_cast<std::size_t>(std::max(width, 0)) + 7) / 8;
}

std::size_t expectedLineBytes(KxColorSpace colorSpace, std::int32_t width, bool packed) noexcept {
  if (packed) return packedBytes(width);
  return isRunList(colorSpace) ? expectedRunBytes(width) : fixedLineBytes(colorSpace, width);
}

StripePool::Block newBlock(std::size_t bytes) {
  try {
    return std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
  } catch (const std::bad_alloc&) {
    throw CXMemException(formatText(Supp_Translate("There is no memory for %d bytes of scanned lines: close other "
                                                   "programs, or scan at a lower resolution."),
                                    {std::to_string(bytes)}));
  }
}

}  // namespace

StripePool::Block StripePool::take(std::size_t bytes) {
  {
    const std::lock_guard lock(m_mutex);
    if (m_bytes != bytes) {
      m_blocks.clear();
      m_blocks.reserve(kKept);  // so that `give` cannot fail
      m_bytes = bytes;
    } else if (!m_blocks.empty()) {
      Block block = std::move(m_blocks.back());
      m_blocks.pop_back();
      return block;
    }
  }
  return newBlock(bytes);
}

void StripePool::give(Block block, std::size_t bytes) noexcept {
  const std::lock_guard lock(m_mutex);
  if (block && bytes == m_bytes && m_blocks.size() < m_blocks.capacity() && m_blocks.size() < kKept)
    m_blocks.push_back(std::move(block));
}

CStripe::CStripe(std::shared_ptr<StripePool> pool, KxColorSpace colorSpace, std::int32_t width,
                 std::int32_t capacity, std::uint32_t dpi, Bitonal bitonal)
    : m_pool(std::move(pool)),
      m_colorSpace(colorSpace),
      m_width(width),
      m_capacity(std::max(capacity, 1)),
      m_dpi(dpi),
      m_packed(isRunList(colorSpace) && bitonal == Bitonal::Packed),
      m_lineBytes(m_packed ? packedBytes(width) : fixedLineBytes(colorSpace, width)),
      m_blockBytes(std::max<std::size_t>(
          expectedLineBytes(colorSpace, width, m_packed) * static_cast<std::size_t>(m_capacity), 1)),
      m_block(m_pool->take(m_blockBytes)) {
  if (isRunList(colorSpace) && !m_packed) m_offsets.reserve(static_cast<std::size_t>(m_capacity));
  if (colorSpace != KxColorSpace::Grey) return;
  for (std::size_t i = 0; i < 256; ++i) {
    const auto v = static_cast<std::uint8_t>(i);
    m_palette[i] = {v, v, v, 0};
  }
}

CStripe::~CStripe() { m_pool->give(std::move(m_block), m_blockBytes); }

std::int32_t CStripe::usualCapacity(KxColorSpace colorSpace, std::int32_t width, Bitonal bitonal) noexcept {
  const bool packed = isRunList(colorSpace) && bitonal == Bitonal::Packed;
  const std::size_t line = std::max<std::size_t>(expectedLineBytes(colorSpace, width, packed), 1);
  return std::max(kLeastLines, static_cast<std::int32_t>((packed ? kPackedStripeBytes : kStripeBytes) / line));
}

void CStripe::setPalette(const KXRGBQUAD* entries, int count) noexcept {
  std::copy_n(entries, std::clamp(count, 0, 256), m_palette);
}

void CStripe::appendRuns(const std::uint32_t* runs, std::size_t runCount) {
  const std::size_t bytes = runListBytes(runCount);
  if (m_used + bytes > m_blockBytes) {
    // Beside the pool, so that the pool keeps its usual blocks.
    const std::size_t grown = std::max(m_blockBytes * 2, m_used + bytes);
    StripePool::Block block = newBlock(grown);
    std::memcpy(block.get(), m_block.get(), m_used);
    m_pool->give(std::move(m_block), m_blockBytes);
    m_block = std::move(block);
    m_blockBytes = grown;
  }
  m_offsets.push_back(m_used);
  std::uint8_t* out = m_block.get() + m_used;
  std::memcpy(out, runs, bytes - 8);
  const std::uint32_t end[2] = {RunEnd, 0};
  std::memcpy(out + bytes - 8, end, sizeof end);
  m_used += bytes;
  ++m_lines;
}

KxSize* CStripe::GetSize(KxSize* out) {
  *out = {m_width, m_lines};
  return out;
}

const std::uint8_t* CStripe::GetLine(std::int32_t i) {
  assert(i >= 0 && i < m_lines);
  const auto line = static_cast<std::size_t>(i);
  if (m_packed) {
    std::call_once(m_runsMade, [this] { makeRuns(); });
    return reinterpret_cast<const std::uint8_t*>(m_runs.data()) + m_offsets[line];
  }
  return m_block.get() + (isRunList(m_colorSpace) ? m_offsets[line] : line * m_lineBytes);
}

void CStripe::makeRuns() {
  const auto room = static_cast<std::size_t>(m_width) + 4;
  m_offsets.reserve(static_cast<std::size_t>(m_lines));
  std::size_t used = 0;
  for (std::int32_t i = 0; i < m_lines; ++i) {
    if (m_runs.size() < used + room) m_runs.resize(std::max(used + room, 2 * m_runs.size()));
    m_offsets.push_back(used * sizeof(std::uint32_t));
    const std::size_t runs =
        bitsToRuns(m_block.get() + static_cast<std::size_t>(i) * m_lineBytes, m_width, m_runs.data() + used);
    used += runListBytes(runs) / sizeof(std::uint32_t);
  }
}

int CStripe::AddToRaster(std::int32_t first, IRStor* raster) { return ScanBuffer_AddToRaster(this, first, raster); }

int CStripe::CreateRaster(IRStor** out) { return ScanBuffer_CreateRaster(this, out); }

int CStripe::AppendBuffer(IScanBuffer* /*other*/) { return 0; }

int CStripe::QueryInterface(const std::type_info& wanted, void** out) {
  if (wanted == typeid(IContiguousLines) && isRunList(m_colorSpace)) return 0;
  if (wanted == typeid(IPackedLines) && !m_packed) return 0;
  return detail::answerQuery<IScanBuffer, IContiguousLines, IPackedLines>(this, wanted, out);
}

}  // namespace quillbay
