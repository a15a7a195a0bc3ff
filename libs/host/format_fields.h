#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "channels/format_module.h"

class QComboBox;
class QWidget;

namespace quillbay {

/// An option of a format as a control: a combo box for choices, a check box for "on" and "off" where a form has
/// one, a spin box for a number, an edit field or an editable combo box for a text. User-interface thread.
class FormatField {
 public:
  /// What the field's option belongs to.
  struct Place {
    std::string_view format;  ///< valid for the constructor
    std::uint32_t preferred;  ///< the colour space whose choices stand first; 0: none
  };
  /// Sets up `control`, which outlives this, and is of a kind that fits the option (`fits`).
  FormatField(const QbOptionInfo& option, QWidget* control, const Place& place);
  [[nodiscard]] static bool fits(const QbOptionInfo& option, const QWidget* control);
  /// A control for the option, with no parent.
  [[nodiscard]] static QWidget* newControl(const QbOptionInfo& option);

  [[nodiscard]] const char* key() const noexcept { return m_option.key; }
  [[nodiscard]] QWidget* control() const noexcept { return m_control; }
  [[nodiscard]] int most() const noexcept { return m_option.most; }
  /// The value as the module takes it.
  [[nodiscard]] std::string value() const;
  /// Shows a value; its default for one that the option does not have.
  void setValue(const std::string& value);
  [[nodiscard]] std::string otherwise() const;
  /// `changed` is called for every change.
  void listen(const std::function<void()>& changed) const;

 private:
  void fillChoices(QComboBox* combo, const Place& place) const;

  const QbOptionInfo m_option;  // its texts are the module's, which is never unloaded
  QWidget* m_control;
};

}  // namespace quillbay
