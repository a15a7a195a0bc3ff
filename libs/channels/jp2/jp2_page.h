#pragma once
#include <cstdint>
#include <memory>

#include "channels/codec/band_pipeline.h"
#include "channels/codec/module_support.h"
#include "channels/jp2/jp2_encoder.h"

namespace quillbay {

extern const QbOptionInfo kJp2Options[];
/// Of a codestream without boxes, which holds no profile.
extern const QbOptionInfo kCodestreamOptions[];

/// A tiled JPEG 2000 that is written while its height is unknown: its heads say 0 until the page's end. Rows of
/// tiles are coded on all cores. `hasBoxes`: a JP2 file; else a codestream alone.
class Jp2Page {
 public:
  /// Throws ModuleError for a page that cannot be written; nothing was appended then.
  Jp2Page(const EdgeFile& file, const QbPage& page, const QbOptions* options, bool hasBoxes);
  /// A file that was ended says its height.
  [[nodiscard]] static bool isFinishedIn(const EdgeFile& file);
  void write(const QbBlock& block);
  void finish();

 private:
  void takeBand(const ByteBuffer& band);
  void checkLines(std::int64_t lines) const;

  EdgeFile m_file;
  Jp2Format m_format;
  bool m_hasBoxes;
  std::int64_t m_lines = 0;
  std::int64_t m_heightAt = 0;  // of the codestream, in the file; 0: nothing of it is there yet
  std::unique_ptr<BandPipeline> m_pipeline;
};

class BoxedJp2Page : public Jp2Page {
 public:
  BoxedJp2Page(const EdgeFile& file, const QbPage& page, const QbOptions* options)
      : Jp2Page(file, page, options, true) {}
};

class CodestreamPage : public Jp2Page {
 public:
  CodestreamPage(const EdgeFile& file, const QbPage& page, const QbOptions* options)
      : Jp2Page(file, page, options, false) {}
};

}  // namespace quillbay
