#include "help_text.h"

#include <array>

#include "names.h"
#include "option_table.h"
#include "translated.h"

namespace {

using Argument = OptionRow::Argument;

constexpr std::size_t kWidth = 80;
constexpr std::size_t kIndent = 28;

struct Section {
  const char* title;
  const char* body;  // paragraphs as roff
};

constexpr std::array kSections{
    Section{
        "OUTPUT",
        "The program prints the name of each finished file on standard output, one per line. It writes messages, "
        "and on a terminal the progress, to standard error. With \\-o \\- it writes the page to standard output "
        "when the page is complete.\n"
        ".PP\n"
        "A file is written as NAME.part in the folder of its target and gets its name when it is complete. An "
        "existing file is never replaced without \\-\\-overwrite. A cancelled page leaves no file. "
        "\\-\\-recover saves the pages of a multi\\-page file that a killed program left.\n"},
    Section{"FINDING THE DOCUMENT",
            "With \\-\\-area auto, the program scans the bed at the lowest resolution before each page, finds the "
            "document "
            "in it, and scans only the upright rectangle around the document. The settings m_Auto (the threshold, "
            "10 to 192), m_StandardPapers (the size becomes that of a standard paper) and m_Edit (the length of "
            "this scan "
            "in millimetres with auto\\-width) can be changed with \\-\\-set.\n"
            ".PP\n"
            "With \\-\\-deskew, the skew is found as well. The page is straightened while it is scanned, and is as "
            "wide "
            "as the document. The program reports what it found, as in \"Found 841 x 1189 mm (A0), turned by 1.2 "
            "degrees "
            "to the left\".\n"
            ".PP\n"
            "If no document is found, \\-\\-if\\-not\\-found decides. In a batch, the document of the next page is "
            "looked "
            "for again.\n"},
    Section{
        "QUESTIONS",
        "The program asks only between the pages of a batch: if the device has no feeder, or with "
        "\\-\\-batch\\-prompt. Return scans the next page. Ctrl\\-D ends the batch; the scanned pages are kept. "
        "If the device has no feeder and standard input is not a terminal, a batch of several pages is refused "
        "before its first page (exit status 1), unless \\-\\-batch\\-delay or \\-\\-batch\\-prompt is given.\n"
        ".PP\n"
        "The options answer all other questions. \"File exists. Overwrite?\" is answered with no, or with yes if "
        "\\-\\-overwrite is given. \"Could not autodetect bounds, scan whole image?\" is answered with yes, or "
        "with no with \\-\\-if\\-not\\-found fail. The program does not wait for a document if the scanner has "
        "none. "
        "Every other question is answered with no.\n"},
    Section{
        "JSON EVENTS",
        "With \\-\\-json, each line of standard output is an object with the field \"event\":\n"
        ".TP\n.B started\npage, width (pixels), dpi, color (bitonal, grey, palette, colour), file, "
        "paletteColors (of a palette scan: the size of the palette), and expectedLines if it is known.\n"
        ".TP\n.B detecting\nthe document is looked for.\n"
        ".TP\n.B detected\nfound (false if the whole bed is scanned instead) and by (prescan; second\\-look: after "
        "a closer "
        "look at the prescan; device: the scanner measured the document; whole\\-bed); if it was found, area "
        "(left, "
        "top, right, bottom: the rectangle on the bed in millimetres), width and length (of the document in "
        "millimetres), angle (degrees: the turn that straightens the document, clockwise positive; 0 without "
        "\\-\\-deskew), and paper (the standard paper of this size, else empty).\n"
        ".TP\n.B lines\npage, lines: the lines received so far.\n"
        ".TP\n.B page\npage, width, lines, dpi, file, published (false until a multi\\-page file is complete).\n"
        ".TP\n.B published\nfile, pages: a file is complete and has its name.\n"
        ".TP\n.B unprocessed\nfile, reason, cancelled: a page that the script could not process.\n"
        ".TP\n.B print\nprinter, job (its number there), state (printing, printed, held, aborted, cancelled, "
        "unknown) and text: what became of a page that was printed.\n"
        ".TP\n.B message\nkind (information, question, retry), text, and, if there are any, path and answer "
        "(yes, no, retry, give\\-up, ok, cancel).\n"
        ".TP\n.B prompt\ntext: a line on standard input scans the next page; the end of standard input ends the "
        "batch.\n"
        ".TP\n.B note\ntext.\n"
        ".TP\n.B ended\ncause (done, stopped, device, output, media, refused), pages, status (the exit status), "
        "and fault (code, text) if the scanner reports one.\n"
        ".TP\n.B failed\ntext, status: the program ended before a scan started, for example because the command "
        "line "
        "is wrong.\n"
        ".TP\n.B device\ndevice, vendor, model, type: one for each line of \\-\\-list\\-devices.\n"
        ".TP\n.B printer\nname, description, state, default: one for each line of \\-\\-list\\-printers.\n"
        ".TP\n.B options\nwhat \\-\\-all\\-options lists.\n"
        ".TP\n.B preset\nname, comment, id (the number that it has in the settings) and pages (page, title): one "
        "for "
        "each preset of \\-\\-list\\-presets, and the one that \\-\\-save\\-preset or \\-\\-import\\-preset "
        "stored.\n"
        ".TP\n.B client\nclient, path, folder, state (ready, away, refuses), why, freeBytes: one for each client "
        "of "
        "\\-\\-list\\-clients.\n"
        ".TP\n.B name\nfile, or printer: what \\-\\-dry\\-run prints.\n"},
    Section{
        "PRESETS",
        "A preset keeps the settings of the pages of the panel under a name: mode, resolution, area, adjustments, "
        "file "
        "formats. Presets are kept in the settings file, for all scanners; the desktop program shows the same "
        "ones. "
        "\\-\\-preset scans with one, and every option that is given besides wins over it. A page of which a "
        "preset "
        "holds nothing stays as it is. \\-\\-preset never replaces files by itself: without \\-\\-overwrite an "
        "existing file is kept, whatever the preset says.\n"
        ".PP\n"
        "Capital and small letters may differ from the name, unless several presets differ by them alone. "
        "\\-\\-export\\-preset and \\-\\-import\\-preset carry a preset to another computer as a JSON file. A file "
        "that is damaged, that a newer version wrote, or that holds a page or a value that this program does not "
        "know "
        "is refused as a whole.\n"},
    Section{
        "SCAN SERVERS",
        "A scan server is another program that watches a folder, its hot folder, and passes the pages in it on to "
        "its clients. \\-\\-net\\-folder and \\-\\-add\\-client set it up once; the desktop program shows the same "
        "settings. With \\-\\-to net, each page is written on this computer, copied into the hot folder when it is "
        "complete, and then gets its hand\\-off file, NAME.ini, which names the client. Both get their names when "
        "they are complete.\n"
        ".PP\n"
        "If the hot folder is not there, is full or does not answer, pages wait on this computer, in their order, "
        "and are handed off when it is back, by whatever program of the same user runs then. "
        "\\-\\-deliver hands them off without scanning. A name that is taken meanwhile is counted up.\n"},
    Section{
        "PRINTING",
        "With \\-\\-to print, each page goes to the printer while it is scanned, as a job of its own. The program "
        "reports the number of the job, waits for the printer's last word, and reports it. A job that the printer "
        "holds is not waited for. An interrupt leaves the jobs to their printers.\n"
        ".PP\n"
        "A page whose length is known only at its end (\\-\\-area fixed\\-width or auto\\-width) is printed in "
        "pieces, without a gap; the last one is filled with white. A page that is turned, or that goes over "
        "several "
        "columns of sheets, is printed when all of it was scanned.\n"},
    Section{"EXIT STATUS",
            ".TP\n.B 0\nDone. An empty feeder after at least one page is success.\n"
            ".TP\n.B 1\nThe command line is wrong; nothing was created.\n"
            ".TP\n.B 2\nThe device cannot be used, does not offer a requested setting, or failed; or no device was "
            "named "
            "and there are none or several.\n"
            ".TP\n.B 3\nA file could not be written, or exists already, or pages still wait for their hot folder, "
            "or a page was not printed: its printer gave the job up or holds it.\n"
            ".TP\n.B 4\nThere was no document, or with \\-\\-if\\-not\\-found fail none was found.\n"
            ".TP\n.B 5\nAll pages were scanned and saved, but the script of \\-\\-script could not process some of "
            "them.\n"
            ".TP\n.B 128 + N\nStopped by signal N.\n"},
    Section{
        "SIGNALS",
        "The first SIGINT, SIGTERM or SIGHUP stops the scanner, deletes the unfinished page and keeps all finished "
        "pages; with \\-\\-finish\\-page, the current page is finished first. The second signal ends the program "
        "at once.\n"},
    Section{"ENVIRONMENT",
            ".TP\n.B SANE_DEFAULT_DEVICE\nThe default device. It takes precedence over the device of the saved "
            "settings.\n"
            ".TP\n.B SANE_CONFIG_DIR\nThe configuration folder of the scanner drivers.\n"
            ".TP\n.B TMPDIR\nThe folder for a page that goes to standard output, until it is complete. Default: "
            "/var/tmp.\n"
            ".TP\n.B XDG_CONFIG_HOME, XDG_STATE_HOME\nThe folders of quillbay/settings.json and of "
            "quillbay/state.json and quillbay/formats.json, which keeps what was found out of the format modules.\n"
            ".TP\n.B XDG_DATA_HOME\nThe folder of quillbay/templates/auto.lut, the lookup file that is made of a "
            "document's colours.\n"},
    Section{
        "EXAMPLES",
        ".nf\n"
        "quillbay\\-scan \\-d sim: \\-\\-mode rgb \\-r 400 \\-\\-area A0 \\-o map.tif\n"
        "quillbay\\-scan \\-d sim:skew=2 \\-\\-mode grey \\-r 150 \\-\\-area auto \\-\\-deskew \\-o plan.tif\n"
        "quillbay\\-scan \\-d sim:count=5 \\-\\-mode grey \\-r 150 \\-\\-batch \\-\\-multipage \\-o plans.tif\n"
        "quillbay\\-scan \\-d sim: \\-\\-mode grey \\-r 150 \\-\\-batch=10 \\-\\-dir scans \\-\\-mask '<DATE>\\-' "
        "\\-\\-option compression=lzw\n"
        "quillbay\\-scan \\-d sim: \\-\\-mode grey \\-r 200 \\-\\-area A1 \\-\\-to print \\-\\-printer plotter "
        "\\-\\-print\\-option scaling=fit\n"
        "quillbay\\-scan \\-d sim: \\-\\-mode grey \\-r 75 \\-\\-format png \\-o \\- > page.png\n"
        ".fi\n"},
};

std::string synopsis(const OptionRow& row) {
  std::string text = row.letter ? std::string("-") + row.letter + ", " : "    ";
  text += "--" + std::string(row.name);
  if (row.argument == Argument::Required || row.argument == Argument::Two) text += " " + std::string(row.value);
  if (row.argument == Argument::Optional) text += "[=" + std::string(row.value ? row.value : "VALUE") + "]";
  return text;
}

/// The text in lines that start at the indent.
std::string wrapped(const std::string& text) {
  std::string result;
  std::size_t column = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const auto end = std::min(text.find(' ', begin), text.size());
    const std::string word = text.substr(begin, end - begin);
    if (column > 0 && kIndent + column + 1 + word.size() > kWidth) {
      result += "\n" + std::string(kIndent, ' ');
      column = 0;
    } else if (column > 0) {
      result += ' ';
      ++column;
    }
    result += word;
    column += word.size();
    begin = end + 1;
  }
  return result;
}

