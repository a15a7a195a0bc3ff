#pragma once
#include <zlib.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "channels/codec/module_support.h"

namespace quillbay {

/// Bytes one after the other.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  /// Reads up to `size` bytes; fewer only at the end. Throws ModuleError.
  virtual std::size_t read(std::uint8_t* out, std::size_t size) = 0;
  /// Reads `size` bytes; throws QB_E_TRUNCATED when there are fewer.
  void readAll(std::uint8_t* out, std::size_t size) {
    if (read(out, size) != size) throw ModuleError(QB_E_TRUNCATED, "");
  }
};

/// A part of the file.
class PartSource final : public ByteSource {
 public:
  PartSource(const EdgeFile& file, std::int64_t from, std::int64_t size) : m_file(file), m_at(from), m_left(size) {}
  std::size_t read(std::uint8_t* out, std::size_t size) override;

 private:
  EdgeFile m_file;
  std::int64_t m_at, m_left;
};

/// What a Deflate stream holds.
class InflateSource final : public ByteSource {
 public:
  explicit InflateSource(std::unique_ptr<ByteSource> from);
  ~InflateSource() override { inflateEnd(&m_stream); }
  InflateSource(const InflateSource&) = delete;
  InflateSource& operator=(const InflateSource&) = delete;
  std::size_t read(std::uint8_t* out, std::size_t size) override;

 private:
  std::unique_ptr<ByteSource> m_from;
  z_stream m_stream{};
  std::vector<std::uint8_t> m_input;
  bool m_atEnd = false;
};

/// Differences of neighbouring bytes in lines, as a PDF has them.
struct Prediction {
  int predictor = 1;  ///< 1 none, 2 as in TIFF (8 bits only), 10 and up as in PNG
  int colors = 1, bits = 8, columns = 1;
  [[nodiscard]] std::size_t lineBytes() const noexcept {
    return (static_cast<std::size_t>(columns) * static_cast<std::size_t>(colors * bits) + 7) / 8;
  }
  [[nodiscard]] bool isKnown() const noexcept {
    return predictor == 2 ? bits == 8 : predictor >= 10 && predictor <= 15;
  }
};

/// Makes lines of their differences.
class PredictedLines {
 public:
  /// `prediction` is a known one.
  explicit PredictedLines(const Prediction& prediction);
  [[nodiscard]] std::size_t lineBytes() const noexcept { return m_prediction.lineBytes(); }
  /// Bytes of a line as the file has it.
  [[nodiscard]] std::size_t storedBytes() const noexcept { return lineBytes() + (hasKinds() ? 1 : 0); }
  /// The next line, valid until the one after; null for one of an unknown kind.
  [[nodiscard]] const std::uint8_t* restore(const std::uint8_t* stored) noexcept;

 private:
  [[nodiscard]] bool hasKinds() const noexcept { return m_prediction.predictor >= 10; }

  Prediction m_prediction;
  std::size_t m_step;  // bytes of a pixel
  std::vector<std::uint8_t> m_line, m_above;
};

/// The bytes that lines of differences stand for.
class PredictedSource final : public ByteSource {
 public:
  PredictedSource(std::unique_ptr<ByteSource> from, const Prediction& prediction)
      : m_from(std::move(from)), m_lines(prediction), m_stored(m_lines.storedBytes()) {}
  std::size_t read(std::uint8_t* out, std::size_t size) override;

 private:
  bool nextLine();

  std::unique_ptr<ByteSource> m_from;
  PredictedLines m_lines;
  std::vector<std::uint8_t> m_stored;
  const std::uint8_t* m_next = nullptr;  // of the line
  std::size_t m_left = 0;                // bytes of it
};

}  // namespace quillbay
