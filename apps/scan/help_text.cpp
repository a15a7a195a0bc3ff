#include "help_text.h"

#include <array>

#include "names.h"
#include "option_table.h"

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
        "The name of every file that got its final name is printed on standard output, one a line. Messages and, "
        "on a terminal, the progress go to standard error. With \\-o \\- the page itself goes to standard output, "
        "once "
        "it is complete.\n"
        ".PP\n"
        "A file is written as NAME.part beside its target and gets its name when it is complete; a file that "
        "exists is never replaced without \\-\\-overwrite. A page that is abandoned leaves nothing behind. What a "
        "killed program left of a multi\\-page file is published by \\-\\-recover.\n"},
    Section{
        "QUESTIONS",
        "The program asks only between the pages of a batch: when the device has no feeder, or with "
        "\\-\\-batch\\-prompt. Return scans the next page, Ctrl\\-D ends the batch, and what was scanned stays. On "
        "a "
        "device without a feeder a batch of several pages is refused before its first page (exit status 1) when "
        "standard input is no terminal, unless \\-\\-batch\\-delay or \\-\\-batch\\-prompt is given.\n"
        ".PP\n"
        "Every other question is answered by the options: \"File exists. Overwrite?\" with no, and with yes under "
        "\\-\\-overwrite; a scanner without a document is asked once and not waited for; everything else is "
        "answered "
        "with no.\n"},
    Section{
        "JSON EVENTS",
        "With \\-\\-json every line of standard output is an object with the field \"event\":\n"
        ".TP\n.B started\npage, width (pixels), dpi, color (bitonal, grey, palette, colour), file, and "
        "expectedLines when it is known.\n"
        ".TP\n.B lines\npage, lines: the lines received so far.\n"
        ".TP\n.B page\npage, width, lines, dpi, file, published (false while a multi\\-page file still grows).\n"
        ".TP\n.B published\nfile, pages: a file got its final name.\n"
        ".TP\n.B message\nkind (information, question, retry), text, and, where there is one, path and answer "
        "(yes, no, retry, give\\-up, ok, cancel).\n"
        ".TP\n.B prompt\ntext: a line on standard input scans the next page, its end ends the batch.\n"
        ".TP\n.B note\ntext.\n"
        ".TP\n.B ended\ncause (done, stopped, device, output, media, refused), pages, status (the exit status), "
        "and fault (code, text) when the scanner has one.\n"
        ".TP\n.B failed\ntext, status: the program ends before a scan could start; the command line was wrong, for "
        "example.\n"
        ".TP\n.B device\ndevice, vendor, model, type: one for each line of \\-\\-list\\-devices.\n"
        ".TP\n.B options\nwhat \\-\\-all\\-options lists.\n"
        ".TP\n.B name\nfile: what \\-\\-dry\\-run prints.\n"},
    Section{"EXIT STATUS",
            ".TP\n.B 0\nDone. An empty feeder after at least one page is success.\n"
            ".TP\n.B 1\nThe command line is wrong; nothing was created.\n"
            ".TP\n.B 2\nThe device cannot be used, does not offer what was asked, or failed; or none was named and "
            "there is "
            "not exactly one.\n"
            ".TP\n.B 3\nA file could not be written, or was in the way.\n"
            ".TP\n.B 4\nThere was no document.\n"
            ".TP\n.B 128 + N\nStopped by signal N.\n"},
    Section{
        "SIGNALS",
        "The first SIGINT, SIGTERM or SIGHUP stops the scanner, leaves no partial file and keeps every finished "
        "page; with \\-\\-finish\\-page it waits for the end of the page. The second one ends the program at "
        "once.\n"},
    Section{"ENVIRONMENT",
            ".TP\n.B SANE_DEFAULT_DEVICE\nThe device without \\-\\-device; it comes before the one of the saved "
            "settings.\n"
            ".TP\n.B SANE_CONFIG_DIR\nWhere the scanner drivers have their configuration.\n"
            ".TP\n.B TMPDIR\nWhere a page for standard output is kept until it is complete; /var/tmp without it.\n"
            ".TP\n.B XDG_CONFIG_HOME, XDG_STATE_HOME\nHold quillbay/settings.json and quillbay/state.json.\n"},
    Section{
        "EXAMPLES",
        ".nf\n"
        "quillbay\\-scan \\-d sim: \\-\\-mode rgb \\-r 400 \\-\\-area A0 \\-o map.tif\n"
        "quillbay\\-scan \\-d sim:count=5 \\-\\-mode grey \\-r 150 \\-\\-batch \\-\\-multipage \\-o plans.tif\n"
        "quillbay\\-scan \\-d sim: \\-\\-mode grey \\-r 150 \\-\\-batch=10 \\-\\-dir scans \\-\\-mask '<DATE>\\-' "
        "\\-\\-option compression=lzw\n"
        "quillbay\\-scan \\-d sim: \\-\\-mode grey \\-r 75 \\-\\-format png \\-o \\- > page.png\n"
        ".fi\n"},
};

std::string synopsis(const OptionRow& row) {
  std::string text = row.letter ? std::string("-") + row.letter + ", " : "    ";
  text += "--" + std::string(row.name);
  if (row.argument == Argument::Required) text += " " + std::string(row.value);
  if (row.argument == Argument::Optional) text += "[=" + std::string(row.value ? row.value : "VALUE") + "]";
  return text;
}

/// The text in lines that begin at the indent.
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
  std::string text =
      "Usage: quillbay-scan [OPTION]...\n"
      "Scan large documents into files.\n";
  const char* group = "";
  for (const OptionRow& row : optionTable()) {
    if (!row.group) continue;
    if (std::string(group) != row.group) text += "\n" + std::string(group = row.group) + ":\n";
    std::string line = "  " + synopsis(row);
    line += line.size() + 2 > kIndent ? "\n" + std::string(kIndent, ' ') : std::string(kIndent - line.size(), ' ');
    text += line + wrapped(row.help) + "\n";
  }
  text +=
      "\nExit status: 0 done, 1 usage, 2 device, 3 output, 4 no document, 128 + N after\n"
      "signal N. The man page quillbay-scan(1) tells the rest.\n";
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
      "Scans maps, drawings, plans and long rolls with any scanner that SANE knows, or with a simulated one, into "
      "files that are written while the page is scanned. Needs no display.\n"
      ".SH OPTIONS\n"
      "Long options may be cut as long as they stay unique.\n";
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
         "    --to) COMPREPLY=($(compgen -W 'file view' -- \"$word\")); return ;;\n"
         "    -o|--output|--recover) COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n"
         "    --dir) COMPREPLY=($(compgen -d -- \"$word\")); return ;;\n"
         "  esac\n"
         "  COMPREPLY=($(compgen -W '" +
         all +
         "' -- \"$word\"))\n"
         "}\n"
         "complete -F _quillbay_scan quillbay-scan\n";
}

}  // namespace help_text
