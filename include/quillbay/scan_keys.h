#pragma once
#include <string>
#include <string_view>

/// The keys of settings, scan requests and script commands. No other file contains them as
/// literals. For the meaning of the numbers see scan_mode.h.
namespace quillbay {

/// Keys of scan parameters, of the pages' settings and of scan requests. Compared without regard to case.
namespace key {

// Scan parameters: `IQuillbayControl::SetParam` and `GetParam` know them, changes are broadcast under them.
inline constexpr char Units[] = "m_nUnits";                 ///< `LengthUnit`
inline constexpr char PaperName[] = "m_PaperName";          ///< text
inline constexpr char Dir[] = "m_Dir";                      ///< text: the output folder
inline constexpr char Mask[] = "m_Mask";                    ///< text: the mask of file names
inline constexpr char Counter[] = "m_nCounter";             ///< int
inline constexpr char CounterFormat[] = "m_CounterFormat";  ///< text: "%.Nd", N from 1 to 8
inline constexpr char UseAutoCounter[] = "m_fUseAutoCounter";
inline constexpr char RectValid[] = "m_fRectValid";
inline constexpr char BoundDetectDirty[] = "m_fBoundDetectDirty";
inline constexpr char MultiPage[] = "m_fMultiPage";
inline constexpr char CurrMode[] = "m_CurrMode";  ///< `ScanMode`
inline constexpr char MinDpi[] = "m_nMinDPI";
inline constexpr char PreviewDpi[] = "m_nPreviewDPI";
inline constexpr char Portrait[] = "m_bPortrait";
inline constexpr char Autodetect[] = "m_dwAutodetect";  ///< bits; 0: nothing is detected
inline constexpr char CustomScanValid[] = "m_fCustomScanValid";
inline constexpr char Dpi[] = "m_uiDPI";
inline constexpr char ScanAreaType[] = "m_eScanType";  ///< `ScanAreaType`
inline constexpr char Bursting[] = "m_fBursting";
inline constexpr char FileFate[] = "m_fFileFate";    ///< `FileFate`
inline constexpr char EjectType[] = "m_eEjectType";  ///< no value of the panel's own; presets follow it
inline constexpr char UpdateRect[] = "m_fUpdateRect";
inline constexpr char ScannerKeyPressed[] = "m_ScannerKeyPressed";
inline constexpr char Center[] = "m_fCenter";
inline constexpr char RcScan[] = "m_rcScan";              ///< rectangle, mm
inline constexpr char RcPreview[] = "m_rcPreview";        ///< rectangle, mm
inline constexpr char RcCustomScan[] = "m_rcCustomScan";  ///< rectangle, mm
/// text: of the output file, with its dot. Setting it overrides the formats of the save page for all colours, until
/// the user chooses one there or it is set to an empty text; it is not kept.
inline constexpr char Extension[] = "m_Ext";

// What the pages, the destination and the panel keep beside them.
/// text: "(*.tif) TIFF pictures", or how it begins; with a `ColorClass` (`numbered`): the format of its files
inline constexpr char FormatName[] = "m_ExtSelName";
inline constexpr char CounterDigits[] = "m_Chars";        ///< int, 1 to 8; `CounterFormat` follows
inline constexpr char StartCounter[] = "m_StartCounter";  ///< int, its 32 bits without a sign; sets `Counter`
inline constexpr char AddWidth[] = "m_Add";               ///< int: percent
inline constexpr char AutoSet[] = "AUTO_SET";             ///< `Autodetect` as the main page keeps it
inline constexpr char DisablePreview[] = "m_fDisablePreview";
inline constexpr char AutoAnswerEnable[] =
    "m_AutoAnswerEnable";                                       ///< int: not 0: messages are answered by themselves
inline constexpr char AutoAnswerDelay[] = "m_AutoAnswerDelay";  ///< int, 1 to 100: half seconds until then
inline constexpr char ScanSpeed[] =
    "SCAN_SPEED";                             ///< int: percent of the scanner's usual speed; of the request, too
inline constexpr char Rewind[] = "m_Rewind";  ///< int: 0 unload forward, 1 to the back, others: not at all
inline constexpr char DetectionThreshold[] = "m_Auto";             ///< int, 10 to 192
inline constexpr char StandardPapers[] = "m_StandardPapers";       ///< int: not 0: a found size becomes a paper's
inline constexpr char Deskew[] = "m_fDeskew";                      ///< int: not 0: pages are straightened
inline constexpr char PresetsChanged[] = "presets";                ///< broadcast: the presets, or which is chosen
inline constexpr char ScanModesChanged[] = "OnSelchangeScanmode";  ///< broadcast: what the scanner offers changed
inline constexpr char ModeIndex[] = "m_ctrlModes";
inline constexpr char ResolutionIndex[] = "m_ctrlDPI";
inline constexpr char PaperIndex[] = "m_ctrlPaperList";
inline constexpr char SaveSettings[] = "SaveSettings";  ///< with a number, 0 to 3: `numbered`
/// int: in an otherwise empty set that a page loads, not 0 brings the page to its defaults.
inline constexpr char ResetMark[] = "__reset";
inline constexpr char UseFileOut[] = "m_fUseFileOut";
inline constexpr char UseScript[] = "m_fUseScript";   ///< int: not 0: a script works on each page after its scan
inline constexpr char ScriptName[] = "m_ScriptName";  ///< text: a script file, or the name of the host's correction
inline constexpr char Layout[] = "m_fMinSize";

// A scan request (`IQuillbayUnit::Scan`); the main page keeps `Mode`, `ImageDpi` and `Rect` under these names too.
inline constexpr char RequestType[] = "SCAN_TYPE";        ///< `RequestType`
inline constexpr char AutodetectMark[] = "__autodetect";  ///< int: 1 in a prescan that finds the document
inline constexpr char Mode[] = "MODE";                    ///< `ScanMode`
inline constexpr char ImageDpi[] = "ImageDPI";            ///< int
inline constexpr char Rect[] = "RECT";                    ///< rectangle, mm on the bed
inline constexpr char BatchMode[] = "batchmode";          ///< int: not 0 while a batch runs
inline constexpr char PaperLength[] = "m_Edit";           ///< double, mm: without a found end of the document
inline constexpr char Threshold[] = "SCAN_THRESHOLD";     ///< int, 0 to 255
inline constexpr char Gamma[] = "SCAN_GAMMA";             ///< bytes: 256 `KXRGBQUAD`

// Adjustments of colour, all int: percent -100 to 100, but the hue, which is -180 to 180. `CalculateColorCurves`
// makes "SCAN_GAMMA" of them; saturation is the unit's (`IUnitKeyRanges` tells whether it has it).
inline constexpr char Brightness[] = "SCAN_BRIGHTNESS";
inline constexpr char Contrast[] = "SCAN_CONTRAST";
inline constexpr char Hue[] = "SCAN_HUE";
inline constexpr char Saturation[] = "SCAN_SATURATION";
inline constexpr char RedBalance[] = "SCAN_REDBALANCE";
inline constexpr char GreenBalance[] = "SCAN_GREENBALANCE";
inline constexpr char BlueBalance[] = "SCAN_BLUEBALANCE";

// The colour page, and what its tools keep.
inline constexpr char IsGamma[] = "IsGamma";          ///< int: 0 the sliders adjust the colours, 1 the curves do
inline constexpr char CurvePoints[] = "GammaCurves";  ///< text: the points that `Gamma` was made of

// A palette scan: what the palette page keeps, and what it asks of the unit.
inline constexpr char PaletteMethod[] = "nMode";            ///< `PaletteMethod`
inline constexpr char PaletteColors[] = "m_Colors";         ///< int, 8 to 256
inline constexpr char LutFileName[] = "m_LutFileName";      ///< text: a lookup file of classified colours
inline constexpr char Adaptive[] = "__adaptive";            ///< int: not 0: a prescan has to compute the palette
inline constexpr char Palette[] = "SCAN_PALETTE";           ///< bytes: 256 `KXRGBQUAD`
inline constexpr char PaletteCount[] = "SCAN_PALETTE_NUM";  ///< int: colours of a linear or computed palette
/// bytes: 256 entries blue, green, red, 0; then the entry of each colour code red5 green5 blue5 (32,768 bytes)
inline constexpr char Lut[] = "SCAN_LUT";

// What a unit may know, for each scan mode its own (`numbered`); `IUnitKeyRanges` tells which.
inline constexpr char Level[] = "LEVEL";
inline constexpr char BackgroundSuppression[] = "BACKGROUNDSUPP";
inline constexpr char SoftenSharpen[] = "SOFTEN_SHARPEN";
inline constexpr char Blur[] = "BLUR";
/// Without a number. Bytes: two `KXRGBQUAD`, the black and the white point of each channel: the unit spreads the
/// levels between them before anything else, so that 0 and 255 change nothing.
inline constexpr char HardBwPoint[] = "HARDBWPOINT";

/// A key that ends in a number: `numbered(Level, 3)` is "LEVEL3".
[[nodiscard]] inline std::string numbered(std::string_view stem, int number) {
  return std::string(stem) + std::to_string(number);
}

}  // namespace key

/// Names of sections and stores in the host's settings.
namespace section_name {
inline constexpr char Panel[] = "Quillbay2.0";                  ///< of `IProfile`: the panel's
inline constexpr char ScannerSource[] = "ScanManager\\Source";  ///< of the host's `IParam` root
inline constexpr char Scroll[] = "Scroll";                      ///< of `IProfile`: a view's
inline constexpr char PreviewPlacement[] = "PagePreview";       ///< of `IProfile`: where the preview floats
/// Of `IProfile`: its sub-store "LastOutputDirectory" holds the output folder while a script works on a page.
inline constexpr char Indexing[] = "indexing";
inline constexpr char Scripts[] = "Scripts";  ///< of `IProfile`: the host's script processor
inline constexpr char Presets[] = "presets";  ///< in the panel's: a store for each preset
}  // namespace section_name

/// Keys of a preset in the profile.
namespace preset_key {
inline constexpr char Name[] = "DispName";    ///< text: for the user
inline constexpr char Comment[] = "Comment";  ///< text
inline constexpr char Id[] = "ID";            ///< int
inline constexpr char User[] = "fUser";       ///< int: 1 for presets that the user made
inline constexpr char Data[] = "Data";        ///< store: in it one for each page
}  // namespace preset_key

/// Keys of a view's settings.
namespace view_key {
inline constexpr char ArrowsScrollStep[] = "ArrowsScrollStep";  ///< double, per cent of the client size
inline constexpr char WheelScaleStep[] = "WheelScaleStep";      ///< double
}  // namespace view_key

/// Keys of the placement of a window that floats; lengths in the screen's logical pixels.
namespace placement_key {
inline constexpr char Flags[] = "placment.flags";              ///< int
inline constexpr char ShowCommand[] = "placment.showCmd";      ///< int: 1 normal, 2 minimised, 3 maximised
inline constexpr char Minimised[] = "placment.ptMinPosition";  ///< point
inline constexpr char Maximised[] = "placment.ptMaxPosition";  ///< point
inline constexpr char Normal[] = "placment.rcNormalPosition";  ///< rectangle: neither minimised nor maximised
inline constexpr char Floats[] = "placment.floats";            ///< int: the window was open when the program ended
}  // namespace placement_key

/// Keys of an entry in the list of standard papers (`IStdPapersParam`).
namespace paper_key {
inline constexpr char Used[] = "Used";    ///< int
inline constexpr char Name[] = "Name";    ///< text
inline constexpr char Size[] = "Size";    ///< point
inline constexpr char Units[] = "Units";  ///< text: the name of a linear unit
inline constexpr char More[] = "More";    ///< int: not 0 for a paper that lists show only when asked for more
}  // namespace paper_key

/// Commands that go to the host's `IScriptCmdSink`, and the keys of their arguments.
namespace script_key {
inline constexpr char ClearAllRasters[] = "IntClearAllRasters";
inline constexpr char AddRaster[] = "IntAddRaster";
inline constexpr char AddPage[] = "IntAddPage";
inline constexpr char Process[] = "ProcessScript";
inline constexpr char Kill[] = "KillCommand";
inline constexpr char Autocorrect[] = "Autocorrect";  ///< also the key of its script in `section_name::Scripts`

/// The name of the host's own correction for users, which its catalogue translates.
inline constexpr char OwnCorrection[] = "Autocortect";

inline constexpr char Raster[] = "RStor";       ///< object: `IRStor`
inline constexpr char FileName[] = "FileName";  ///< text
inline constexpr char Text[] = "Script";        ///< text: the script itself
inline constexpr char Title[] = "Title";        ///< text: what to call it
/// Set by the script processor when the commands have something to report: text, a line for each note.
inline constexpr char Notes[] = "Notes";
inline constexpr char Misses[] = "Misses";        ///< int: of these, commands that did not find what they look for
inline constexpr char MultiPage[] = "Multipage";  ///< int
inline constexpr char BatchScan[] = "BatchScan";  ///< int
inline constexpr char Prescan[] = "Prescan";      ///< int
inline constexpr char Connect[] = "Connect";      ///< int
inline constexpr char KeepWindow[] = "_donthidewindow";           ///< int
inline constexpr char IgnoreCommand[] = "_ignore_command_";       ///< int: 1: the command is not run
inline constexpr char DontProcessErrors[] = "DontProcessErrors";  ///< int: not 0: failures are not listed
inline constexpr char Error[] = "Error";                          ///< text: of a failed file: the reason

// Of the host's script settings (`IScriptSyntaxParam`), and of its profile.
inline constexpr char KeyWord[] = "KeyWord";                          ///< text
inline constexpr char KeyName[] = "KeyName";                          ///< text
inline constexpr char LastOutputDirectory[] = "LastOutputDirectory";  ///< sub-store of `section_name::Indexing`
inline constexpr char Directory[] = "Directory";                      ///< text, in the one before
inline constexpr char AllowPrograms[] = "AllowPrograms";              ///< int: not 0: scripts may run programs
inline constexpr char ProgramTimeLimit[] = "ProgramTimeLimit";        ///< int: seconds that such a program may take
}  // namespace script_key

}  // namespace quillbay
