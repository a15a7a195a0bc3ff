#pragma once
#include <sane/sane.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "quillbay/scan_buffer.h"
#include "scanners/lines/line_crop.h"
#include "scanners/sane/sane_device.h"

namespace quillbay {

/// Reads one page of a device that was set up and started, and hands it to a sink as stripes: frames of one pass or
/// of three, 1, 8 or 16 bits a sample, known or unknown length, padded lines. SANE thread only.
/// Memory: a stripe and a read buffer; the first two passes of a three-pass page lie in rasters, which spill to a
/// scratch file.
class SanePage {
 public:
  struct Setup {
    int mode = 5;
    std::uint32_t dpi = 0;
    BwSettings bw{};
    ColorSettings color{};
    std::shared_ptr<PaletteMap> palette{};
    const KXRGBQUAD* curves = nullptr;
    std::optional<tagRRECT> area{};  ///< mm: cut out of what the device delivers
    bool readsToEnd = false;         ///< also when no more is wanted: a feeder continues only from there
    bool isPrescan = false;          ///< smaller stripes, so that a picture grows while it is scanned
  };
  /// `stop` becomes true when the scan is to end, on any thread.
  SanePage(SaneDevice& device, const Setup& setup, IScanSink* sink, const std::atomic<bool>& stop);

  /// Reads the page to its end. Throws UnitFaultException, code Cancelled when `stop` or the sink ended it.
  void run();

 private:
  // Takes `lines` device lines, `stride` bytes apart; returns whether more are wanted.
  using TakeLines = std::function<bool(const std::uint8_t* bytes, std::size_t stride, std::int32_t lines)>;

  void readInOnePass(const SANE_Parameters& p);
  void readInThreePasses(SANE_Parameters p);
  void startPipeline(LinePipeline& pipeline, const SANE_Parameters& p);
  LinePipeline::Setup pipelineSetup(const SANE_Parameters& p, DeviceSamples samples) const;
  void findCut(const SANE_Parameters& p);
  TakeLines into(LinePipeline& pipeline, DeviceSamples samples);
  void readLines(LinePipeline& pipeline, const SANE_Parameters& p, const TakeLines& take);
  void readPasses(SANE_Parameters p, const TakeLines& take);
  void readOrKeep(LinePipeline& pipeline, const std::function<void()>& read);
  void readDirect(LinePipeline& pipeline, std::size_t lineBytes);
  void readFrame(const SANE_Parameters& p, const TakeLines& take);
  std::size_t readSome(std::uint8_t* to, std::size_t room);
  void endPage(LinePipeline& pipeline);
  void goOn(int answer);
  void noteTail(std::size_t bytes) const;

  SaneDevice& m_device;
  Setup m_setup;
  IScanSink* m_sink;
  const std::atomic<bool>& m_stop;
  bool m_isRefused = false;      // the sink wants no more lines
  std::optional<PageCut> m_cut;  // of this page, when it is more than what is wanted
};

}  // namespace quillbay
