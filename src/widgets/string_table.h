#pragma once
#include <string>

namespace quillbay {

/// Numbers of texts that people see.
enum StringId : int {
  kTextStop = 106,
  kTextPrescan = 107,
  kTextMillimetres = 115,
  kTextInches = 116,
  kTextBarCaption = 236,
  kTextCurrentOptions = 1232,
  // Buttons of the preview, by the numbers of their commands: "prompt\ntip".
  kTextNewArea = 32795,
  kTextDock = 32796,
  kTextFloat = 32797,
  kTextAreaFromFragment = 32799,
  kTextNewFragment = 32805,
  kTextScanFragment = 32810,
  kTextAreaPrescan = 32813,
  kTextDisableUpdating = 32816,
  kTextOverwrite = 57612,  ///< "%s": the file
  kTextBw = 57614,
  kTextGreyScale = 57615,
  kTextPalette = 57616,
  kTextRgb = 57617,
  kTextSizeAuto = 57618,
  kTextSizeWidth = 57619,  ///< "%s": the width
  kTextSizeBoth = 57620,   ///< "%s" twice: width and height
  kTextMaskEmpty = 57622,
  kTextLutNotFound = 57623,  ///< "%s": the lookup file
  kTextNoNetClients = 57626,
  kTextAutoPrinter = 57636,
  kTextAutoOptions = 57637,
};

/// The text of a number in the user's language; empty when there is none. A help topic may follow between dollar
/// signs.
[[nodiscard]] std::string loadString(int id);

}  // namespace quillbay
