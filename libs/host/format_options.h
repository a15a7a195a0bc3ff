#pragma once
#include <QDialog>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "channels/format_module.h"
#include "quillbay/param.h"

class QLabel;

namespace quillbay {

class FormatField;

/// The options of a file format: the format's own form, and what its table of options has besides. Options that the
/// user leaves at their default are not kept.
class FormatOptionsDialog : public QDialog {
 public:
  /// `options` outlives the dialog; `format_key::PreferredPage` in it says which choices stand first, and which
  /// option has the focus.
  FormatOptionsDialog(const QbFormat& format, IParam* options, QWidget* parent);
  ~FormatOptionsDialog() override;
  /// Takes what is shown over into `options`.
  void accept() override;

 private:
  [[nodiscard]] QWidget* makePage(const QbFormat& format);
  void hideUnused(const QWidget& form) const;
  void addField(const QbOptionInfo& option, QWidget* control);
  [[nodiscard]] std::string valueOf(std::string_view key) const;
  [[nodiscard]] bool holds(const QString& rules) const;
  void limit(const FormatField& field) const;
  void showDependent();
  void focusPreferred() const;
  void reset();

  std::string m_format;  // its name
  IParam* m_options;
  std::uint32_t m_preferred;
  std::vector<std::unique_ptr<FormatField>> m_fields;
  QLabel* m_note;
};

/// Shows the dialog over `parent`. True when the user changed `options`. Runs an event loop; `parent` may be
/// destroyed in it.
[[nodiscard]] bool ShowFormatOptions(const QbFormat& format, IParam* options, QWidget* parent);

}  // namespace quillbay
