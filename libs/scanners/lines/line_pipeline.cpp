#include "scanners/lines/line_pipeline.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/run_list.h"
#include "scanners/lines/bw_stage.h"
#include "scanners/lines/line_convert.h"

namespace quillbay {

namespace {

constexpr std::size_t kRunStripeBytes = std::size_t{1} << 20;

KxColorSpace colorSpaceOf(int mode) {
  switch (mode) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4: return KxColorSpace::Bitonal;
    case 5: return KxColorSpace::Grey;
    case 6: return KxColorSpace::Palette;
    case 7: return KxColorSpace::Rgb;
    default: break;
  }
  throw CXDeviceException(formatText(
      Supp_Translate("Scan mode %d cannot be made from this scanner's lines: choose one of the modes 0 to 7."),
      {std::to_string(mode)}));
}

bool isColour(DeviceSamples samples) noexcept {
  return samples == DeviceSamples::Rgb8 || samples == DeviceSamples::Rgb16;
}

}  // namespace

struct LinePipeline::Impl {
  Impl(const Setup& s, IScanSink* receiver);

  void startStripe();
  int handOn();
  [[nodiscard]] bool isFull() const;
  // A line brought to 8 bits a sample, tone curves applied: either `line` itself or `work`.
  const std::uint8_t* toBytes(const std::uint8_t* line);
  const std::uint8_t* toGrey(const std::uint8_t* line);
  void makeStage();
  // Grey, or what the mode's filters made of it.
  void appendRuns(const std::uint8_t* greyLine);
  int takeLine(const std::uint8_t* line);
  int drainStage();
  void writeLine(const std::uint8_t* line, std::uint8_t* out);
  void foldCurvesIntoThreshold();

  Setup setup;
  IScanSink* sink;
  KxColorSpace space;
  std::size_t width;
  bool colour;  // samples are RGB
  bool direct;
  CStripe::Bitonal packing;
  int threshold;  // 0-256
  std::unique_ptr<ToneCurves> curves;
  std::unique_ptr<BwStage> stage;  // null where the threshold alone makes the lines
  std::shared_ptr<StripePool> pool = std::make_shared<StripePool>();
  KxPtr<CStripe> stripe;
  std::int32_t capacity;
  std::int64_t linesOut = 0;
  std::unique_ptr<std::uint8_t[]> work;  // width pixels of 3 bytes
  std::unique_ptr<std::uint8_t[]> grey;
  std::unique_ptr<std::uint32_t[]> runs;
};

LinePipeline::Impl::Impl(const Setup& s, IScanSink* receiver)
    : setup(s),
      sink(receiver),
      space(colorSpaceOf(s.mode)),
      width(static_cast<std::size_t>(std::max(s.width, 0))),
      colour(isColour(s.samples)),
      threshold(std::clamp(s.threshold, 0, 256)),
      curves(s.samples == DeviceSamples::Bits ? nullptr : ToneCurves::make(s.curves)) {
  if (s.width < 1)
    throw CXDeviceException(
        formatText(Supp_Translate("The scanner reports lines of %d pixels: choose a wider scan area."),
                   {std::to_string(s.width)}));
  direct = !curves && ((s.samples == DeviceSamples::Grey8 && space == KxColorSpace::Grey) ||
                       (s.samples == DeviceSamples::Rgb8 && space == KxColorSpace::Rgb) ||
                       (s.samples == DeviceSamples::Bits && isRunList(space)));
  packing = direct ? CStripe::Bitonal::Packed : CStripe::Bitonal::Runs;
  capacity = s.stripeLines > 0 ? s.stripeLines : CStripe::usualCapacity(space, s.width, packing);
  if (isRunList(space) && !direct) {
    runs = std::make_unique<std::uint32_t[]>(width + 3);
    makeStage();
    if (!stage) foldCurvesIntoThreshold();
  }
  if (direct) return;
  work = std::make_unique_for_overwrite<std::uint8_t[]>(width * 3);
  grey = std::make_unique_for_overwrite<std::uint8_t[]>(width);
}

void LinePipeline::Impl::makeStage() {
  setup.bw.level = threshold;
  if (!BwStage::isNeeded(setup.mode, setup.bw)) return;
  stage = std::make_unique<BwStage>(setup.mode, width, setup.dpi, setup.bw);
  threshold = stage->limit();
}

// Grey lines of which every level below a limit becomes black, and no other, need no table: the usual case, since
// tone curves rise.
void LinePipeline::Impl::foldCurvesIntoThreshold() {
  if (!curves || colour) return;
  const auto isBlack = [&](std::uint8_t level) { return level < threshold; };
  if (!std::is_partitioned(curves->grey.begin(), curves->grey.end(), isBlack)) return;
  threshold = static_cast<int>(std::count_if(curves->grey.begin(), curves->grey.end(), isBlack));
  curves = nullptr;
}

void LinePipeline::Impl::startStripe() {
  stripe = KxPtr<CStripe>::adopt(new CStripe(pool, space, setup.width, capacity, setup.dpi, packing));
  if (space == KxColorSpace::Palette) stripe->setPalette(FixedPalette::instance().entries(), 256);
}

