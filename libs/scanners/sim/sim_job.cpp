#include "scanners/sim/sim_job.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/geometry.h"
#include "scanners/sim/sim_bed.h"

namespace quillbay {

namespace {

constexpr std::int32_t kUsualDpi = 300;
constexpr std::int32_t kBatch = 16;  // lines between two looks at the clock

bool refuse(UnitFault* fault, UnitFaultCode code, std::string text) {
  *fault = {code, std::move(text)};
  return false;
}

std::int32_t pixelsOf(double mm, std::uint32_t dpi) noexcept { return roundHalfUp(mmToPixels(mm, dpi)); }

bool placeArea(SimJob* job, UnitFault* fault) {
  const SimConfig& config = job->config;
  const ScanRequest& request = job->request;
  const tagRRECT area = request.hasRect ? request.rect : tagRRECT{0, 0, config.width, 0};
  const double longest = config.length > 0 ? config.length : 1e7;
  job->left = pixelsOf(std::clamp(area.left, 0.0, config.width), job->dpi);
  job->right = pixelsOf(std::clamp(area.right, 0.0, config.width), job->dpi);
  job->top = pixelsOf(std::clamp(area.top, 0.0, longest), job->dpi);
  job->bottom = area.bottom > area.top ? pixelsOf(std::clamp(area.bottom, 0.0, longest), job->dpi) : job->top;
  const bool isEmpty = job->right <= job->left || (area.bottom > area.top && job->bottom <= job->top);
  return !isEmpty ||
         refuse(fault, UnitFaultCode::Invalid,
                formatText(
                    Supp_Translate("The scan area (left %s, top %s, right %s, bottom %s mm) contains no pixel on "
                                   "the bed of the simulated scanner, which is %s mm wide: choose an "
                                   "area on the bed."),
                    {toText(area.left), toText(area.top), toText(area.right), toText(area.bottom),
                     toText(config.width)}));
}

// The line at which the scan ends, exclusive; at least one line is scanned.
std::int32_t endOf(const SimJob& job) {
  if (job.bottom > job.top) return job.bottom;
  const SimConfig& config = job.config;
  double end = 0;
  if (config.findsEnd) {
    end = SimBed::paperEnd(config, job.page);
  } else {
    const double bed = config.length > 0 ? config.length : config.paperLength;
    end = job.request.paperLength > 0 ? job.top / mmToPixels(1, job.dpi) + job.request.paperLength : bed;
  }
  if (config.length > 0) end = std::min(end, config.length);
  return std::max(job.top + 1, pixelsOf(end, job.dpi));
}

// The line at which the document ends, where the scanner finds it; otherwise none does.
std::int32_t documentEnd(const SimJob& job) {
  const SimConfig& config = job.config;
  return config.findsEnd ? pixelsOf(SimBed::paperEnd(config, job.page), job.dpi) : INT32_MAX;
}

DeviceSamples samplesOf(const SimJob& job) noexcept {
  const bool colour = job.request.mode >= 6;
  if (job.config.depth == 16) return colour ? DeviceSamples::Rgb16 : DeviceSamples::Grey16;
  return colour ? DeviceSamples::Rgb8 : DeviceSamples::Grey8;
}

LinePipeline::Setup setupOf(const SimJob& job) {
  LinePipeline::Setup setup;
  setup.mode = job.request.mode;
  setup.samples = samplesOf(job);
  setup.width = job.right - job.left;
  setup.dpi = job.dpi;
  setup.threshold = job.request.bw.level;
  setup.bw = job.request.bw;
  setup.color = job.request.color;
  setup.palette = paletteOf(job.request);
  setup.curves = job.request.curves.empty() ? nullptr : job.request.curves.data();
  if (job.config.speed <= 0) return setup;
  // A slow device hands on what it has several times a second.
  const KxColorSpace space = job.request.mode < 5    ? KxColorSpace::Bitonal
                             : job.request.mode == 7 ? KxColorSpace::Rgb
                                                     : KxColorSpace::Grey;
  setup.stripeLines = std::min(CStripe::usualCapacity(space, setup.width),
                               std::max(8, static_cast<std::int32_t>(std::min(job.config.speed / 8, 1e6))));
  return setup;
}

// The lines of a job on their way from the bed through the pipeline.
class Renderer {
 public:
  explicit Renderer(const SimJob& job)
      : m_samples(static_cast<std::size_t>(job.right - job.left) * (job.request.mode >= 6 ? 3 : 1)),
        m_wide(job.config.depth == 16),
        m_bed(job.config, job.page, job.dpi, job.left, job.right, job.request.mode >= 6 ? 3 : 1),
        m_pipeline(setupOf(job), job.sink.get()) {
    if (!m_pipeline.isDirect()) m_line.resize(m_samples * (m_wide ? 3 : 1));
  }
  [[nodiscard]] LinePipeline& pipeline() noexcept { return m_pipeline; }

  // Renders up to `count` rows from row `y` on; sets `count` to what it was. Returns as the sink did.
  int render(std::int64_t y, std::int32_t* count) {
    if (m_pipeline.isDirect()) {
      std::uint8_t* room = m_pipeline.lineRoom(count);
      for (std::int32_t i = 0; i < *count; ++i) m_bed.paint(y + i, room + static_cast<std::size_t>(i) * m_samples);
      return m_pipeline.linesDone(*count);
    }
    for (std::int32_t i = 0; i < *count; ++i) {
      m_bed.paint(y + i, m_line.data());
      if (m_pipeline.push(m_wide ? widened() : m_line.data(), 0, 1) == 0) return 0;
    }
    return 1;
  }

