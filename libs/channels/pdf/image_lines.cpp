#include "channels/pdf/image_lines.h"

#include "channels/pdf/g4_decoder.h"
#include "channels/pdf/ink_mixing.h"
#include "channels/pdf/jpeg_lines.h"

namespace quillbay {
namespace {

class PlainLines final : public SampleLines {
 public:
  PlainLines(std::unique_ptr<ByteSource> from, std::size_t size) : m_from(std::move(from)), m_size(size) {}
  void read(std::uint8_t* out) override { m_from->readAll(out, m_size); }

 private:
  std::unique_ptr<ByteSource> m_from;
  std::size_t m_size;
};

class FaxLines final : public SampleLines {
 public:
  FaxLines(std::unique_ptr<ByteSource> from, const ImagePlan& plan)
      : m_decoder(std::move(from), {plan.width, plan.faxAligns}),
        m_size(plan.lineBytes()),
        m_flips(!plan.fax1IsBlack) {}
  void read(std::uint8_t* out) override {
    m_decoder.readLine(out);
    if (!m_flips) return;
    for (std::size_t i = 0; i < m_size; ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
  }

 private:
  G4Decoder m_decoder;
  std::size_t m_size;
  bool m_flips;
};

}  // namespace

std::unique_ptr<SampleLines> makeSampleLines(const EdgeFile& file, const ImagePlan& plan) {
  std::unique_ptr<ByteSource> source = std::make_unique<PartSource>(file, plan.from, plan.size);
  if (plan.isDeflated) source = std::make_unique<InflateSource>(std::move(source));
  if (plan.prediction.predictor != 1)
    source = std::make_unique<PredictedSource>(std::move(source), plan.prediction);
  switch (plan.picture) {
    case ImagePlan::Picture::Jpeg: return makeJpegLines(std::move(source), plan);
    case ImagePlan::Picture::G4: return std::make_unique<FaxLines>(std::move(source), plan);
    case ImagePlan::Picture::Samples: break;
  }
  return std::make_unique<PlainLines>(std::move(source), plan.lineBytes());
}

ImageLines::ImageLines(const EdgeFile& file, const ImagePlan& plan)
    : m_plan(plan), m_lines(makeSampleLines(file, plan)), m_samples(plan.lineBytes()) {
  // At the edge 1 is black.
  const bool zeroIsBlack = plan.colors == PdfColors::Grey || (!plan.palette.empty() && plan.palette[0] == 0);
  const bool flips = plan.colorSpace() == KxColorSpace::Bitonal ? zeroIsBlack != plan.isInverse : plan.isInverse;
  m_flip = flips ? 0xff : 0;
}

/// The sample `i` of the line with 8 bits at most; indices as they are, tones over the whole range.
unsigned ImageLines::sampleAt(std::size_t i) const noexcept {
  const auto bits = static_cast<unsigned>(m_plan.bits);
  if (bits == 8) return m_samples[i];
  if (bits == 16) return m_samples[2 * i];
  const std::size_t at = i * bits;
  const unsigned value = m_samples[at / 8] >> (8 - bits - at % 8) & ((1U << bits) - 1);
  return m_plan.colors == PdfColors::Indexed ? value : value * 255 / ((1U << bits) - 1);
}

void ImageLines::convert(std::uint8_t* out) const noexcept {
  const auto width = static_cast<std::size_t>(m_plan.width);
  if (m_plan.colors != PdfColors::Inks) {
    const std::size_t count = width * static_cast<std::size_t>(m_plan.samples());
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<std::uint8_t>(sampleAt(i));
    return;
  }
  for (std::size_t x = 0; x < width; ++x) {
    std::uint8_t inks[4];
    for (std::size_t c = 0; c < 4; ++c) inks[c] = static_cast<std::uint8_t>(sampleAt(4 * x + c));
    mixInks(inks, 0, out + 3 * x);
  }
}

void ImageLines::read(std::uint8_t* out) {
  const bool isDirect =
      m_plan.colorSpace() == KxColorSpace::Bitonal || (m_plan.bits == 8 && m_plan.colors != PdfColors::Inks);
  std::uint8_t* to = isDirect ? out : m_samples.data();
  m_lines->read(to);
  if (m_flip != 0) {
    for (std::size_t i = 0; i < m_samples.size(); ++i) to[i] = static_cast<std::uint8_t>(to[i] ^ m_flip);
  }
  if (!isDirect) convert(out);
}

}  // namespace quillbay
