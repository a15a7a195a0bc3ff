#include "channels/tiff/tiff_directory.h"

#include <algorithm>
#include <utility>

#include "channels/tiff/tiff_chain.h"

namespace quillbay {
namespace {

// Field types.
constexpr std::uint16_t kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kUndefined = 7, kLong8 = 16;

}  // namespace

void TiffDirectory::add(std::uint16_t tag, std::uint16_t type, std::uint64_t count, int size,
                        const std::vector<std::uint64_t>& values) {
  Entry entry{tag, type, count, std::vector<std::uint8_t>(values.size() * static_cast<std::size_t>(size))};
  std::uint8_t* to = entry.bytes.data();
  for (const std::uint64_t value : values) {
    putNumber(to, size, m_bigEndian, value);
    to += size;
  }
  m_entries.push_back(std::move(entry));
}

void TiffDirectory::shorts(std::uint16_t tag, const std::vector<std::uint16_t>& values) {
  add(tag, kShort, values.size(), 2, {values.begin(), values.end()});
}

void TiffDirectory::number(std::uint16_t tag, std::uint32_t value) { add(tag, kLong, 1, 4, {value}); }

void TiffDirectory::ratio(std::uint16_t tag, std::uint32_t over, std::uint32_t under) {
  add(tag, kRational, 1, 4, {over, under});
}

void TiffDirectory::text(std::uint16_t tag, const std::string& value) {
  Entry entry{tag, kAscii, value.size() + 1, {value.begin(), value.end()}};
  entry.bytes.push_back(0);
  m_entries.push_back(std::move(entry));
}

void TiffDirectory::bytes(std::uint16_t tag, const std::vector<std::uint8_t>& value) {
  m_entries.push_back({tag, kUndefined, value.size(), value});
}

void TiffDirectory::ratios(std::uint16_t tag, const std::vector<std::uint64_t>& values) {
  std::vector<std::uint64_t> pairs;
  for (const std::uint64_t value : values) pairs.insert(pairs.end(), {value, 1});
  add(tag, kRational, values.size(), 4, pairs);
}

void TiffDirectory::places(std::uint16_t tag, const std::vector<std::uint64_t>& values) {
  add(tag, m_big ? kLong8 : kLong, values.size(), m_big ? 8 : 4, values);
}

std::vector<std::uint8_t> TiffDirectory::build(std::uint64_t at, std::uint64_t* directory,
                                               std::uint64_t* link) const {
  const std::size_t inlineSize = m_big ? 8 : 4, countSize = m_big ? 8 : 2;
  std::vector<std::uint8_t> out;
  std::vector<std::uint64_t> offsets;
  for (const Entry& entry : m_entries) {
    offsets.push_back(at + out.size());
    if (entry.bytes.size() <= inlineSize) continue;
    out.insert(out.end(), entry.bytes.begin(), entry.bytes.end());
    out.resize((out.size() + 7) / 8 * 8);
  }
  *directory = at + out.size();
  const auto number = [&](std::size_t size, std::uint64_t value) {
    out.resize(out.size() + size);
    putNumber(out.data() + out.size() - size, static_cast<int>(size), m_bigEndian, value);
  };
  number(countSize, m_entries.size());
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    const Entry& entry = m_entries[i];
    number(2, entry.tag);
    number(2, entry.type);
    number(inlineSize, entry.count);
    if (entry.bytes.size() > inlineSize) {
      number(inlineSize, offsets[i]);
    } else {
      out.insert(out.end(), entry.bytes.begin(), entry.bytes.end());
      out.resize(out.size() + inlineSize - entry.bytes.size());
    }
  }
  *link = at + out.size();
  number(inlineSize, 0);
  return out;
}

}  // namespace quillbay
