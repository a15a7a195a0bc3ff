#include "scanners/sane/sane_page.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/geometry.h"
#include "scanners/sane/sane_fault.h"
#include "scanners/sane/three_pass.h"

namespace quillbay {

namespace {

constexpr std::size_t kReadBytes = std::size_t{1} << 20;
constexpr int kEmptyReadsOfGone = 1000;  // a millisecond apart
constexpr std::size_t kPrescanStripeBytes = std::size_t{64} << 10;

bool isThreePass(SANE_Frame format) noexcept {
  return format == SANE_FRAME_RED || format == SANE_FRAME_GREEN || format == SANE_FRAME_BLUE;
}

std::size_t lineBytesOf(const SANE_Parameters& p) noexcept { return static_cast<std::size_t>(p.bytes_per_line); }

// Bytes that the pixels of a line need; the device's lines may be padded.
std::size_t neededBytes(const SANE_Parameters& p) noexcept {
  const std::size_t channels = p.format == SANE_FRAME_RGB ? 3 : 1;
  const auto pixels = static_cast<std::size_t>(p.pixels_per_line);
  return p.depth == 1 ? (pixels + 7) / 8 * channels : pixels * channels * static_cast<std::size_t>(p.depth / 8);
}

void checkParameters(const SANE_Parameters& p, const std::string& device) {
  const bool isKnown = p.format == SANE_FRAME_GRAY || p.format == SANE_FRAME_RGB || isThreePass(p.format);
  if (!isKnown || (p.depth != 1 && p.depth != 8 && p.depth != 16))
    throw UnitFaultException(
        {UnitFaultCode::Unsupported,
         formatText(Supp_Translate("The scanner %s delivers pictures of a kind that is not supported (frame %s, %s "
                                   "bits). Choose another mode or depth."),
                    {device, toText(std::int64_t{p.format}), toText(std::int64_t{p.depth})})});
  if (p.pixels_per_line < 1 || p.bytes_per_line < 1 || lineBytesOf(p) < neededBytes(p))
    throw UnitFaultException(
        {UnitFaultCode::Invalid,
         formatText(Supp_Translate("The scanner %s reports lines of %s pixels in %s bytes. Choose another area."),
                    {device, toText(std::int64_t{p.pixels_per_line}), toText(std::int64_t{p.bytes_per_line})})});
}

DeviceSamples samplesOf(const SANE_Parameters& p) noexcept {
  if (p.format == SANE_FRAME_RGB) return p.depth == 16 ? DeviceSamples::Rgb16 : DeviceSamples::Rgb8;
  return p.depth == 1 ? DeviceSamples::Bits : p.depth == 16 ? DeviceSamples::Grey16 : DeviceSamples::Grey8;
}

// One-bit colour: each three bytes hold 8 pixels' red, green and blue bits, bit 7 leftmost, 1 full intensity.
void colourBitsToRgb(const std::uint8_t* bits, std::size_t pixels, std::uint8_t* rgb) noexcept {
  for (std::size_t x = 0; x < pixels; ++x) {
    const std::uint8_t* group = bits + x / 8 * 3;
    const int mask = 0x80 >> (x % 8);
    for (std::size_t c = 0; c < 3; ++c) *rgb++ = group[c] & mask ? 255 : 0;
  }
}

}  // namespace

SanePage::SanePage(SaneDevice& device, const Setup& setup, IScanSink* sink, const std::atomic<bool>& stop)
    : m_device(device), m_setup(setup), m_sink(sink), m_stop(stop) {}

void SanePage::run() {
  // What was said before the start may have been a guess.
  const SANE_Parameters p = m_device.parameters();
  checkParameters(p, m_device.name());
  findCut(p);
  if (isThreePass(p.format))
    readInThreePasses(p);
  else
    readInOnePass(p);
}

void SanePage::findCut(const SANE_Parameters& p) {
  if (!m_setup.area) return;
  const tagRRECT& area = *m_setup.area;
  const auto pixels = [&](double mm) { return roundHalfUp(mmToPixels(mm, m_setup.dpi)); };
  PageCut cut;
  cut.left = std::clamp(pixels(area.left), 0, p.pixels_per_line);
  cut.width = std::min(pixels(area.right), p.pixels_per_line) - cut.left;
  cut.top = std::max(pixels(area.top), 0);
  const bool isOpenEnd = area.bottom <= area.top;
  std::int64_t end = isOpenEnd ? INT64_MAX : pixels(area.bottom);
  if (p.lines >= 0) end = std::min<std::int64_t>(end, p.lines);
  if (cut.width < 1 || end <= cut.top)
    throw UnitFaultException(
        {UnitFaultCode::Invalid,
         formatText(Supp_Translate("The scanner %s delivers %s x %s pixels; the scan area lies outside of them."),
                    {m_device.name(), toText(std::int64_t{p.pixels_per_line}), toText(std::int64_t{p.lines})})});
  cut.lines = end == INT64_MAX ? -1 : end - cut.top;
  const bool isWhole = cut.width == p.pixels_per_line && cut.top == 0 && (cut.lines < 0 || cut.lines == p.lines);
  if (!isWhole) m_cut = cut;
}

LinePipeline::Setup SanePage::pipelineSetup(const SANE_Parameters& p, DeviceSamples samples) const {
  LinePipeline::Setup setup;
  setup.mode = m_setup.mode;
  setup.samples = samples;
  setup.width = m_cut ? m_cut->width : p.pixels_per_line;
  setup.dpi = m_setup.dpi;
  setup.threshold = m_setup.bw.level;
  setup.bw = m_setup.bw;
  setup.color = m_setup.color;
  setup.palette = m_setup.palette;
  setup.curves = m_setup.curves;
  if (m_setup.isPrescan)
    setup.stripeLines = static_cast<std::int32_t>(std::max<std::size_t>(kPrescanStripeBytes / neededBytes(p), 16));
  return setup;
}

void SanePage::startPipeline(LinePipeline& pipeline, const SANE_Parameters& p) {
  m_sink->ScanStarted(pipeline.colorSpace(), m_cut ? m_cut->width : p.pixels_per_line,
                      p.lines >= 0 && m_cut ? m_cut->lines : p.lines, m_setup.dpi);
}

void SanePage::goOn(int answer) {
  m_isRefused = m_isRefused || !answer;
  if (m_stop || !answer) throw UnitFaultException(stoppedFault(m_device.name()));
}

void SanePage::noteTail(std::size_t bytes) const {
  if (bytes)
    logLine(LogLevel::Warning, "quillbay.scanner",
            m_device.name() + ": the page ended within a line; " + toText(static_cast<std::int64_t>(bytes)) +
                " bytes were dropped");
}

std::size_t SanePage::readSome(std::uint8_t* to, std::size_t room) {
  for (int empty = 1;; ++empty) {
    goOn(m_sink->QueryContinue());
    SANE_Int got = 0;
    const SANE_Status status =
        m_device.read(to, static_cast<SANE_Int>(std::min<std::size_t>(room, INT_MAX / 2)), &got, m_stop);
    goOn(1);  // a read that was cancelled may answer anything
    if (status == SANE_STATUS_EOF) return 0;
    checkSane(status, m_device.name(), SaneStep::Read);
    if (got > 0) return static_cast<std::size_t>(got);
    // Nothing yet, although reads block: some drivers poll. Do not spin.
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    // The network driver's reads do block; it reports "nothing yet" repeatedly only if its server is gone.
    if (empty == kEmptyReadsOfGone && m_device.isRemote())
      checkSane(SANE_STATUS_IO_ERROR, m_device.name(), SaneStep::Read);
  }
}

void SanePage::endPage(LinePipeline& pipeline) {
  goOn(pipeline.flush());
  if (pipeline.linesOut() == 0) checkSane(SANE_STATUS_EOF, m_device.name(), SaneStep::Read);
}

// Hands on what a page that breaks off has left in the filters, unless the sink wants no more. Why it did stays
// what is told.
void SanePage::readOrKeep(LinePipeline& pipeline, const std::function<void()>& read) {
  try {
    read();
  } catch (...) {
    if (m_isRefused) throw;
    try {
      static_cast<void>(pipeline.flush());
    } catch (const std::exception& e) {
      logLine(LogLevel::Warning, "quillbay.scanner",
              m_device.name() + ": the last lines of a page that broke off are lost: " + e.what());
    }
    throw;
  }
}

void SanePage::readDirect(LinePipeline& pipeline, std::size_t lineBytes) {
  for (;;) {
    std::int32_t lines = INT32_MAX;
    std::uint8_t* room = pipeline.lineRoom(&lines);
    const std::size_t size = static_cast<std::size_t>(lines) * lineBytes;
    std::size_t filled = 0;
    try {
      while (filled < size) {
        const std::size_t got = readSome(room + filled, size - filled);
        if (!got) break;
        filled += got;
      }
    } catch (...) {
      if (!m_isRefused) static_cast<void>(pipeline.linesDone(static_cast<std::int32_t>(filled / lineBytes)));
      throw;
    }
    const auto whole = static_cast<std::int32_t>(filled / lineBytes);
    if (whole > 0) goOn(pipeline.linesDone(whole));
    if (filled < size) return noteTail(filled % lineBytes);
  }
}

void SanePage::readFrame(const SANE_Parameters& p, const TakeLines& take) {
  const std::size_t stride = lineBytesOf(p);
  const std::size_t size = std::max(kReadBytes / stride, std::size_t{1}) * stride;
  const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(size);
  std::size_t held = 0;
  for (;;) {
    const std::size_t got = readSome(buffer.get() + held, size - held);
    if (!got) return noteTail(held);
    held += got;
    const std::size_t whole = held / stride;
    if (!whole) continue;
    if (!take(buffer.get(), stride, static_cast<std::int32_t>(whole))) return;
    held -= whole * stride;
    std::copy_n(buffer.get() + whole * stride, held, buffer.get());
  }
}

// Where lines go: into the pipeline, or what is wanted of them.
SanePage::TakeLines SanePage::into(LinePipeline& pipeline, DeviceSamples samples) {
  if (!m_cut)
    return [this, &pipeline](const std::uint8_t* bytes, std::size_t stride, std::int32_t lines) {
      goOn(pipeline.push(bytes, stride, lines));
      return true;
    };
  return [this, &pipeline, crop = LineCrop(*m_cut, samples)](const std::uint8_t* bytes, std::size_t stride,
                                                             std::int32_t lines) mutable {
    for (std::int32_t i = 0; i < lines; ++i, bytes += stride) {
      const std::uint8_t* wanted = crop.take(bytes);
      if (wanted) goOn(pipeline.push(wanted, 0, 1));
    }
    return m_setup.readsToEnd || !crop.isDone();
  };
}

void SanePage::readInOnePass(const SANE_Parameters& p) {
  LinePipeline pipeline(pipelineSetup(p, samplesOf(p)), m_sink);
  const TakeLines take = into(pipeline, samplesOf(p));
  startPipeline(pipeline, p);
  readOrKeep(pipeline, [&] { readLines(pipeline, p, take); });
  endPage(pipeline);
}

void SanePage::readLines(LinePipeline& pipeline, const SANE_Parameters& p, const TakeLines& take) {
  const bool packedColour = p.format == SANE_FRAME_RGB && p.depth == 1;
  if (!m_cut && pipeline.isDirect() && p.depth <= 8 && !packedColour && lineBytesOf(p) == neededBytes(p)) {
    readDirect(pipeline, lineBytesOf(p));
  } else if (packedColour) {
    const auto width = static_cast<std::size_t>(p.pixels_per_line);
    std::vector<std::uint8_t> line(width * 3);
    readFrame(p, [&](const std::uint8_t* bytes, std::size_t stride, std::int32_t lines) {
      bool goesOn = true;
      for (std::int32_t i = 0; i < lines && goesOn; ++i, bytes += stride) {
        colourBitsToRgb(bytes, width, line.data());
        goesOn = take(line.data(), line.size(), 1);
      }
      return goesOn;
    });
  } else {
    readFrame(p, take);
  }
}

void SanePage::readInThreePasses(SANE_Parameters p) {
  LinePipeline pipeline(pipelineSetup(p, DeviceSamples::Rgb8), m_sink);
  const TakeLines take = into(pipeline, DeviceSamples::Rgb8);
  startPipeline(pipeline, p);
  readOrKeep(pipeline, [&] { readPasses(p, take); });
  endPage(pipeline);
}

void SanePage::readPasses(SANE_Parameters p, const TakeLines& take) {
  const std::int32_t width = p.pixels_per_line;
  ThreePassPage page(width, p.lines, m_setup.dpi);
  for (int pass = 0;; ++pass) {
    const int channel = p.format - SANE_FRAME_RED;
    readFrame(p, [&](const std::uint8_t* bytes, std::size_t stride, std::int32_t lines) {
      bool goesOn = true;
      for (std::int32_t i = 0; i < lines && goesOn; ++i, bytes += stride) {
        const std::uint8_t* rgb = page.takeLine(channel, bytes, p.depth);
        if (rgb) goesOn = take(rgb, static_cast<std::size_t>(width) * 3, 1);
      }
      return goesOn;
    });
    if (pass == 2 || p.last_frame) break;
    const SANE_Status status = m_device.start(m_stop);
    goOn(1);
    checkSane(status, m_device.name(), SaneStep::Start);
    page.nextPass();
    p = m_device.parameters();
    checkParameters(p, m_device.name());
    if (!isThreePass(p.format) || p.pixels_per_line != width)
      checkSane(SANE_STATUS_UNSUPPORTED, m_device.name(), SaneStep::Read, "frames of a page differ");
  }
}

}  // namespace quillbay
