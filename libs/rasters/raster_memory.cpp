#include "rasters/raster_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <utility>

#include "quillbay/raster.h"
#include "rasters/scratch_file.h"

namespace quillbay {
namespace {

constexpr const char* kDefaultScratchFolder = "/var/tmp";
constexpr std::size_t kHugePage = std::size_t{2} << 20;

std::atomic<std::int64_t> g_inUse{0};
std::mutex g_policyMutex;

std::int64_t quarterOfMemory() noexcept {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageBytes = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageBytes <= 0) return std::int64_t{256} << 20;
  return static_cast<std::int64_t>(pages) * pageBytes / 4;
}

RasterPolicy& policy() {
  static RasterPolicy p{quarterOfMemory(), kDefaultScratchFolder, false};
  return p;
}

bool charge(std::int64_t bytes, std::int64_t budget) noexcept {
  std::int64_t used = g_inUse.load(std::memory_order_relaxed);
  do {
    if (bytes > budget - used) return false;
  } while (!g_inUse.compare_exchange_weak(used, used + bytes, std::memory_order_relaxed));
  return true;
}

/// Whole pages; whole huge ones where that takes little more, since what is left at the end of the last one would
/// come in small pages, each at the cost of a fault.
std::size_t mappedBytes(std::size_t bytes) noexcept {
  constexpr std::size_t kLittle = 16;  // a sixteenth
  const auto whole = [bytes](std::size_t page) { return (bytes + page - 1) / page * page; };
  const std::size_t huge = whole(kHugePage);
  return huge - bytes <= bytes / kLittle ? huge : whole(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
}

/// Maps `bytes`, aligned for huge pages when it is large: touching fresh memory costs most of a fill otherwise.
std::uint8_t* mapMemory(std::size_t bytes) noexcept {
  const std::size_t slack = bytes >= kHugePage ? kHugePage : 0;
  void* p = mmap(nullptr, bytes + slack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  auto* begin = static_cast<std::uint8_t*>(p);
  if (slack == 0) return begin;
  const std::size_t head = (kHugePage - reinterpret_cast<std::uintptr_t>(begin) % kHugePage) % kHugePage;
  if (head > 0) munmap(begin, head);
  if (slack > head) munmap(begin + head + bytes, slack - head);
  madvise(begin + head, bytes, MADV_HUGEPAGE);  // an advice only: small pages do as well
  return begin + head;
}

}  // namespace

RasterPolicy currentRasterPolicy() {
  const std::lock_guard lock(g_policyMutex);
  return policy();
}

std::int64_t rasterMemoryInUse() noexcept { return g_inUse.load(std::memory_order_relaxed); }

void SetRasterBudget(const RasterBudget& budget) {
  RasterPolicy next;
  next.budgetBytes = budget.bytes > 0 ? budget.bytes : quarterOfMemory();
  next.scratchFolder = budget.scratchFolder.empty() ? kDefaultScratchFolder : std::string(budget.scratchFolder);
  next.allowMemoryBacked = budget.allowMemoryBacked;
  const ScratchFile probe(next.scratchFolder, next.allowMemoryBacked);  // throws when the folder does not do
  const std::lock_guard lock(g_policyMutex);
  policy() = std::move(next);
}

BudgetedMemory BudgetedMemory::take(std::size_t bytes, std::int64_t budgetBytes) noexcept {
  bytes = mappedBytes(bytes);
  BudgetedMemory m;
  if (!charge(static_cast<std::int64_t>(bytes), budgetBytes)) return m;
  m.m_data = mapMemory(bytes);
  if (m.m_data) {
    m.m_bytes = bytes;
  } else {
    g_inUse.fetch_sub(static_cast<std::int64_t>(bytes), std::memory_order_relaxed);
  }
  return m;
}

BudgetedMemory::BudgetedMemory(BudgetedMemory&& o) noexcept
    : m_data(std::exchange(o.m_data, nullptr)), m_bytes(std::exchange(o.m_bytes, 0)) {}

BudgetedMemory& BudgetedMemory::operator=(BudgetedMemory o) noexcept {
  std::swap(m_data, o.m_data);
  std::swap(m_bytes, o.m_bytes);
  return *this;
}

BudgetedMemory::~BudgetedMemory() {
  if (!m_data) return;
  munmap(m_data, m_bytes);
  g_inUse.fetch_sub(static_cast<std::int64_t>(m_bytes), std::memory_order_relaxed);
}

}  // namespace quillbay
