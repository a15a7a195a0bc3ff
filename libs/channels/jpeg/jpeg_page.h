#pragma once
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "channels/codec/band_pipeline.h"
#include "channels/codec/module_support.h"
#include "channels/jpeg/jpeg_encoder.h"

namespace quillbay {

extern const QbOptionInfo kJpegOptions[];

/// A baseline JPEG that is written while its height is unknown: its head says 0 lines until the page's end and is
/// then changed. Bands are coded on all cores; restart markers join them.
class JpegPage {
 public:
  /// Throws ModuleError for a page that cannot be written; nothing was appended then.
  JpegPage(const EdgeFile& file, const QbPage& page, const QbOptions* options);
  /// A file that was ended closes with the end marker.
  [[nodiscard]] static bool isFinishedIn(const EdgeFile& file);
  void write(const QbBlock& block);
  void finish();

 private:
  void takeBand(const ByteBuffer& band);
  void appendSegment(std::uint8_t marker, std::string_view head, std::string_view data);
  void appendProfile(const std::uint8_t* icc, std::size_t size);
  void appendHead(const std::uint8_t* head, const JpegParts& parts);

  EdgeFile m_file;
  JpegFormat m_format;
  std::vector<std::uint8_t> m_extras;  // segments that stand behind the density
  std::int64_t m_lines = 0;
  std::int64_t m_heightAt = 0;  // in the file; 0: nothing is there yet
  std::unique_ptr<BandPipeline> m_pipeline;
};

}  // namespace quillbay
