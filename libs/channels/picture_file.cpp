#include "channels/picture_file.h"

#include <algorithm>

#include "channels/module_loader.h"
#include "channels/writing_file.h"
#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

constexpr std::size_t kAskEvery = std::size_t{4} << 20;  // bytes of the file

std::string knownFormats() {
  std::string names;
  for (const QbFormat* format : loadedFormats()) names += (names.empty() ? "" : ", ") + std::string(format->name);
  return names;
}

}  // namespace

PictureFile::PictureFile(const std::string& fileName) : m_file(fileName, PageFile::Mode::Read) {
  m_edge.self = this;
  m_edge.size = [](void* self) { return static_cast<PictureFile*>(self)->m_file.size(); };
  m_edge.read = [](void* self, std::int64_t offset, void* bytes, std::size_t size) -> int {
    return static_cast<PictureFile*>(self)->readBytes(offset, static_cast<std::uint8_t*>(bytes), size);
  };
  std::uint8_t head[64];
  const auto size = static_cast<std::size_t>(std::min<std::int64_t>(m_file.size(), sizeof head));
  QbText why{};
  if (size > 0) check(readBytes(0, head, size), why);
  m_format = formatForContent(head, size);
  if (!m_format) {
    const char* what = size == 0
                           ? "read %s: the file is empty; choose a file of one of these formats: %s"
                           : "read %s: this is not a picture file of a known format; choose a file of one of these "
                             "formats: %s";
    throw CXFileException(formatText(Supp_Translate(what), {fileName, knownFormats()}), fileName);
  }
  check(m_format->open_reader(&m_edge, &m_reader, &why), why);
}

PictureFile::~PictureFile() {
  if (m_reader) m_format->close_reader(m_reader);
}

int PictureFile::readBytes(std::int64_t offset, std::uint8_t* bytes, std::size_t size) {
  while (size > 0) {
    const std::size_t piece = std::min(size, kAskEvery);
    const int code = m_file.edge()->read(m_file.edge()->self, offset, bytes, piece);
    if (code != QB_OK) return code;
    offset += static_cast<std::int64_t>(piece);
    bytes += piece;
    size -= piece;
    m_unasked += piece;
    if (!m_progress || m_unasked < kAskEvery) continue;
    m_unasked = 0;
    m_cancelled = m_cancelled || m_progress->IsCancelled() != 0;
    if (m_cancelled) return QB_E_FILE;
  }
  return QB_OK;
}

void PictureFile::check(int code, const QbText& why) {
  if (m_cancelled) throw Cancelled{};
  if (code == QB_OK) return;
  if (code != QB_E_TRUNCATED) throwModuleError(FileStep::Read, path(), code, m_file.error(), why);
  throw CXFileException(truncatedText(why), path());
}

std::string PictureFile::truncatedText(const QbText& why) const {
  const std::string page = toText(std::int64_t{m_page} + 1);
  if (m_line > 0)
    return formatText(Supp_Translate("read %s: the file is truncated; of %d lines of page %d the first %d can be "
                                     "read. Get the file again from where it came."),
                      {path(), toText(std::int64_t{m_picture.height}), page, toText(std::int64_t{m_line})});
  if (!why.text[0])
    return formatText(Supp_Translate("read %s: the file is truncated; no line of page %d can be read. Get the file "
                                     "again from where it came."),
                      {path(), page});
  const char* text = m_page > 0 ? "read %s: the file is truncated: %s; the pages before it can be read. Get the "
                                  "file again from where it came."
                                : "read %s: the file is truncated: %s. Get the file again from where it came.";
  return formatText(Supp_Translate(text), {path(), Supp_Translate(why.text)});
}

const QbPicture& PictureFile::openPage(int page) {
  if (page < 0 || page >= pageCount()) {
    throw CXFileException(
        formatText(Supp_Translate("read %s: it has no page %d"), {path(), toText(std::int64_t{page} + 1)}), path());
  }
  m_page = page;
  m_line = 0;
  ++m_opened;
  m_cancelled = false;
  QbText why{};
  check(m_format->open_page(m_reader, page, &m_picture, &why), why);
  return m_picture;
}

std::size_t PictureFile::lineBytes() const noexcept {
  const auto space = static_cast<KxColorSpace>(m_picture.color_space);
  return isRunList(space) ? (static_cast<std::size_t>(m_picture.width) + 7) / 8
                          : fixedLineBytes(space, m_picture.width);
}

void PictureFile::readLine(std::uint8_t* out) {
  QbText why{};
  check(m_format->read_line(m_reader, out, &why), why);
  ++m_line;
}

}  // namespace quillbay