 private:
  // The line with 16-bit samples, behind the 8-bit ones.
  const std::uint8_t* widened() noexcept {
    std::uint8_t* out = m_line.data() + m_samples;
    for (std::size_t i = 0; i < m_samples; ++i) out[2 * i] = out[2 * i + 1] = m_line[i];
    return out;
  }

  std::size_t m_samples;
  bool m_wide;
  SimBed m_bed;
  LinePipeline m_pipeline;
  std::vector<std::uint8_t> m_line;
};

}  // namespace

bool readSimRequest(IParam* settings, const SimConfig& config, SimJob* job, UnitFault* fault) {
  job->config = config;
  ScanRequest& request = job->request;
  const std::string wrong = readScanRequest(settings, &request);
  if (!wrong.empty())
    return refuse(fault, UnitFaultCode::Invalid, formatText(Supp_Translate("The simulated scanner: %s"), {wrong}));
  job->config.speed *= request.speed / 100.0;
  const int most = config.colour ? kModeRgb : kModeGrey;
  if (request.mode < 0 || request.mode > most)
    return refuse(
        fault, UnitFaultCode::Unsupported,
        formatText(Supp_Translate("The simulated scanner has no scan mode %d: choose one of the modes 0 to %d."),
                   {std::to_string(request.mode), std::to_string(most)}));
  const std::int32_t dpi = request.dpi == 0 ? kUsualDpi : request.dpi;
  if (dpi < kSimLeastDpi || dpi > kSimMostDpi)
    return refuse(fault, UnitFaultCode::Invalid,
                  formatText(Supp_Translate(
                                 "The simulated scanner does not scan at %d dpi: choose a resolution from %d to %d "
                                 "dpi."),
                             {std::to_string(dpi), std::to_string(kSimLeastDpi), std::to_string(kSimMostDpi)}));
  job->dpi = static_cast<std::uint32_t>(dpi);
  return placeArea(job, fault);
}

bool takesPage(const SimJob& job) { return !job.request.isPiece || job.top >= documentEnd(job); }

SimEnd runSimJob(const SimJob& job, ISimClock* clock) {
  // A piece that starts beyond the document has no lines.
  if (job.request.isPiece && job.top >= documentEnd(job)) return SimEnd::Complete;
  const std::int32_t end = endOf(job);
  Renderer renderer(job);
  LinePipeline& pipeline = renderer.pipeline();
  job.sink->ScanStarted(pipeline.colorSpace(), job.right - job.left,
                        job.config.unknownLength ? -1 : std::int64_t{end} - job.top, job.dpi);
  const auto begin = std::chrono::steady_clock::now();
  const std::int64_t faultLine = job.faultAfter > 0 ? job.top + job.faultAfter : INT64_MAX;
  for (std::int64_t y = job.top; y < end;) {
    if (clock->isStopped() || job.sink->QueryContinue() == 0) return SimEnd::Stopped;
    if (y >= faultLine) return pipeline.flush() != 0 ? SimEnd::Fault : SimEnd::Stopped;
    auto count = static_cast<std::int32_t>(std::min({std::int64_t{kBatch}, end - y, faultLine - y}));
    if (renderer.render(y, &count) == 0) return SimEnd::Stopped;
    y += count;
    if (job.config.speed > 0)
      clock->waitUntil(begin +
                       std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                           std::chrono::duration<double>(static_cast<double>(y - job.top) / job.config.speed)));
  }
  if (clock->isStopped()) return SimEnd::Stopped;
  return pipeline.flush() != 0 ? SimEnd::Complete : SimEnd::Stopped;
}

UnitFault simFault(UnitFaultCode code) {
  const auto text = [&]() -> const char* {
    switch (code) {
      case UnitFaultCode::Cancelled: return "The scan on the simulated scanner was stopped.";
      case UnitFaultCode::NoDocuments: return "The feeder of the simulated scanner is empty: load documents.";
      case UnitFaultCode::Jammed:
        return "The paper is jammed in the simulated scanner: remove it, load it again and repeat the scan.";
      case UnitFaultCode::CoverOpen: return "The cover of the simulated scanner is open: close it.";
      case UnitFaultCode::Busy:
        return "The simulated scanner is busy: wait until its scan has ended, or stop it, and try again.";
      case UnitFaultCode::AccessDenied:
        return "Access to the simulated scanner was denied: ask its administrator for permission.";
      case UnitFaultCode::InputOutput:
        return "The connection to the simulated scanner failed: check its cable and try again.";
      case UnitFaultCode::NoMemory:
        return "There is not enough memory for a scan on the simulated scanner: close other programs.";
      case UnitFaultCode::Unsupported: return "The simulated scanner does not support this: choose other settings.";
      case UnitFaultCode::Invalid: return "The simulated scanner refused the settings: choose others.";
      default: return "The simulated scanner failed: switch it off and on.";
    }
  };
  return {code, Supp_Translate(text())};
}

}  // namespace quillbay
