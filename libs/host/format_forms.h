#pragma once
#include <QString>
#include <string_view>

class QWidget;

namespace quillbay {

/// A form's text through the one translation function; what the forms' generated code calls.
[[nodiscard]] QString formatFormText(const char* english, const char* comment = nullptr);

/// The form for the options of a format, with no parent: controls carry the option's key as the dynamic property
/// "optionKey", and as "enabledWhen" what another option must be for them to count ("Compression=LZW|Deflate").
/// "mostWhen" limits a number further while another option is something ("Compression=Deflate:12"). Null for a
/// format without a form; the dialog is then made of the option table.
[[nodiscard]] QWidget* newFormatForm(std::string_view format);

}  // namespace quillbay
