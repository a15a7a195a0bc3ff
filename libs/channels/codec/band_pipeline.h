#pragma once
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

#include "channels/codec/byte_buffer.h"
#include "channels/format_module.h"

namespace quillbay {

/// Lines that are encoded together, as pieces of the blocks that they came in. Holds the blocks.
class Band {
 public:
  Band() = default;
  ~Band() { clear(); }
  Band(const Band&) = delete;
  Band& operator=(const Band&) = delete;

  /// Adds `count` lines of `block` from `first` on.
  void add(const QbBlock& block, std::int32_t first, std::int32_t count);
  /// Gives the blocks back.
  void clear() noexcept;
  [[nodiscard]] std::int32_t lines() const noexcept { return m_lines; }
  /// The page's line, from 0, that the first one is.
  [[nodiscard]] std::int64_t first() const noexcept { return m_first; }
  void setFirst(std::int64_t line) noexcept { m_first = line; }
  /// Calls `take(line bytes)` for each line, top line first; with a second parameter it is told whether a bitonal
  /// line is packed.
  template <class Take>
  void eachLine(Take take) const {
    for (const Part& part : m_parts) {
      for (std::int32_t i = 0; i < part.count; ++i) {
        if constexpr (std::is_invocable_v<Take, const std::uint8_t*, bool>) {
          take(part.line(i), part.block.packed != 0);
        } else {
          take(part.line(i));
        }
      }
    }
  }
  /// The lines where they follow one another without gaps in one piece of memory; else null.
  [[nodiscard]] const std::uint8_t* whole(std::size_t lineBytes) const noexcept;
  /// The last line; the band has one.
  [[nodiscard]] const std::uint8_t* lastLine() const noexcept {
    return m_parts.back().line(m_parts.back().count - 1);
  }

 private:
  struct Part {
    QbBlock block;
    std::int32_t first, count;
    [[nodiscard]] const std::uint8_t* line(std::int32_t i) const noexcept {
      return block.bytes ? block.bytes + static_cast<std::size_t>(first + i) * block.stride : block.rows[first + i];
    }
  };
  std::vector<Part> m_parts;
  std::int32_t m_lines = 0;
  std::int64_t m_first = 0;
};

/// Turns a band into bytes; each worker has its own.
class IBandEncoder {
 public:
  virtual ~IBandEncoder() = default;
  virtual void encode(const Band& band, ByteBuffer& out) = 0;
};

/// Encodes bands on all cores and delivers them in order on the caller's thread. A bounded number is under way, so
/// memory does not depend on the page's length.
/// Threads: used on one thread. Errors: the first one of an encoder or of `deliver` ends it and is thrown from
/// `push` or `finish`. Life cycle: push()* -> finish(), or destruction, which drops what is under way.
class BandPipeline {
 public:
  struct Setup {
    std::int32_t bandLines = 1;
    /// Bands that wait or are encoded, for each thread. One is enough where a band takes long.
    unsigned depth = 2;
    std::function<std::unique_ptr<IBandEncoder>()> makeEncoder;
    /// Takes the encoded bytes of the next band.
    std::function<void(const ByteBuffer&)> deliver;
    /// Called on the caller's thread before a band is handed to the workers; may be empty.
    std::function<void(Band&)> prepare;
  };
  explicit BandPipeline(Setup setup);
  ~BandPipeline();
  BandPipeline(const BandPipeline&) = delete;
  BandPipeline& operator=(const BandPipeline&) = delete;

  void push(const QbBlock& block);
  void finish();

 private:
  enum class Step { Empty, Waiting, Encoding, Encoded };
  struct Job {
    Band band;
    ByteBuffer bytes;
    Step step = Step::Empty;
    std::exception_ptr error;
  };
  void work();
  void submit();
  void deliverFront();
  bool frontIsEncoded();

  Setup m_setup;
  std::vector<std::unique_ptr<Job>> m_jobs;  // a ring: m_front is delivered next, m_fill is being filled
  std::size_t m_front = 0;
  std::size_t m_fill = 0;
  std::int64_t m_submitted = 0;  // lines
  std::vector<std::thread> m_workers;

  std::mutex m_mutex;  // guards the steps, m_next and m_stop
  std::condition_variable m_waiting, m_encoded;
  std::size_t m_next = 0;  // the job that a worker takes next
  bool m_stop = false;
};

/// Threads that encode: all cores, at most 16.
[[nodiscard]] unsigned encoderThreads() noexcept;

/// How many bands wait or are encoded for each thread. Where a page is so wide that its smallest band is large, one
/// keeps a thread busy long enough, and memory small.
[[nodiscard]] inline unsigned bandDepth(std::int64_t bandBytes) noexcept {
  constexpr std::int64_t kLargeBand = std::int64_t{4} << 20;
  return bandBytes > kLargeBand ? 1 : 2;
}

}  // namespace quillbay
