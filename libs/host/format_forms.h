#pragma once
#include <QString>
#include <string_view>

class QWidget;

namespace quillbay {

/// A form's text through the one translation function; what the forms' generated code calls.
[[nodiscard]] QString formatFormText(const char* english, const char* comment = nullptr);

/// The form for the options of a format, with no parent. Null for a format without a form; the dialog is then made
/// of the option table. Dynamic properties of controls:
/// - "optionKey": the option's key;
/// - "enabledWhen": what another option must be for this one to count, "Compression=LZW|Deflate"; several such
/// rules,
///   of which one must hold, are parted by ';';
/// - "mostWhen": limits a number further while such rules hold, "Compression=Deflate:12";
/// - "oldChoices": choices that are shown only where they are kept from before, "G4|G3";
/// - "forColors": the colour spaces, as bits, of pages for which the option counts: the first such control has the
///   focus when the dialog is shown for those.
[[nodiscard]] QWidget* newFormatForm(std::string_view format);

}  // namespace quillbay
