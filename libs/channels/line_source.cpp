#include "channels/line_source.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{512} << 10;

/// What a block's rows point to: a stripe's lines, or lines that were copied.
struct Hold {
  std::atomic<int> holds{0};
  std::shared_ptr<struct HoldPool> pool;
  KxPtr<IScanBuffer> stripe;
  std::vector<std::uint8_t> bytes;
  std::vector<const std::uint8_t*> rows;
};

/// Holds are used again, so that lines cost no allocation. The holds keep it alive.
struct HoldPool {
  std::mutex mutex;
  std::vector<std::unique_ptr<Hold>> free;
};

void addHold(void* hold) { static_cast<Hold*>(hold)->holds.fetch_add(1, std::memory_order_relaxed); }

void releaseHold(void* hold) {
  auto* h = static_cast<Hold*>(hold);
  if (h->holds.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  h->stripe = nullptr;
  const std::shared_ptr<HoldPool> pool = std::move(h->pool);
  const std::lock_guard lock(pool->mutex);
  pool->free.emplace_back(h);
}

Hold* takeHold(const std::shared_ptr<HoldPool>& pool) {
  std::unique_ptr<Hold> hold;
  {
    const std::lock_guard lock(pool->mutex);
    if (!pool->free.empty()) {
      hold = std::move(pool->free.back());
      pool->free.pop_back();
    }
  }
  if (!hold) hold = std::make_unique<Hold>();
  hold->pool = pool;
  hold->rows.clear();
  hold->holds.store(1, std::memory_order_relaxed);
  return hold.release();
}

void addStripeHold(void* hold) { static_cast<IScanBuffer*>(hold)->AddRef(); }
void releaseStripeHold(void* hold) { static_cast<IScanBuffer*>(hold)->Release(); }

class StripeSource final : public LineSource {
 public:
  StripeSource(KxPtr<IStripeReader> reader, KxColorSpace colorSpace, std::int32_t width)
      : m_reader(std::move(reader)), m_colorSpace(colorSpace), m_width(width) {}

  bool next(QbBlock* block) override {
    for (;;) {
      KxPtr<IScanBuffer> stripe;
      std::int32_t lines = 0;
      if (!m_reader->NextStripe(stripe.put(), &lines)) return false;
      if (!stripe || lines <= 0) continue;
      check(stripe.get(), lines);
      if (!m_first) m_first = stripe;
      fill(std::move(stripe), lines, block);
      return true;
    }
  }
  bool abandoned() override { return m_reader->WasAbandoned() != 0; }
  int palette(KXRGBQUAD out[256]) override {
    const int count = m_first ? std::min(m_first->GetColorCount(), 256) : 0;
    if (count > 0) std::copy_n(m_first->GetPalette(), count, out);
    m_first = nullptr;
    return count;
  }

 private:
  void check(IScanBuffer* stripe, std::int32_t lines) const {
    KxSize size;
    stripe->GetSize(&size);
    const bool fits = size.width >= m_width && size.height >= lines && stripe->GetColorSpace() == m_colorSpace;
    if (!fits)
      throw CXIFaceException(
          Supp_Translate("the scanner changed the page's width or colours while it was scanned; scan again"));
  }

  void fill(KxPtr<IScanBuffer> stripe, std::int32_t lines, QbBlock* block) {
    *block = {};
    block->lines = lines;
    if (const auto whole = isRunList(m_colorSpace) ? nullptr : stripe.as<IContiguousLines>()) {
      block->bytes = whole->GetBytes();
      block->stride = whole->GetStride();
      block->add_hold = addStripeHold;
      block->release_hold = releaseStripeHold;
      block->hold = stripe.detach();
      return;
    }
    if (const auto bits = stripe.as<IPackedLines>()) {
      block->bytes = bits->GetBits();
      block->stride = bits->GetStride();
      block->packed = 1;
      block->add_hold = addStripeHold;
      block->release_hold = releaseStripeHold;
      block->hold = stripe.detach();
      return;
    }
    Hold* hold = takeHold(m_pool);
    for (std::int32_t i = 0; i < lines; ++i) hold->rows.push_back(stripe->GetLine(i));
    hold->stripe = std::move(stripe);
    block->rows = hold->rows.data();
    block->add_hold = addHold;
    block->release_hold = releaseHold;
    block->hold = hold;
  }

  KxPtr<IStripeReader> m_reader;
  KxColorSpace m_colorSpace;
  std::int32_t m_width;
  KxPtr<IScanBuffer> m_first;  // for its palette
  std::shared_ptr<HoldPool> m_pool = std::make_shared<HoldPool>();
};

class LineByLineSource final : public LineSource {
 public:
  LineByLineSource(IRStor* raster, KxPtr<IAccessContext> lines, KxColorSpace colorSpace, std::int32_t width)
      : m_raster(KxPtr<IRStor>::share(raster)),
        m_lines(std::move(lines)),
        m_runs(isRunList(colorSpace) ? m_lines.as<IARSContext>() : nullptr),
        m_width(width),
        m_lineBytes(fixedLineBytes(colorSpace, width)) {
    if (isRunList(colorSpace) && !m_runs)
      throw CXIFaceException(Supp_Translate("the black-and-white raster offers no run lists"));
  }

  bool next(QbBlock* block) override {
    if (m_line >= m_raster->GetHeight()) return false;
    Hold* hold = takeHold(m_pool);
    m_offsets.clear();
    std::size_t used = 0;
    const std::size_t room = std::max(kBlockBytes, m_lineBytes);
    hold->bytes.resize(std::max(hold->bytes.size(), room));
    try {
      while (m_line < m_raster->GetHeight()) {
        const std::size_t size = m_runs ? m_runs->GetLineSize(m_line) : m_lineBytes;
        if (!m_offsets.empty() && used + size > room) break;
        if (used + size > hold->bytes.size()) hold->bytes.resize(used + size);
        if (!m_lines->ReadLine(m_line, 0, m_width, hold->bytes.data() + used)) {
          throw CXIFaceException(
              formatText(Supp_Translate("line %d of the raster cannot be read"), {std::to_string(m_line)}));
        }
        m_offsets.push_back(used);
        used += size;
        ++m_line;
      }
    } catch (...) {
      releaseHold(hold);
      throw;
    }
    for (const std::size_t offset : m_offsets) hold->rows.push_back(hold->bytes.data() + offset);
    *block = {};
    block->lines = static_cast<std::int32_t>(m_offsets.size());
    if (!m_runs) {
      block->bytes = hold->bytes.data();
      block->stride = m_lineBytes;
    }
    block->rows = hold->rows.data();
    block->hold = hold;
    block->add_hold = addHold;
    block->release_hold = releaseHold;
    return true;
  }
  bool abandoned() override { return false; }
  int palette(KXRGBQUAD out[256]) override {
    const int count = m_lines->GetColorCount();
    return count > 0 && count <= 256 ? m_lines->GetPalette(out) : 0;
  }

 private:
  KxPtr<IRStor> m_raster;
  KxPtr<IAccessContext> m_lines;
  KxPtr<IARSContext> m_runs;
  std::int32_t m_width;
  std::size_t m_lineBytes;
  std::int32_t m_line = 0;
  std::vector<std::size_t> m_offsets;
  std::shared_ptr<HoldPool> m_pool = std::make_shared<HoldPool>();
};

}  // namespace

std::unique_ptr<LineSource> makeLineSource(IRStor* raster, KxColorSpace colorSpace, std::int32_t width) {
  if (auto stripes = query<IStripeReader>(raster)) {
    return std::make_unique<StripeSource>(std::move(stripes), colorSpace, width);
  }
  auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0));
  if (!lines) throw CXIFaceException(Supp_Translate("the raster's lines cannot be read"));
  return std::make_unique<LineByLineSource>(raster, std::move(lines), colorSpace, width);
}

}  // namespace quillbay
