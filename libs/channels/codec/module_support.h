#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "channels/format_module.h"

/// What every format module needs at its edge.
namespace quillbay {

/// A failure inside a module; becomes a code and a text at its edge.
class ModuleError {
 public:
  ModuleError(int code, std::string text) : m_code(code), m_text(std::move(text)) {}
  [[nodiscard]] int code() const noexcept { return m_code; }
  [[nodiscard]] const std::string& text() const noexcept { return m_text; }

 private:
  int m_code;
  std::string m_text;
};

/// Runs an operation of the edge: nothing is thrown across it.
template <class Body>
int atEdge(QbText* why, Body body) noexcept {
  const auto say = [why](const char* text) {
    if (!why) return;
    const std::size_t size = std::min(std::strlen(text), sizeof why->text - 1);
    std::memcpy(why->text, text, size);
    why->text[size] = 0;
  };
  try {
    body();
    return QB_OK;
  } catch (const ModuleError& e) {
    say(e.text().c_str());
    return e.code();
  } catch (const std::bad_alloc&) {
    return QB_E_MEMORY;
  } catch (const std::exception& e) {
    say(e.what());
    return QB_E_REFUSED;
  }
}

/// The file of the edge with failures as exceptions.
class EdgeFile {
 public:
  explicit EdgeFile(const QbFile* file) : m_file(file) {}
  [[nodiscard]] std::int64_t size() const { return m_file->size(m_file->self); }
  void read(std::int64_t offset, void* bytes, std::size_t size) const {
    check(m_file->read(m_file->self, offset, bytes, size));
  }
  void append(const void* bytes, std::size_t size) const {
    const QbPiece piece{bytes, size};
    append(&piece, 1);
  }
  void append(const QbPiece* pieces, int count) const { check(m_file->append(m_file->self, pieces, count)); }
  void patch(std::int64_t offset, const void* bytes, std::size_t size) const {
    check(m_file->patch(m_file->self, offset, bytes, size));
  }

 private:
  static void check(int code) {
    if (code != QB_OK) throw ModuleError(code, "");
  }
  const QbFile* m_file;
};

/// The bytes of the longest line that is read: 90 million pixels in colour. A damaged head says whatever it likes.
inline constexpr std::uint64_t kMostLineBytes = std::uint64_t{1} << 28;
/// Refuses a page with longer lines before memory is asked for.
void checkLineBytes(std::uint64_t bytes);

/// An option's value; `otherwise` when it is not set.
inline std::string optionText(const QbOptions* options, const char* key, const char* otherwise) {
  char value[128];
  return options && options->text(options->self, key, value, sizeof value) ? value : otherwise;
}

/// The index of an option's value among its choices, letters compared without case. Refuses others.
int optionChoice(const QbOptions* options, const QbOptionInfo& info);

/// The whole number of an option; its default when it is not set. Refuses those outside `least`..`most`.
int optionNumber(const QbOptions* options, const QbOptionInfo& info);
/// The same with a limit of the moment.
int optionNumber(const QbOptions* options, const QbOptionInfo& info, int most);

/// The option of formats that hold a colour profile; the channels read it and hand over the profile.
inline constexpr QbOptionInfo kProfileOption = {
    "Profile", "Colour profile: sRGB, none, or the path of an ICC file.", nullptr, 0, 0, "sRGB"};

}  // namespace quillbay
