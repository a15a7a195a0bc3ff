#include "channels/page_saver.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <ctime>
#include <vector>

#include "channels/codec/module_support.h"
#include "channels/color_profile.h"
#include "channels/line_source.h"
#include "channels/module_loader.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"

namespace quillbay {
namespace {

constexpr std::int64_t kProgressLines = 64;

/// Answers a module's questions for options from a parameter set.
class OptionSource {
 public:
  OptionSource(IIOParams* params, const char* format) {
    if (params) m_set = KxPtr<IParam>::adopt(params->GetFormatOptions(format));
    m_edge.self = this;
    m_edge.text = [](void* self, const char* key, char* out, std::size_t room) -> int {
      const std::string value = static_cast<OptionSource*>(self)->text(key);
      if (value.empty() || room == 0) return 0;
      const std::size_t size = std::min(room - 1, value.size());
      std::memcpy(out, value.data(), size);
      out[size] = 0;
      return 1;
    };
  }
  [[nodiscard]] const QbOptions& edge() const noexcept { return m_edge; }
  [[nodiscard]] std::string text(const char* key) const {
    const CKxVariant value = paramValue(m_set.get(), key);
    if (const auto* number = value.get<std::int32_t>()) return toText(std::int64_t{*number});
    if (const auto* number = value.get<double>()) return toText(*number);
    const auto* words = value.get<std::string>();
    return words ? *words : std::string();
  }

 private:
  KxPtr<IParam> m_set;
  QbOptions m_edge{};
};

/// Gives a block's hold back.
class HeldBlock {
 public:
  explicit HeldBlock(LineSource& source) : m_has(source.next(&m_block)) {}
  ~HeldBlock() {
    if (m_has) m_block.release_hold(m_block.hold);
  }
  HeldBlock(const HeldBlock&) = delete;
  HeldBlock& operator=(const HeldBlock&) = delete;
  explicit operator bool() const noexcept { return m_has; }
  [[nodiscard]] const QbBlock& block() const noexcept { return m_block; }

 private:
  QbBlock m_block{};
  bool m_has;
};

/// A file in memory, for a page that is only begun.
class UnfinishedFile {
 public:
  UnfinishedFile() {
    m_edge.self = this;
    m_edge.size = [](void* self) { return static_cast<std::int64_t>(of(self).size()); };
    m_edge.read = [](void* self, std::int64_t offset, void* bytes, std::size_t size) -> int {
      const auto end = static_cast<std::uint64_t>(of(self).size());
      if (offset < 0 || static_cast<std::uint64_t>(offset) > end || size > end - static_cast<std::uint64_t>(offset))
        return QB_E_FILE;
      if (size > 0) std::memcpy(bytes, of(self).data() + offset, size);
      return QB_OK;
    };
    m_edge.append = [](void* self, const QbPiece* pieces, int count) -> int {
      for (int i = 0; i < count; ++i) {
        const auto* from = static_cast<const std::uint8_t*>(pieces[i].bytes);
        of(self).insert(of(self).end(), from, from + pieces[i].size);
      }
      return QB_OK;
    };
    m_edge.patch = [](void*, std::int64_t, const void*, std::size_t) -> int { return QB_OK; };
  }
  [[nodiscard]] const QbFile* edge() const noexcept { return &m_edge; }

 private:
  static std::vector<std::uint8_t>& of(void* self) noexcept { return static_cast<UnfinishedFile*>(self)->m_bytes; }
  std::vector<std::uint8_t> m_bytes;
  QbFile m_edge{};
};

class PageSaver {
 public:
  PageSaver(WritingFile& file, const PageRequest& request, IRStor* raster, IProgress* progress)
      : m_file(file),
        m_request(request),
        m_progress(progress),
        m_raster(raster),
        m_colorSpace(raster->GetColorSpace()),
        m_width(raster->GetWidth()),
        m_source(makeLineSource(raster, m_colorSpace, m_width)),
        m_options(request.params, request.format->name) {}

  SavedPage save() {
    if (m_width <= 0)
      throw CXIFaceException(formatText(Supp_Translate("write %s: the page has no width"), {m_request.fileName}));
    bool begun = false;
    for (;;) {
      const HeldBlock next(*m_source);
      if (!next) break;
      if (m_progress && m_progress->IsCancelled()) return SavedPage::Dropped;
      if (!begun) begin();
      begun = true;
      if (!m_file.writeLines(next.block())) {
        m_file.endLines();
        return SavedPage::Cut;
      }
      advance(next.block().lines);
    }
    if (m_source->abandoned() || (m_progress && m_progress->IsCancelled())) return SavedPage::Dropped;
    if (!begun) {
      throw CXFileException(
          formatText(Supp_Translate("write %s: the scan delivered no lines; scan again"), {m_request.fileName}),
          m_request.fileName);
    }
    m_file.endLines();
    return SavedPage::Whole;
  }