std::string roff(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '-' || c == '\\') result += '\\';
    result += c;
  }
  return result;
}

}  // namespace

namespace help_text {

std::string help() {
  std::string text = translated("Usage: quillbay-scan [OPTION]...\nScan large documents into files.") + "\n";
  const char* group = "";
  for (const OptionRow& row : optionTable()) {
    if (!row.group) continue;
    if (std::string(group) != row.group) text += "\n" + translated(group = row.group) + ":\n";
    std::string line = "  " + synopsis(row);
    line += line.size() + 2 > kIndent ? "\n" + std::string(kIndent, ' ') : std::string(kIndent - line.size(), ' ');
    text += line + wrapped(translated(row.help)) + "\n";
  }
  text += "\n" +
          translated(
              "Exit status: 0 done, 1 usage, 2 device, 3 output, 4 no document, 5 script,\n"
              "128 + N after signal N. See the man page quillbay-scan(1).") +
          "\n";
  return text;
}

std::string manPage(const std::string& version) {
  std::string text =
      ".\\\" Made by quillbay-scan --help-man; do not edit.\n"
      ".TH QUILLBAY\\-SCAN 1 \"\" \"Quillbay " +
      version +
      "\" \"User Commands\"\n"
      ".SH NAME\nquillbay\\-scan \\- scan large documents into files\n"
      ".SH SYNOPSIS\n.B quillbay\\-scan\n[\\fIOPTION\\fR]...\n"
      ".SH DESCRIPTION\n"
      "Scans maps, drawings, plans and long rolls into files with any SANE scanner or with a simulated one. The "
      "files "
      "are written during the scan. No display is needed.\n"
      ".SH OPTIONS\n"
      "A long option may be abbreviated if the abbreviation is unique.\n";
  const char* group = "";
  for (const OptionRow& row : optionTable()) {
    if (!row.group) continue;
    if (std::string(group) != row.group) text += ".SS " + std::string(group = row.group) + "\n";
    std::string shown = synopsis(row);
    shown.erase(0, shown.find_first_not_of(' '));
    text += ".TP\n.B " + roff(shown) + "\n" + roff(row.help) + "\n";
  }
  for (const Section& section : kSections) text += ".SH " + std::string(section.title) + "\n" + section.body;
  return text;
}

std::string bashCompletion() {
  std::string all, files;
  for (const OptionRow& row : optionTable()) {
    if (!row.group) continue;
    all += (all.empty() ? "" : " ") + ("--" + std::string(row.name));
  }
  std::string modes;
  for (const std::string& mode : names::modes()) modes += (modes.empty() ? "" : " ") + mode;
  return "# Made by quillbay-scan --help-completion; do not edit.\n"
         "_quillbay_scan() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  case $before in\n"
         "    --mode) COMPREPLY=($(compgen -W '" +
         modes +
         "' -- \"$word\")); return ;;\n"
         "    --area) COMPREPLY=($(compgen -W 'auto auto-width fixed-width: custom:' -- \"$word\")); return ;;\n"
         "    --if-not-found) COMPREPLY=($(compgen -W 'scan-all fail' -- \"$word\")); return ;;\n"
         "    --to) COMPREPLY=($(compgen -W 'file view print net' -- \"$word\")); return ;;\n"
         "    -o|--output|--recover|--script) COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n"
         "    --printer) COMPREPLY=($(compgen -W \"auto $(quillbay-scan --list-printers 2>/dev/null | cut -f1)\" "
         "-- "
         "\"$word\")); return ;;\n"
         "    --dir) COMPREPLY=($(compgen -d -- \"$word\")); return ;;\n"
         "    --import-preset) COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n"
         "    --preset|--export-preset)\n"
         "      local IFS=$'\\n'\n"
         "      COMPREPLY=($(compgen -W \"$(quillbay-scan --list-presets 2>/dev/null | cut -f1)\" -- \"$word\"))\n"
         "      [ ${#COMPREPLY[@]} -gt 0 ] && COMPREPLY=($(printf '%q\\n' \"${COMPREPLY[@]}\"))\n"
         "      return ;;\n"
         "  esac\n"
         "  if [ \"$COMP_CWORD\" -gt 2 ] && [ \"${COMP_WORDS[COMP_CWORD-2]}\" = --export-preset ]; then\n"
         "    COMPREPLY=($(compgen -f -- \"$word\")); return\n"
         "  fi\n"
         "  COMPREPLY=($(compgen -W '" +
         all +
         "' -- \"$word\"))\n"
         "}\n"
         "complete -F _quillbay_scan quillbay-scan\n";
}

}  // namespace help_text
