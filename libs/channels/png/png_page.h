#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "channels/codec/band_pipeline.h"
#include "channels/codec/module_support.h"
#include "channels/png/png_encoder.h"

namespace quillbay {

extern const QbOptionInfo kPngOptions[];
inline constexpr std::uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

/// A PNG that is written while its height is unknown: the head of the file says 0 until the page's end and is then
/// changed. Lines are compressed on all cores into one Deflate stream.
class PngPage {
 public:
  /// Throws ModuleError for a page that cannot be written; nothing was appended then.
  PngPage(const EdgeFile& file, const QbPage& page, const QbOptions* options);
  /// A PNG that was ended says its height; one that is being written says 0.
  [[nodiscard]] static bool isFinishedIn(const EdgeFile& file);
  void write(const QbBlock& block);
  void finish();

 private:
  [[nodiscard]] std::vector<std::uint8_t> header(std::uint32_t height) const;
  void appendTitle(const std::string& title);
  void appendProfile(const std::uint8_t* icc, std::size_t size);
  void appendChunk(const char type[4], const std::vector<std::uint8_t>& data);
  void takeBand(const ByteBuffer& band);

  EdgeFile m_file;
  PngFormat m_format;
  std::int64_t m_lines = 0;
  std::uint32_t m_adler = 1;
  std::unique_ptr<BandPipeline> m_pipeline;
};

}  // namespace quillbay