 private:
  void begin() {
    KXRGBQUAD palette[256];
    std::uint8_t bytes[256 * 4];
    const std::string software = m_request.params ? m_request.params->GetSoftware() : std::string();
    const std::string moment = dateTimeText(now());
    QbPage page{};
    page.color_space = static_cast<std::int32_t>(m_colorSpace);
    page.width = m_width;
    page.expected_lines = expectedLines();
    page.dpi = m_raster->GetResolution();
    page.paged = m_request.paged ? 1 : 0;
    page.palette_count = m_source->palette(palette);
    for (int i = 0; i < page.palette_count; ++i) std::memcpy(bytes + 4 * i, &palette[i], 4);
    page.palette = bytes;
    page.software = software.c_str();
    page.date_time = moment.c_str();
    page.title = m_request.title.c_str();
    const ColorProfile profile = profileFor(m_colorSpace, m_options.text(kProfileOption.key));
    page.icc = profile.empty() ? nullptr : profile.data();
    page.icc_size = profile.size();
    m_file.beginPage(page, m_options.edge());
  }

  /// A stored raster knows its height; a running scan only the announced one.
  [[nodiscard]] std::int64_t expectedLines() const {
    if (m_request.expectedLines > 0) return m_request.expectedLines;
    return query<IStripeReader>(m_raster) ? 0 : std::max<std::int64_t>(m_raster->GetHeight(), 0);
  }

  void advance(std::int32_t lines) {
    m_lines += lines;
    if (!m_progress || m_lines - m_shown < kProgressLines) return;
    m_shown = m_lines;
    m_progress->SetPosition(static_cast<int>(std::min<std::int64_t>(m_lines, INT_MAX)));
  }

  WritingFile& m_file;
  const PageRequest& m_request;
  IProgress* m_progress;
  IRStor* m_raster;
  KxColorSpace m_colorSpace;
  std::int32_t m_width;
  std::unique_ptr<LineSource> m_source;
  OptionSource m_options;
  std::int64_t m_lines = 0;
  std::int64_t m_shown = 0;
};

}  // namespace

std::string dateTimeText(std::int64_t secondsSince1970) {
  const std::time_t moment = secondsSince1970;
  std::tm parts{};
  char text[40];
  if (!::localtime_r(&moment, &parts)) return "1970:01:01 00:00:00";
  const std::size_t size = std::strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &parts);
  return {text, size};
}

std::string RefusalOf(IIOParams* params, const std::string& fileName, const ExpectedPage& expected) {
  const QbFormat* format = formatForName(fileName);
  const auto colorSpace = static_cast<std::int32_t>(expected.colorSpace);
  if (!format || format->accepts(colorSpace) == 0) return {};  // said elsewhere
  UnfinishedFile file;
  QbWriter* writer = nullptr;
  QbText why{};
  try {
    const OptionSource options(params, format->name);
    const ColorProfile profile = profileFor(expected.colorSpace, options.text(kProfileOption.key));
    int code = format->open_writer(file.edge(), &writer, &why);
    if (code == QB_OK) {
      const std::uint8_t palette[256 * 4] = {};
      QbPage page{};
      page.color_space = colorSpace;
      page.width = std::max(expected.width, 1);
      page.expected_lines = expected.lines;
      page.dpi = expected.dpi;
      page.paged = expected.joinsPart ? 1 : 0;
      page.palette = palette;
      page.software = page.date_time = page.title = "";
      page.icc = profile.empty() ? nullptr : profile.data();
      page.icc_size = profile.size();
      code = format->begin_page(writer, &page, &options.edge(), &why);
      format->drop_page(writer);
      format->close_writer(writer);
    }
    if (code != QB_OK) throwModuleError(FileStep::Write, fileName, code, 0, why);
  } catch (const CXException& e) {
    return e.what();
  }
  return {};
}

SavedPage savePage(WritingFile& file, const PageRequest& request, IRStor* raster, IProgress* progress) {
  SavedPage saved = SavedPage::Dropped;
  try {
    saved = PageSaver(file, request, raster, progress).save();
  } catch (...) {
    file.dropPage();
    throw;
  }
  if (saved == SavedPage::Dropped) file.dropPage();
  return saved;
}

}  // namespace quillbay
