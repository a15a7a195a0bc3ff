#pragma once
#include <string>
#include <string_view>

#include "destinations/name_context.h"

namespace quillbay {

/// A tag in a file mask or folder, and what it stands for.
class CIMacroItem {
 public:
  virtual ~CIMacroItem() = default;
  /// The tag with its angle brackets, in the user's language.
  [[nodiscard]] virtual std::string GetTag() const = 0;
  /// Its value of the moment; never contains a character that a path gives a meaning to.
  [[nodiscard]] virtual const std::string& GetValue(const NameContext& context) = 0;

 protected:
  /// Keeps a value, with "-" for each character that a file name cannot hold.
  const std::string& keep(std::string value);
  [[nodiscard]] const std::string& last() const noexcept { return m_last; }

 private:
  std::string m_last;
};

/// The user's name, read once.
class CUserMacro final : public CIMacroItem {
 public:
  explicit CUserMacro(std::string user) { keep(std::move(user)); }
  [[nodiscard]] std::string GetTag() const override;
  [[nodiscard]] const std::string& GetValue(const NameContext&) override { return last(); }
};

class CCounterMacro final : public CIMacroItem {
 public:
  [[nodiscard]] std::string GetTag() const override;
  [[nodiscard]] const std::string& GetValue(const NameContext& context) override;
};

/// The local time as the locale writes it, its separator replaced by "-".
class CTimeMacro final : public CIMacroItem {
 public:
  [[nodiscard]] std::string GetTag() const override;
  [[nodiscard]] const std::string& GetValue(const NameContext& context) override;
};

/// The local date, likewise.
class CDateMacro final : public CIMacroItem {
 public:
  [[nodiscard]] std::string GetTag() const override;
  [[nodiscard]] const std::string& GetValue(const NameContext& context) override;
};

/// The colour class of the scan mode; a mode without one keeps the value before.
class CModeMacro final : public CIMacroItem {
 public:
  [[nodiscard]] std::string GetTag() const override;
  [[nodiscard]] const std::string& GetValue(const NameContext& context) override;
};

class CDPIMacro final : public CIMacroItem {
 public:
  [[nodiscard]] std::string GetTag() const override;
  [[nodiscard]] const std::string& GetValue(const NameContext& context) override;
};

/// Paper or size.
class CPaperMacro final : public CIMacroItem {
 public:
  [[nodiscard]] std::string GetTag() const override;
  [[nodiscard]] const std::string& GetValue(const NameContext& context) override;
};

/// `counter` by a format "%.Nd" with N from 1 to 8: at least N digits. Any other format counts as "%.3d".
[[nodiscard]] std::string formatCounter(std::string_view format, std::int32_t counter);
/// Whether a counter format is one of those.
[[nodiscard]] bool isCounterFormat(std::string_view format) noexcept;

/// The moment in local time by a pattern of strftime ("%X", "%x") in a locale (empty: the user's own), each
/// separator between its numbers replaced by "-". Empty when it does not fit into 128 characters. Any thread.
[[nodiscard]] std::string localeTime(std::int64_t moment, const char* pattern, const std::string& locale);

}  // namespace quillbay
