#include "test_pages.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "support/test_stripe.h"

namespace quillbay::test {

TestPage bitonalPage(const std::vector<std::vector<bool>>& rows, std::int32_t width) {
  TestPage page;
  page.colorSpace = KxColorSpace::Bitonal;
  page.width = width;
  for (const auto& row : rows) {
    std::vector<std::uint8_t> bits((static_cast<std::size_t>(width) + 7) / 8);
    std::vector<std::uint32_t> runs;
    for (std::size_t x = 0; x < row.size(); ++x) {
      if (!row[x]) continue;
      bits[x / 8] = static_cast<std::uint8_t>(bits[x / 8] | 0x80 >> (x % 8));
      if (x > 0 && row[x - 1]) {
        runs.back() = static_cast<std::uint32_t>(x);
      } else {
        runs.insert(runs.end(), 2, static_cast<std::uint32_t>(x));
      }
    }
    runs.push_back(RunEnd);
    runs.push_back(0);
    std::vector<std::uint8_t> line(runs.size() * 4);
    std::memcpy(line.data(), runs.data(), line.size());
    page.lines.push_back(std::move(line));
    page.seen.push_back(std::move(bits));
  }
  return page;
}

namespace {

std::vector<std::uint8_t> seenOf(KxColorSpace colorSpace, const std::vector<std::uint8_t>& line) {
  const std::size_t step = static_cast<std::size_t>(bitsPerPixel(colorSpace)) / 8;
  if (step == 1) return line;
  const bool swap = colorSpace == KxColorSpace::Bgr || colorSpace == KxColorSpace::Bgra;
  std::vector<std::uint8_t> rgb;
  for (std::size_t i = 0; i < line.size(); i += step) {
    rgb.push_back(line[i + (swap ? 2 : 0)]);
    rgb.push_back(line[i + 1]);
    rgb.push_back(line[i + (swap ? 0 : 2)]);
  }
  return rgb;
}

}  // namespace

TestPage makePage(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, unsigned seed) {
  std::mt19937 random(seed);
  if (isRunList(colorSpace)) {
    std::vector<std::vector<bool>> rows;
    for (std::int32_t y = 0; y < height; ++y) {
      std::vector<bool> row(static_cast<std::size_t>(width));
      for (std::size_t x = 0; x < row.size(); ++x) {
        const bool drawing = (x + static_cast<std::size_t>(y)) % 37 < 3 || y % 29 < 2;
        row[x] = y % 3 == 2 ? random() % 2 == 0 : drawing;
      }
      rows.push_back(std::move(row));
    }
    TestPage page = bitonalPage(rows, width);
    page.colorSpace = colorSpace;
    return page;
  }
  TestPage page{colorSpace, width, 300, {}, {}, {}};
  for (unsigned i = 0; colorSpace == KxColorSpace::Palette && i < 256; ++i) {
    const auto value = static_cast<std::uint8_t>(i);
    page.palette.push_back({static_cast<std::uint8_t>(random()), value, static_cast<std::uint8_t>(255 - value), 0});
  }
  for (std::int32_t y = 0; y < height; ++y) {
    std::vector<std::uint8_t> line(fixedLineBytes(colorSpace, width));
    for (std::size_t i = 0; i < line.size(); ++i) {
      const unsigned tone = static_cast<unsigned>(i) / 3 + static_cast<unsigned>(y);
      line[i] = static_cast<std::uint8_t>(i % 100 < 40 ? 255 : i % 100 < 70 ? tone : random());
    }
    page.seen.push_back(seenOf(colorSpace, line));
    page.lines.push_back(std::move(line));
  }
  return page;
}

namespace {

/// What a raster over a page answers whatever the way that it is read.
template <class... More>
class PageRaster : public CKxUnknownImpl<IRStor, More...> {
 public:
  explicit PageRaster(const TestPage& page) : m_page(page) {}
  int IsValid() override { return 1; }
  KxColorSpace GetColorSpace() override { return m_page.colorSpace; }
  KxSize GetSize() override { return {m_page.width, GetHeight()}; }
  std::int32_t GetWidth() override { return m_page.width; }
  std::int32_t GetHeight() override { return m_height; }
  std::uint32_t GetResolution() override { return m_page.dpi; }
  void Flush() override {}
  int IsTiled() override { return 0; }
  int HasAlpha() override { return 0; }
  int IsModified() override { return 0; }
  int IsReadOnly() override { return 1; }
  int GetLevelCount() override { return 0; }
  int GetPlaneCount() override { return 1; }
  int GetFrameCount() override { return 1; }
  IAccessContext* GetAccessContext(int, int) override { return nullptr; }
  IRStorDraw* GetDrawing() override { return nullptr; }
  std::int32_t GetOriginX() override { return 0; }
  std::int32_t GetOriginY() override { return 0; }
  std::int64_t GetByteCount() override { return 0; }
  int GetGeneration() override { return 0; }

