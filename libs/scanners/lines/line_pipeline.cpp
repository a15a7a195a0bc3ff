#include "scanners/lines/line_pipeline.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/run_list.h"
#include "scanners/lines/bw_stage.h"
#include "scanners/lines/detail_filters.h"
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
  // Each returns `line` itself, or what it made of it in `room`: 8 bits a sample, as the device delivers them; grey
  // or colour, adjusted.
  const std::uint8_t* toBytes(const std::uint8_t* line, std::uint8_t* room) const;
  const std::uint8_t* toGrey(const std::uint8_t* line, std::uint8_t* room) const;
  const std::uint8_t* toColour(const std::uint8_t* line, std::uint8_t* room) const;
  void makeBwFilters();
  void makeColourFilters();
  // What the mode's filters made of grey or colour.
  void append(const std::uint8_t* row);
  int takeLine(const std::uint8_t* line);
  int drainFilters();
  [[nodiscard]] std::uint8_t* nextRow() const noexcept;
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
  FilterChain filters;
  std::shared_ptr<PaletteMap> palette;
  int saturation = 0;  // in 128ths, see `ColorLoops::saturate`
  std::shared_ptr<StripePool> pool = std::make_shared<StripePool>();
  KxPtr<CStripe> stripe;
  std::int32_t capacity;
  std::int64_t linesOut = 0;
  bool isGrey;                           // lines are worked on as grey, not as colour
  std::unique_ptr<std::uint8_t[]> work;  // width pixels of 3 bytes
  std::unique_ptr<std::uint8_t[]> spare;
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
  isGrey = isRunList(space) || space == KxColorSpace::Grey;
  if (isRunList(space))
    makeBwFilters();
  else
    makeColourFilters();
  direct = !curves && filters.isEmpty() && saturation == 0 &&
           ((s.samples == DeviceSamples::Grey8 && space == KxColorSpace::Grey) ||
            (s.samples == DeviceSamples::Rgb8 && space == KxColorSpace::Rgb) ||
            (s.samples == DeviceSamples::Bits && isRunList(space)));
  packing = direct ? CStripe::Bitonal::Packed : CStripe::Bitonal::Runs;
  capacity = s.stripeLines > 0 ? s.stripeLines : CStripe::usualCapacity(space, s.width, packing);
  if (direct) return;
  if (isRunList(space)) runs = std::make_unique<std::uint32_t[]>(width + 3);
  work = std::make_unique_for_overwrite<std::uint8_t[]>(width * 3);
  spare = std::make_unique_for_overwrite<std::uint8_t[]>(width * 3);
}

void LinePipeline::Impl::makeBwFilters() {
  if (setup.samples == DeviceSamples::Bits) return;
  setup.bw.level = threshold;
  if (!BwStage::isNeeded(setup.mode, setup.bw)) return foldCurvesIntoThreshold();
  BwStage stage(setup.mode, width, setup.dpi, setup.bw);
  threshold = stage.limit();
  filters = stage.takeFilters();
}

void LinePipeline::Impl::makeColourFilters() {
  const ColorSettings& s = setup.color;
  const std::size_t channels = isGrey ? 1 : 3;
  if (!isGrey) saturation = (s.saturation * 128 + (s.saturation < 0 ? -50 : 50)) / 100;
  if (s.blur > 0) filters.add<BlurFilter>(width, channels, static_cast<std::size_t>(s.blur));
  if (s.sharpness != 0) filters.add<SharpenFilter>(width, channels, SharpenFilter::weightOf(s.sharpness));
  if (space != KxColorSpace::Palette) return;
  palette = setup.palette ? setup.palette : PaletteMap::nearest(linearPalette(kPaletteCountRange.initial));
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
  if (space == KxColorSpace::Palette) stripe->setPalette(palette->entries(), 256);
}

int LinePipeline::Impl::handOn() {
  const KxPtr<CStripe> full = std::exchange(stripe, {});
  const std::int64_t position = linesOut;
  linesOut += full->lineCount();
  return sink->StripeArrived(position, full.get(), 0);
}

const std::uint8_t* LinePipeline::Impl::toBytes(const std::uint8_t* line, std::uint8_t* room) const {
  switch (setup.samples) {
    case DeviceSamples::Bits: bitsToBytes(line, width, 255, 0, room); return room;
    case DeviceSamples::Grey16:
    case DeviceSamples::Rgb16: highBytes(line, colour ? 3 * width : width, room); return room;
    default: return line;
  }
}

const std::uint8_t* LinePipeline::Impl::toGrey(const std::uint8_t* line, std::uint8_t* room) const {
  if (colour) {
    colorLoops().grey(toColour(line, spare.get()), width, room);
    return room;
  }
  const std::uint8_t* bytes = toBytes(line, room);
  if (!curves) return bytes;
  colorLoops().curve(bytes, width, curves->grey, room);
  return room;
}

const std::uint8_t* LinePipeline::Impl::toColour(const std::uint8_t* line, std::uint8_t* room) const {
  const std::uint8_t* pixels = toBytes(line, colour ? room : spare.get());
  if (!colour) {  // each channel has a curve of its own: the sample becomes a colour first
    greyToRgb(pixels, width, room);
    pixels = room;
  }
  if (curves) {
    colorLoops().curves(pixels, width, curves->channels, room);
    pixels = room;
  }
  if (saturation == 0) return pixels;
  colorLoops().saturate(pixels, width, saturation, room);
  return room;
}

std::uint8_t* LinePipeline::Impl::nextRow() const noexcept {
  return stripe->data() + static_cast<std::size_t>(stripe->lineCount()) * stripe->lineBytes();
}

void LinePipeline::Impl::append(const std::uint8_t* row) {
  if (runs) return stripe->appendRuns(runs.get(), greyToRuns(row, setup.width, threshold, runs.get()));
  std::uint8_t* out = nextRow();
  if (palette)
    palette->map(row, width, out);
  else if (row != out)
    std::memcpy(out, row, stripe->lineBytes());
  stripe->setLineCount(stripe->lineCount() + 1);
}

// Lines of many runs fill a stripe early: memory follows bytes, not lines.
bool LinePipeline::Impl::isFull() const {
  return stripe->lineCount() >= stripe->capacity() || (runs && stripe->usedBytes() >= kRunStripeBytes);
}

int LinePipeline::Impl::takeLine(const std::uint8_t* line) {
  if (!stripe) startStripe();
  if (!direct) {
    // Straight into the stripe where nothing follows.
    const bool isLast = !runs && !palette && filters.isEmpty();
    std::uint8_t* room = isLast ? nextRow() : work.get();
    line = filters.push(isGrey ? toGrey(line, room) : toColour(line, room));
    if (!line) return 1;
  }
  append(line);
  return isFull() ? handOn() : 1;
}

int LinePipeline::Impl::drainFilters() {
  while (const std::uint8_t* made = filters.drain()) {
    if (!stripe) startStripe();
    append(made);
    if (isFull() && !handOn()) return 0;
  }
  return 1;
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
  if (!m_impl->drainFilters()) return 0;
  if (!m_impl->stripe || m_impl->stripe->lineCount() == 0) return 1;
  return m_impl->handOn();
}

}  // namespace quillbay
