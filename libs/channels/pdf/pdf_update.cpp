#include "channels/pdf/pdf_update.h"

#include <algorithm>
#include <random>

namespace quillbay {
namespace {

constexpr std::int64_t kMostTablePlace = 9'999'999'999;  // ten digits
constexpr std::int64_t kSectorBytes = 512;

std::string padded(std::int64_t value, std::size_t digits) {
  const std::string text = std::to_string(value);
  return std::string(digits > text.size() ? digits - text.size() : 0, '0') + text;
}

std::string randomId() {
  std::random_device random;
  std::string id(16, '\0');
  for (char& c : id) c = static_cast<char>(random());
  return id;
}

void putBytes(std::string& out, std::int64_t value, int size) {
  while (size-- > 0) out += static_cast<char>(value >> (8 * size));
}

}  // namespace

/// An object starts here.
void PdfUpdate::note(PdfRef ref) {
  m_entries.push_back({ref, m_file.size() - m_base + static_cast<std::int64_t>(m_text.size())});
}

void PdfUpdate::flush() {
  m_file.append(m_text.data(), m_text.size());
  m_text.clear();
}

void PdfUpdate::start(PdfRef ref, std::string_view text) {
  note(ref);
  m_text += std::to_string(ref.number) + ' ' + std::to_string(ref.generation) + " obj\n";
  m_text += text;
  flush();
}

void PdfUpdate::add(PdfRef ref, std::string_view text) {
  note(ref);
  m_text += std::to_string(ref.number) + ' ' + std::to_string(ref.generation) + " obj\n";
  m_text += text;
  m_text += "\nendobj\n";
}

void PdfUpdate::add(const PdfObjects& objects) {
  for (const auto& [ref, text] : objects) add(ref, text);
}

void PdfUpdate::addStream(PdfRef ref, std::string_view words, std::string_view bytes) {
  std::string text = "<< " + std::string(words) + " /Length " + std::to_string(bytes.size()) + " >>\nstream\n";
  text += bytes;
  add(ref, text + "\nendstream");
}

std::string PdfUpdate::trailerWords(const PdfState& state) const {
  std::string text = "/Size " + std::to_string(state.nextObject) + " /Root " + refText(state.catalog);
  if (state.info) text += " /Info " + refText(state.info);
  text += " /ID [ " + hexText(state.firstId) + ' ' + hexText(randomId()) + " ]";
  if (state.lastXref > 0) text += " /Prev " + std::to_string(state.lastXref);
  return text;
}

void PdfUpdate::appendTable(const PdfState& state) {
  std::string& text = m_text;
  text += "xref\n";
  // The list of a new file starts with the head of the free objects.
  if (state.lastXref == 0) text += "0 1\n0000000000 65535 f \n";
  for (std::size_t i = 0; i < m_entries.size();) {
    std::size_t end = i + 1;
    while (end < m_entries.size() && m_entries[end].ref.number == m_entries[end - 1].ref.number + 1) ++end;
    text += std::to_string(m_entries[i].ref.number) + ' ' + std::to_string(end - i) + '\n';
    for (; i < end; ++i) {
      text += padded(m_entries[i].place, 10) + ' ' + padded(m_entries[i].ref.generation, 5) + " n \n";
    }
  }
  text += "trailer\n<< " + trailerWords(state) + " >>\n";
}

void PdfUpdate::appendStreamList(PdfState& state) {
  const PdfRef self{state.nextObject++, 0};
  std::vector<Entry> entries = m_entries;
  entries.push_back({self, m_file.size() - m_base + static_cast<std::int64_t>(m_text.size())});
  std::string list, index;
  for (const Entry& entry : entries) {
    index += ' ' + std::to_string(entry.ref.number) + " 1";
    putBytes(list, 1, 1);
    putBytes(list, entry.place, 8);
    putBytes(list, entry.ref.generation, 2);
  }
  addStream(self, "/Type /XRef /W [ 1 8 2 ] /Index [" + index + " ] " + trailerWords(state), list);
}

void PdfUpdate::finish(PdfState& state) {
  std::sort(m_entries.begin(), m_entries.end(),
            [](const Entry& a, const Entry& b) { return a.ref.number < b.ref.number; });
  if (state.firstId.empty()) state.firstId = randomId();
  const std::int64_t place = m_file.size() - m_base + static_cast<std::int64_t>(m_text.size());
  state.hasXrefStreams = state.hasXrefStreams || place > kMostTablePlace;
  if (state.hasXrefStreams) {
    appendStreamList(state);
  } else {
    appendTable(state);
  }
  const std::string before = padded(state.lastXref, kNumberField), now = padded(place, kNumberField);
  const std::string_view mark = "startxref\n";
  const auto fieldAt = [&] { return m_file.size() + static_cast<std::int64_t>(m_text.size() + mark.size()); };
  // A change within one sector is made as a whole, or not at all.
  const auto field = static_cast<std::int64_t>(kNumberField);
  while (fieldAt() % kSectorBytes + field > kSectorBytes) m_text += '\n';
  const std::int64_t at = fieldAt();
  m_text += mark;
  m_text += before + "\n%%EOF\n";
  flush();
  // The changes are made in this order: those of the page's images were asked for before.
  m_file.patch(at, now.data(), now.size());
  state.lastXref = place;
}

}  // namespace quillbay
