#include "channels/writing_file.h"

#include <utility>

#include "platform/base_services.h"

namespace quillbay {

void throwModuleError(FileStep step, const std::string& path, int code, int error, const QbText& why) {
  const auto text = [&](const std::string& reason) {
    return formatText(Supp_Translate(step == FileStep::Read ? "read %s: %s" : "write %s: %s"), {path, reason});
  };
  if (code == QB_E_FILE && error != 0) throw CXFileException(text(fio::errorText(error)), path, error);
  if (code == QB_E_MEMORY)
    throw CXMemException(text(Supp_Translate("no memory left; close other programs and try again")));
  throw CXFileException(text(Supp_Translate(why.text[0] ? why.text : "the file is damaged")), path, error);
}

WritingFile::WritingFile(const QbFormat* format, std::string path, std::string shown, PageFile::Mode mode)
    : m_format(format), m_shown(std::move(shown)), m_file(std::move(path), mode) {}

WritingFile::~WritingFile() {
  dropPage();
  if (m_writer) m_format->close_writer(m_writer);
}

void WritingFile::check(int code, const QbText& why) {
  if (code != QB_OK) throwModuleError(FileStep::Write, m_shown, code, m_file.error(), why);
}

QbWriter* WritingFile::writer() {
  if (m_writer) return m_writer;
  QbText why{};
  check(m_format->open_writer(m_file.edge(), &m_writer, &why), why);
  return m_writer;
}

int WritingFile::pageCount() { return m_format->page_count(writer()); }

void WritingFile::cutToPages() {
  if (m_format->whole_size) m_file.cutTo(m_format->whole_size(writer()));
}

void WritingFile::beginPage(const QbPage& page, const QbOptions& options) {
  QbWriter* to = writer();
  m_file.beginPage();
  m_inPage = true;
  QbText why{};
  check(m_format->begin_page(to, &page, &options, &why), why);
}

bool WritingFile::writeLines(const QbBlock& block) {
  QbText why{};
  const int code = m_format->write_lines(m_writer, &block, &why);
  if (code == QB_E_FULL) return false;
  check(code, why);
  return true;
}

void WritingFile::endLines() {
  QbText why{};
  check(m_format->end_page(m_writer, &why), why);
}

void WritingFile::finishPage() {
  if (!m_file.endPage()) check(QB_E_FILE, QbText{});
  m_inPage = false;
}

void WritingFile::dropPage() noexcept {
  if (!std::exchange(m_inPage, false)) return;
  m_format->drop_page(m_writer);
  m_file.dropPage();
}

}  // namespace quillbay
