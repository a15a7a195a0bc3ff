#include "channels/pdf/limited_filters.h"
#include "channels/pdf/qpdf.h"

#include <algorithm>
#include <memory>
#include <string>

#include "channels/pdf/byte_source.h"

namespace quillbay {
namespace {

constexpr std::size_t kMostDecoded = std::size_t{64} << 20;
constexpr std::size_t kMostDecodedLine = std::size_t{1} << 20;

/// Passes on bytes, as many as are allowed.
class CountedBytes final : public Pipeline {
 public:
  explicit CountedBytes(Pipeline* to) : Pipeline("limit", to) {}
  void write(unsigned char const* bytes, std::size_t size) override {
    m_count += size;
    if (m_count > kMostDecoded) {
      throw ModuleError(QB_E_REFUSED, "the document has a compressed part of more than " +
                                          std::to_string(kMostDecoded) + " bytes; it cannot be read");
    }
    getNext()->write(bytes, size);
  }
  void finish() override { getNext()->finish(); }

 private:
  std::size_t m_count = 0;
};

/// Gathers lines of differences and passes on what they stand for.
class PredictedBytes final : public Pipeline {
 public:
  PredictedBytes(Pipeline* to, const Prediction& prediction) : Pipeline("prediction", to), m_lines(prediction) {}
  void write(unsigned char const* bytes, std::size_t size) override {
    while (size > 0) {
      const std::size_t count = std::min(size, m_lines.storedBytes() - m_line.size());
      m_line.insert(m_line.end(), bytes, bytes + count);
      bytes += count;
      size -= count;
      if (m_line.size() == m_lines.storedBytes()) passLine(m_lines.lineBytes());
    }
  }
  /// A last line that is not whole counts as far as it is there.
  void finish() override {
    const std::size_t kinds = m_lines.storedBytes() - m_lines.lineBytes();
    if (const std::size_t had = m_line.size(); had > kinds) {
      m_line.resize(m_lines.storedBytes());
      passLine(had - kinds);
    }
    getNext()->finish();
  }

 private:
  void passLine(std::size_t count) {
    const std::uint8_t* line = m_lines.restore(m_line.data());
    if (!line)
      throw ModuleError(QB_E_DAMAGED, "the file is damaged (a part of it is compressed in an unknown way)");
    getNext()->write(line, count);
    m_line.clear();
  }
  PredictedLines m_lines;
  std::vector<std::uint8_t> m_line;
};

class LimitedFlate final : public QPDFStreamFilter {
 public:
  bool setDecodeParms(QPDFObjectHandle parms) override {
    if (parms.isNull()) return true;
    if (!parms.isDictionary()) return false;
    const auto number = [&parms](const char* key, long long otherwise) {
      QPDFObjectHandle value = parms.getKey(key);
      return value.isInteger() ? value.getIntValue() : otherwise;
    };
    m_prediction.predictor = static_cast<int>(std::clamp(number("/Predictor", 1), 0LL, 99LL));
    m_prediction.colors = static_cast<int>(std::clamp(number("/Colors", 1), 1LL, 64LL));
    m_prediction.bits = static_cast<int>(std::clamp(number("/BitsPerComponent", 8), 1LL, 16LL));
    m_prediction.columns = static_cast<int>(std::clamp(number("/Columns", 1), 1LL, 0x7fffffffLL));
    return m_prediction.predictor == 1 || (m_prediction.isKnown() && m_prediction.lineBytes() <= kMostDecodedLine);
  }
  Pipeline* getDecodePipeline(Pipeline* next) override {
    if (m_prediction.predictor != 1) {
      m_predicted = std::make_unique<PredictedBytes>(next, m_prediction);
      next = m_predicted.get();
    }
    m_counted = std::make_unique<CountedBytes>(next);
    m_flate = std::make_unique<Pl_Flate>("flate", m_counted.get(), Pl_Flate::a_inflate);
    return m_flate.get();
  }

 private:
  Prediction m_prediction;
  std::unique_ptr<PredictedBytes> m_predicted;
  std::unique_ptr<CountedBytes> m_counted;
  std::unique_ptr<Pl_Flate> m_flate;
};

class RefusedFilter final : public QPDFStreamFilter {
 public:
  bool setDecodeParms(QPDFObjectHandle) override { return false; }
  Pipeline* getDecodePipeline(Pipeline*) override { return nullptr; }
};

}  // namespace

void limitFilters() {
  static const bool kDone = [] {
    QPDF::registerStreamFilter("/FlateDecode", [] { return std::make_shared<LimitedFlate>(); });
    for (const char* other : {"/LZWDecode", "/RunLengthDecode"}) {
      QPDF::registerStreamFilter(other, [] { return std::make_shared<RefusedFilter>(); });
    }
    return true;
  }();
  static_cast<void>(kDone);
}

}  // namespace quillbay