 protected:
  TestPage m_page;
  std::int32_t m_height = 0;
};

class StripeRaster final : public PageRaster<IStripeReader> {
 public:
  StripeRaster(const TestPage& page, std::int32_t stripeLines, bool contiguous, std::int32_t abandonAfter)
      : PageRaster(page), m_stripeLines(stripeLines), m_contiguous(contiguous), m_abandonAfter(abandonAfter) {}
  int NextStripe(IScanBuffer** out, std::int32_t* lines) override {
    if (WasAbandoned() || m_height >= m_page.height()) return 0;
    *lines = std::min(m_stripeLines, m_page.height() - m_height);
    auto stripe =
        newStripe(m_page.colorSpace, m_page.width, m_contiguous ? Shape::Packed : Shape::LineByLine, m_page.dpi);
    std::copy(m_page.palette.begin(), m_page.palette.end(), stripe->palette().begin());
    for (auto y = static_cast<std::size_t>(m_height); y < static_cast<std::size_t>(m_height + *lines); ++y)
      stripe->add(m_page.lines[y], m_contiguous && isRunList(m_page.colorSpace) ? m_page.seen[y] : Bytes());
    *out = stripe.detach();
    m_height += *lines;
    return 1;
  }
  int WasAbandoned() override { return m_abandonAfter >= 0 && m_height >= m_abandonAfter; }

 private:
  std::int32_t m_stripeLines;
  bool m_contiguous;
  std::int32_t m_abandonAfter;
};

/// Reads line by line; like a raster over a running scan, its height grows when a stripe is used up.
class GrowingRaster final : public PageRaster<> {
 public:
  GrowingRaster(const TestPage& page, std::int32_t stripeLines) : PageRaster(page), m_stripeLines(stripeLines) {
    grow();
  }
  IAccessContext* GetAccessContext(int, int) override {
    m_lines.AddRef();
    return &m_lines;
  }

 private:
  class Lines final : public CKxUnknownImplStatic<IARSContext> {
   public:
    explicit Lines(GrowingRaster* raster) : m_raster(raster) {}
    int ReadLine(std::int32_t, std::int32_t, std::int32_t, void* buffer) override {
      const auto& line = m_raster->m_page.lines[m_next++];
      std::memcpy(buffer, line.data(), line.size());
      if (static_cast<std::int32_t>(m_next) == m_raster->m_height) m_raster->grow();
      return 1;
    }
    int WriteLine(std::int32_t, std::int32_t, std::int32_t, const void*) override { return 0; }
    int GetColorCount() override { return static_cast<int>(m_raster->m_page.palette.size()); }
    int GetPalette(KXRGBQUAD* out) override {
      std::copy(m_raster->m_page.palette.begin(), m_raster->m_page.palette.end(), out);
      return GetColorCount();
    }
    std::size_t GetLineSize(std::int32_t) override { return m_raster->m_page.lines[m_next].size(); }
    const std::uint32_t* GetLinePointer(std::int32_t) override { return nullptr; }

   private:
    GrowingRaster* m_raster;
    std::size_t m_next = 0;
  };
  void grow() { m_height = std::min(m_height + m_stripeLines, m_page.height()); }

