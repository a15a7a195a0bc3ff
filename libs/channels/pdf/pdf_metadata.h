#pragma once
#include <string>

#include "channels/pdf/pdf_update.h"

namespace quillbay {

/// What a new document says about itself.
struct PdfFacts {
  std::string title, software;
  std::string dateTime;    ///< "YYYY:MM:DD HH:MM:SS"
  bool isArchive = false;  ///< PDF/A-2b
};

/// Adds the document's catalog (without its tree of pages), information and metadata to the state and the file; for
/// an archive also the meaning of colours that name no profile: sRGB.
void addDocument(PdfUpdate& update, PdfState& state, const PdfFacts& facts);

/// The stream of a colour profile; one that is there already is used again. Throws ModuleError for bytes that are
/// no profile of grey or red, green and blue.
PdfRef addProfile(PdfUpdate& update, PdfState& state, const std::string& bytes);
/// The components of a profile's colours, 1 or 3; 0 for others.
[[nodiscard]] int profileComponents(std::string_view bytes) noexcept;

}  // namespace quillbay
