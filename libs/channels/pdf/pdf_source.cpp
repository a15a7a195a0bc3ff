#include "channels/pdf/pdf_source.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace quillbay {
namespace {

constexpr std::string_view kHeadMark = "%PDF-", kEndMark = "startxref", kLastMark = "%%EOF";
constexpr std::size_t kHeadRoom = 1024;
constexpr std::size_t kWindow = std::size_t{1} << 20;
constexpr std::size_t kEndRoom = 100;  // from "startxref" to behind "%%EOF"
constexpr std::size_t kCacheBytes = std::size_t{64} << 10;

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\f' || c == '\0'; }

void skipBlanks(std::string_view& text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
}

std::string bytesAt(const EdgeFile& file, std::int64_t at, std::size_t most) {
  const std::int64_t left = std::max<std::int64_t>(file.size() - at, 0);
  std::string bytes(std::min(most, static_cast<std::size_t>(left)), '\0');
  if (!bytes.empty()) file.read(at, bytes.data(), bytes.size());
  return bytes;
}

/// The state that ends with the "startxref" at `at`, if it is one.
std::optional<PdfEnd> endAt(const EdgeFile& file, std::int64_t base, std::int64_t at) {
  const std::string bytes = bytesAt(file, at, kEndRoom);
  std::string_view text = std::string_view(bytes).substr(kEndMark.size());
  skipBlanks(text);
  std::int64_t place = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), place);
  if (error != std::errc{} || place <= 0 || place >= at - base) return {};
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  skipBlanks(text);
  if (text.substr(0, kLastMark.size()) != kLastMark) return {};
  text.remove_prefix(kLastMark.size());
  const std::string list = bytesAt(file, base + place, 16);
  std::string_view start = list;
  skipBlanks(start);
  if (start.empty()) return {};
  PdfEnd end;
  end.base = base;
  end.end = at + static_cast<std::int64_t>(text.data() - bytes.data());
  end.lastXref = place;
  end.isStream = start.front() >= '0' && start.front() <= '9';
  if (!end.isStream && start.substr(0, 4) != "xref") return {};
  return end;
}

}  // namespace

bool looksLikePdf(const std::uint8_t* head, std::size_t size) noexcept {
  const std::string_view text(reinterpret_cast<const char*>(head), size);
  return text.find(kHeadMark) != std::string_view::npos;
}

PdfEnd findPdfEnd(const EdgeFile& file) {
  const std::size_t base = bytesAt(file, 0, kHeadRoom).find(kHeadMark);
  if (base == std::string::npos) throw ModuleError(QB_E_DAMAGED, "the file does not start as a PDF does");
  // Windows overlap by a mark, so that none is missed at a border.
  for (std::int64_t end = file.size(); end > static_cast<std::int64_t>(base);) {
    const std::int64_t from = std::max<std::int64_t>(end - static_cast<std::int64_t>(kWindow), 0);
    const std::string window = bytesAt(file, from, static_cast<std::size_t>(end - from));
    for (std::size_t at = window.rfind(kEndMark); at != std::string::npos;
         at = at > 0 ? window.rfind(kEndMark, at - 1) : std::string::npos) {
      const auto found = endAt(file, static_cast<std::int64_t>(base), from + static_cast<std::int64_t>(at));
      if (found) return *found;
    }
    if (from == 0) break;
    end = from + static_cast<std::int64_t>(kEndMark.size()) - 1;
  }
  throw ModuleError(QB_E_TRUNCATED, "");
}

qpdf_offset_t PdfSource::findAndSkipNextEOL() {
  char c = 0;
  qpdf_offset_t found = m_at;
  while (read(&c, 1) == 1 && c != '\r' && c != '\n') found = m_at;
  while (read(&c, 1) == 1) {
    if (c == '\r' || c == '\n') continue;
    unreadCh(c);
    break;
  }
  return found;
}

void PdfSource::seek(qpdf_offset_t offset, int whence) {
  const qpdf_offset_t to = offset + (whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m_at : m_size);
  if (to < 0) throw std::runtime_error("a place before the beginning");
  m_at = to;
}

std::size_t PdfSource::read(char* out, std::size_t length) {
  last_offset = m_at = std::min(m_at, m_size);
  std::size_t done = 0;
  while (done < length && m_at < m_size) {
    if (m_at < m_cachedAt || m_at >= m_cachedAt + static_cast<std::int64_t>(m_cached.size())) {
      m_cached.clear();
      std::vector<char> bytes(static_cast<std::size_t>(std::min<std::int64_t>(kCacheBytes, m_size - m_at)));
      m_file.read(m_base + m_at, bytes.data(), bytes.size());
      m_cached = std::move(bytes);
      m_cachedAt = m_at;
    }
    const auto skip = static_cast<std::size_t>(m_at - m_cachedAt);
    const std::size_t count = std::min(length - done, m_cached.size() - skip);
    std::memcpy(out + done, m_cached.data() + skip, count);
    done += count;
    m_at += static_cast<std::int64_t>(count);
  }
  return done;
}

}  // namespace quillbay