  std::int32_t m_stripeLines;
  Lines m_lines{this};
};

KxPtr<IRStor> storedRaster(const TestPage& page) {
  KxPtr<IRStor> raster = new_IRStor(page.colorSpace, page.width, page.height(), page.dpi);
  const auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
  if (const auto palette = lines.as<IPalContext>(); palette && !page.palette.empty()) {
    palette->SetPalette(page.palette.data(), static_cast<int>(page.palette.size()));
  }
  for (std::int32_t y = 0; y < page.height(); ++y) {
    lines->WriteLine(y, 0, page.width, page.lines[static_cast<std::size_t>(y)].data());
  }
  return raster;
}

class OptionParams final : public CKxUnknownImpl<IIOParams> {
 public:
  explicit OptionParams(const std::map<std::string, std::string>& options) : m_set(new_MemParam()) {
    for (const auto& [key, value] : options) m_set->SetValue(key, value);
  }
  IParam* GetFormatOptions(std::string_view) override { return KxPtr<IParam>(m_set).detach(); }
  std::string GetSoftware() override { return "Test software"; }

 private:
  KxPtr<IParam> m_set;
};

}  // namespace

KxPtr<IRStor> rasterOf(const TestPage& page, Source source, std::int32_t stripeLines) {
  switch (source) {
    case Source::Stripes: return KxPtr<IRStor>::adopt(new StripeRaster(page, stripeLines, true, -1));
    case Source::LooseStripes: return KxPtr<IRStor>::adopt(new StripeRaster(page, stripeLines, false, -1));
    case Source::Growing: return KxPtr<IRStor>::adopt(new GrowingRaster(page, stripeLines));
    case Source::Stored: break;
  }
  return storedRaster(page);
}

KxPtr<IRStor> abandonedRaster(const TestPage& page, std::int32_t lines) {
  return KxPtr<IRStor>::adopt(new StripeRaster(page, 7, true, lines));
}

KxPtr<IIOParams> paramsWith(const std::map<std::string, std::string>& options) {
  return KxPtr<IIOParams>::adopt(new OptionParams(options));
}

int savePaged(const std::string& file, IRStor* raster, End end, IIOParams* params) {
  const KxPtr<IKxFileChanel> channel = new_FileChanel(params, file, nullptr, nullptr);
  PageTarget target;
  target.path = file;
  target.joinsPart = target.addsToFile = true;
  target.isLast = end != End::KeepPart;
  channel->SetTarget(target);
  const int saved = channel.as<IKxRasterSavePagedChanel>()->Save(raster, nullptr);
  if (!saved || end == End::Abandon) {
    channel->Abandon();
  } else {
    channel->Commit();
  }
  return saved;
}

int saveSingle(const std::string& file, IRStor* raster, IIOParams* params, bool mayReplace,
               std::int64_t expectedLines) {
  const KxPtr<IKxFileChanel> channel = new_FileChanel(params, file, nullptr, nullptr);
  PageTarget target;
  target.path = file;
  target.mayReplace = mayReplace;
  target.expectedLines = expectedLines;
  channel->SetTarget(target);
  const int saved = channel.as<IKxRasterSaveFileChanel>()->Save(raster, nullptr);
  if (saved) channel->Commit();
  return saved;
}

std::string documentWith(const std::string& imageWords, const std::string& bytes, int width, int height,
                         const std::string& drawing) {
  const std::vector<std::string> objects = {
      "<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [ 3 0 R ] /Count 1 >>",
      "<< /Type /Page /Parent 2 0 R /MediaBox [ 0 0 " + std::to_string(width) + ' ' + std::to_string(height) +
          " ] /Resources << /XObject << /A 4 0 R >> >> /Contents 5 0 R >>",
      "<< /Subtype /Image " + imageWords + " /Length " + std::to_string(bytes.size()) + " >>\nstream\n" + bytes +
          "\nendstream",
      "<< /Length " + std::to_string(drawing.size()) + " >>\nstream\n" + drawing + "\nendstream"};
  std::string text = "%PDF-1.4\n", table = "0000000000 65535 f \n";
  for (std::size_t i = 0; i < objects.size(); ++i) {
    std::string place = std::to_string(text.size());
    table += std::string(10 - place.size(), '0') + place + " 00000 n \n";
    text += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const std::string at = std::to_string(text.size());
  return text + "xref\n0 6\n" + table + "trailer\n<< /Size 6 /Root 1 0 R >>\nstartxref\n" + at + "\n%%EOF\n";
}

}  // namespace quillbay::test
