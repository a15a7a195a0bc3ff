#include <algorithm>
#include <string>
#include <utility>

#include "channels/module_loader.h"
#include "channels/page_file.h"
#include "channels/writing_file.h"
#include "platform/file_channel.h"

namespace quillbay {
namespace {

constexpr std::int32_t kLinesPerStep = 64;

/// Makes a raster from what a format module reads.
class RasterMaker {
 public:
  explicit RasterMaker(IProgress* progress) : m_progress(progress) {
    m_edge.self = this;
    m_edge.begin = [](void* self, std::int32_t colorSpace, std::int32_t width, std::int32_t height,
                      std::uint32_t dpi, const std::uint8_t* palette, std::int32_t count) -> int {
      auto* maker = static_cast<RasterMaker*>(self);
      return maker->guarded([&] { return maker->begin(colorSpace, width, height, dpi, palette, count); });
    };
    m_edge.line = [](void* self, const std::uint8_t* bytes) -> int {
      auto* maker = static_cast<RasterMaker*>(self);
      return maker->guarded([&] { return maker->line(bytes); });
    };
  }
  [[nodiscard]] const QbRasterSink* edge() const noexcept { return &m_edge; }
  [[nodiscard]] KxPtr<IRStor> raster() const { return m_raster; }
  /// What a callback threw; it could not cross the module.
  void rethrow() const {
    if (m_thrown) std::rethrow_exception(m_thrown);
  }

 private:
  template <class Body>
  int guarded(Body body) noexcept {
    try {
      return body();
    } catch (...) {
      m_thrown = std::current_exception();
      return QB_E_STOPPED;
    }
  }

  int begin(std::int32_t colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi,
            const std::uint8_t* palette, std::int32_t count) {
    m_width = width;
    m_raster = new_IRStor(static_cast<KxColorSpace>(colorSpace), width, height, dpi);
    m_lines = KxPtr<IAccessContext>::adopt(m_raster->GetAccessContext(1, 0));
    if (!m_lines) throw CXIFaceException("a raster of this kind of picture cannot be made");
    if (auto pal = m_lines.as<IPalContext>(); pal && count > 0) {
      KXRGBQUAD entries[256] = {};
      const int used = std::min(count, 256);
      for (int i = 0; i < used; ++i) entries[i] = {palette[4 * i], palette[4 * i + 1], palette[4 * i + 2], 0};
      pal->SetPalette(entries, used);
    }
    return QB_OK;
  }

  int line(const std::uint8_t* bytes) {
    if (!m_lines->WriteLine(m_line, 0, m_width, bytes)) {
      throw CXIFaceException("line " + std::to_string(m_line) + " of the raster cannot be written");
    }
    if (++m_line % kLinesPerStep == 0 && m_progress) {
      m_progress->SetPosition(m_line);
      if (m_progress->IsCancelled()) return QB_E_STOPPED;
    }
    return QB_OK;
  }

  IProgress* m_progress;
  QbRasterSink m_edge{};
  KxPtr<IRStor> m_raster;
  KxPtr<IAccessContext> m_lines;
  std::int32_t m_width = 0;
  std::int32_t m_line = 0;
  std::exception_ptr m_thrown;
};

class COpenFileChanel final : public CKxUnknownImpl<IKxFileChanel, IKxRasterLoadFileChanel> {
 public:
  explicit COpenFileChanel(const std::string& fileName) : m_file(fileName, PageFile::Mode::Read) {
    std::uint8_t head[64];
    const auto size = static_cast<std::size_t>(std::min<std::int64_t>(m_file.size(), sizeof head));
    QbText why{};
    if (size > 0) check(m_file.edge()->read(m_file.edge()->self, 0, head, size), why);
    m_format = formatForContent(head, size);
    if (!m_format) {
      throw CXFileException("read " + fileName + ": this is no picture file that the program knows", fileName);
    }
    check(m_format->open_reader(m_file.edge(), &m_reader, &why), why);
  }

  std::string GetFileName() override { return m_file.path(); }
  void SetTarget(const PageTarget&) override {}
  int Commit() override { throw CXIFaceException(m_file.path() + " was opened for reading"); }
  int IsWritten() override { return 0; }
  void Abandon() override {}

  int GetPageCount() override { return m_format->reader_pages(m_reader); }

  KxPtr<IRStor> Load(int page, IProgress* progress) override {
    if (page < 0 || page >= GetPageCount()) {
      throw CXFileException("read " + m_file.path() + ": it has no page " + std::to_string(page + 1),
                            m_file.path());
    }
    RasterMaker maker(progress);
    QbText why{};
    const int code = m_format->read_page(m_reader, page, maker.edge(), &why);
    maker.rethrow();
    if (code == QB_E_STOPPED) return nullptr;  // cancelled by the person
    check(code, why);
    return maker.raster();
  }

 private:
  ~COpenFileChanel() override {
    if (m_reader) m_format->close_reader(m_reader);
  }
  void check(int code, const QbText& why) {
    if (code != QB_OK) throwModuleError("read", m_file.path(), code, m_file.error(), why);
  }

  PageFile m_file;
  const QbFormat* m_format = nullptr;
  QbReader* m_reader = nullptr;
};

}  // namespace

KxPtr<IKxFileChanel> new_OpenFileChanel(IIOParams*, const std::string& fileName) {
  return KxPtr<IKxFileChanel>::adopt(new COpenFileChanel(fileName));
}

}  // namespace quillbay
