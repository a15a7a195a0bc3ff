#include "widgets/string_table.h"

#include "platform/base_services.h"

namespace quillbay {

namespace {
struct Entry {
  int id;
  const char* english;
};
constexpr Entry kTexts[] = {
    {kTextMillimetres, "Millimeters"},
    {kTextInches, "Inches"},
    {kTextBarCaption, "Tarnwell LE"},
    {kTextOverwrite, "File %s already exists. Overwrite?$QBHelp:IDH_QB_OverWrite$"},
    {kTextBw, "BW"},
    {kTextGreyScale, "GreyScale"},
    {kTextPalette, "Palette"},
    {kTextRgb, "RGB"},
    {kTextSizeAuto, "Auto"},
    {kTextSizeWidth, "Width %s"},
    {kTextSizeBoth, "Size %sx%s"},
    {kTextMaskEmpty,
     "Output folder or file mask is empty.\nPlease fill output folder and file mask$QBHelp:IDH_MaskEmpty$"},
};
}  // namespace

std::string loadString(int id) {
  for (const Entry& entry : kTexts)
    if (entry.id == id) return Supp_Translate(entry.english);
  return {};
}

}  // namespace quillbay
