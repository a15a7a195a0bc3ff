#include "widgets/string_table.h"

#include "platform/base_services.h"

namespace quillbay {

namespace {
struct Entry {
  int id;
  const char* english;
};
constexpr Entry kTexts[] = {
    {kTextStop, "Stop\nStop"},
    {kTextPrescan, "Start Prescan\nStart Prescan"},
    {kTextMillimetres, "Millimeters"},
    {kTextInches, "Inches"},
    {kTextBarCaption, "Tarnwell LE"},
    {kTextCurrentOptions, "<Current>"},
    {kTextNewArea, "New preview area\nNew preview area"},
    {kTextDock, "Switch layout\nSwitch layout"},
    {kTextFloat, "Switch window layout\nSwitch window layout"},
    {kTextAreaFromFragment, "Set scan rectangle by fragment rectangle\nSet scan rectangle by fragment rectangle"},
    {kTextNewFragment, "New fragment\nNew fragment"},
    {kTextScanFragment, "Scan Fragment\nScan Fragment"},
    {kTextAreaPrescan, "Start  Prescan Area\nStart  Prescan Area"},
    {kTextDisableUpdating, "Disable preview updating\nDisable preview updating"},
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
    {kTextLutNotFound, "LUT file %s not found.$QBHelp:IDH_LutError$"},
    {kTextNoNetClients, "Scan-To-Net server settings error or empty clients list.$QBHelp:IDH_ServerNotInstalled$"},
    {kTextAutoPrinter, "Auto Detect Printer"},
    {kTextAutoOptions, "<Auto>"},
};
}  // namespace

std::string loadString(int id) {
  for (const Entry& entry : kTexts)
    if (entry.id == id) return Supp_Translate(entry.english);
  return {};
}

}  // namespace quillbay