int LinePipeline::Impl::handOn() {
  const KxPtr<CStripe> full = std::exchange(stripe, {});
  const std::int64_t position = linesOut;
  linesOut += full->lineCount();
  return sink->StripeArrived(position, full.get(), 0);
}

const std::uint8_t* LinePipeline::Impl::toBytes(const std::uint8_t* line) {
  const std::size_t samples = colour ? width * 3 : width;
  switch (setup.samples) {
    case DeviceSamples::Bits: bitsToBytes(line, width, 255, 0, work.get()); return work.get();
    case DeviceSamples::Grey16:
    case DeviceSamples::Rgb16:
      highBytes(line, samples, work.get());
      line = work.get();
      break;
    default: break;
  }
  if (!curves) return line;
  if (colour)
    curves->applyRgb(line, width, work.get());
  else
    curves->applyGrey(line, width, work.get());
  return work.get();
}

const std::uint8_t* LinePipeline::Impl::toGrey(const std::uint8_t* line) {
  const std::uint8_t* bytes = toBytes(line);
  if (!colour) return bytes;
  rgbToGrey(bytes, width, grey.get());
  return grey.get();
}

void LinePipeline::Impl::appendRuns(const std::uint8_t* greyLine) {
  stripe->appendRuns(runs.get(), greyToRuns(greyLine, setup.width, threshold, runs.get()));
}

// Lines of many runs fill a stripe early: memory follows bytes, not lines.
bool LinePipeline::Impl::isFull() const {
  return stripe->lineCount() >= stripe->capacity() ||
         (isRunList(space) && !direct && stripe->usedBytes() >= kRunStripeBytes);
}

int LinePipeline::Impl::takeLine(const std::uint8_t* line) {
  if (!stripe) startStripe();
  if (isRunList(space) && !direct) {
    const std::uint8_t* made = toGrey(line);
    if (stage) made = stage->push(made);
    if (!made) return 1;
    appendRuns(made);
  } else {
    writeLine(line, stripe->data() + static_cast<std::size_t>(stripe->lineCount()) * stripe->lineBytes());
    stripe->setLineCount(stripe->lineCount() + 1);
  }
  return isFull() ? handOn() : 1;
}

int LinePipeline::Impl::drainStage() {
  while (const std::uint8_t* made = stage->drain()) {
    if (!stripe) startStripe();
    appendRuns(made);
    if (isFull() && !handOn()) return 0;
  }
  return 1;
}

void LinePipeline::Impl::writeLine(const std::uint8_t* line, std::uint8_t* out) {
  switch (space) {
    case KxColorSpace::Grey: std::memcpy(out, direct ? line : toGrey(line), width); return;
    case KxColorSpace::Palette: {
      const std::uint8_t* bytes = toBytes(line);
      if (colour)
        FixedPalette::instance().mapRgb(bytes, width, out);
      else
        FixedPalette::instance().mapGrey(bytes, width, out);
      return;
    }
    case KxColorSpace::Bitonal: std::memcpy(out, line, (width + 7) / 8); return;
    default: break;
  }
  if (direct) {
    std::memcpy(out, line, width * 3);
  } else if (colour) {
    std::memcpy(out, toBytes(line), width * 3);
  } else {
    // Each channel has a curve of its own: the sample becomes a colour first.
    const std::unique_ptr<ToneCurves>& tone = curves;
    if (!tone) return greyToRgb(toBytes(line), width, out);
    if (setup.samples == DeviceSamples::Grey16) {
      highBytes(line, width, grey.get());
      line = grey.get();
    }
    greyToRgb(line, width, out);
    tone->applyRgb(out, width, out);
  }
}

LinePipeline::LinePipeline(const Setup& setup, IScanSink* sink) : m_impl(std::make_unique<Impl>(setup, sink)) {}
LinePipeline::~LinePipeline() = default;

KxColorSpace LinePipeline::colorSpace() const noexcept { return m_impl->space; }
bool LinePipeline::isDirect() const noexcept { return m_impl->direct; }
std::int64_t LinePipeline::linesOut() const noexcept { return m_impl->linesOut; }

std::uint8_t* LinePipeline::lineRoom(std::int32_t* lines) {
  assert(m_impl->direct);
  if (!m_impl->stripe) m_impl->startStripe();
  CStripe& stripe = *m_impl->stripe;
  *lines = std::min(*lines, stripe.capacity() - stripe.lineCount());
  return stripe.data() + static_cast<std::size_t>(stripe.lineCount()) * stripe.lineBytes();
}

int LinePipeline::linesDone(std::int32_t lines) {
  if (!m_impl->stripe) return 1;
  CStripe& stripe = *m_impl->stripe;
  stripe.setLineCount(stripe.lineCount() + lines);
  return stripe.lineCount() >= stripe.capacity() ? m_impl->handOn() : 1;
}

int LinePipeline::push(const std::uint8_t* bytes, std::size_t stride, std::int32_t lines) {
  for (std::int32_t i = 0; i < lines; ++i, bytes += stride)
    if (!m_impl->takeLine(bytes)) return 0;
  return 1;
}

int LinePipeline::flush() {
  if (m_impl->stage && !m_impl->drainStage()) return 0;
  if (!m_impl->stripe || m_impl->stripe->lineCount() == 0) return 1;
  return m_impl->handOn();
}

}  // namespace quillbay
