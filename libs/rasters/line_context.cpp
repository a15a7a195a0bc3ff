#include "rasters/line_context.h"

#include "rasters/run_stor.h"

namespace quillbay {

/// Lines of a raster; counted on its own, holds the raster. Any number may be used side by side.
template <class Context>
class LineContext : public CKxUnknownImpl<Context> {
 public:
  LineContext(RasterBase& raster, bool writes) : m_raster(KxPtr<RasterBase>::share(&raster)), m_writes(writes) {}

  int QueryInterface(const std::type_info& wanted, void** out) override {
    return detail::answerQuery<Context, IAccessContext>(this, wanted, out);
  }
  int ReadLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) override {
    return m_raster->readLine(line, x, count, buffer);
  }
  int WriteLine(std::int32_t line, std::int32_t x, std::int32_t count, const void* buffer) override {
    return m_writes ? m_raster->writeLine(line, x, count, buffer) : 0;
  }
  int GetColorCount() override { return m_raster->colorCount(); }
  int GetPalette(KXRGBQUAD* out) override { return m_raster->getPalette(out); }

 protected:
  KxPtr<RasterBase> m_raster;
  const bool m_writes;
};

namespace {

class PalContext final : public LineContext<IPalContext> {
 public:
  using LineContext::LineContext;
  int SetPalette(const KXRGBQUAD* entries, int count) override {
    return m_writes ? m_raster->setPalette(entries, count) : 0;
  }
};

class RunContext final : public LineContext<IARSContext> {
 public:
  RunContext(CRunStor& raster, bool writes) : LineContext(raster, writes), m_runs(raster) {}
  std::size_t GetLineSize(std::int32_t line) override {
    return m_runs.hasLine(line) ? runListBytes(m_runs.runs(line).count) : 0;
  }
  const std::uint32_t* GetLinePointer(std::int32_t line) override {
    return m_runs.hasLine(line) ? m_runs.runs(line).runs : nullptr;
  }

 private:
  CRunStor& m_runs;  // the raster that the base holds
};

using RgbContext = LineContext<IRGBContext>;

}  // namespace

KxPtr<IPalContext> newPalContext(RasterBase& raster, bool writes) {
  switch (raster.GetColorSpace()) {
    case KxColorSpace::Four:
    case KxColorSpace::Palette:
    case KxColorSpace::Grey: return KxPtr<IPalContext>::adopt(new PalContext(raster, writes));
    default: return {};
  }
}

KxPtr<IAccessContext> newLineContext(RasterBase& raster, bool writes) {
  if (auto* runs = dynamic_cast<CRunStor*>(&raster)) {
    return KxPtr<IAccessContext>::adopt(new RunContext(*runs, writes));
  }
  if (auto palette = newPalContext(raster, writes)) return KxPtr<IAccessContext>::adopt(palette.detach());
  return KxPtr<IAccessContext>::adopt(new RgbContext(raster, writes));
}

}  // namespace quillbay
