#include "output_choice.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "failure.h"
#include "names.h"
#include "quillbay/formats.h"

namespace {

namespace fs = std::filesystem;
using quillbay::FormatInfo;

constexpr const char* kDefaultFormat = "TIFF";
constexpr std::string_view kReplaced = "\"*?<>|";
constexpr const char* kCounterTag = "<COUNTER>";
constexpr std::array kTags{kCounterTag, "<DATE>", "<TIME>", "<USER>", "<COLORSPACE>", "<DPI>", "<SIZE>"};

std::vector<std::string> namesOf(const std::vector<FormatInfo>& formats) {
  std::vector<std::string> list;
  list.reserve(formats.size());
  for (const FormatInfo& f : formats) list.push_back(f.name);
  return list;
}

std::vector<std::string> extensionsOf(const std::vector<FormatInfo>& formats) {
  std::vector<std::string> list;
  for (const FormatInfo& f : formats) list.insert(list.end(), f.extensions.begin(), f.extensions.end());
  return list;
}

const FormatInfo& formatNamed(const std::vector<FormatInfo>& formats, const std::string& name) {
  for (const FormatInfo& f : formats) {
    if (names::same(f.name, name)) return f;
  }
  throw Failure(kUsage, "--format \"" + name + "\": unknown format; " +
                            names::allowed(namesOf(formats), name, "--all-options"));
}

const FormatInfo* formatOfExtension(const std::vector<FormatInfo>& formats, const std::string& extension) {
  for (const FormatInfo& f : formats) {
    for (const std::string& e : f.extensions) {
      if (names::same(e, extension)) return &f;
    }
  }
  return nullptr;
}

/// Where a tag begins, in any letter case; the text's size without it.
std::size_t findTag(const std::string& text, std::string_view tag) {
  const auto matches = [](char a, char b) {
    return a == b || (b >= 'A' && b <= 'Z' && a == static_cast<char>(b - 'A' + 'a'));
  };
  return static_cast<std::size_t>(std::search(text.begin(), text.end(), tag.begin(), tag.end(), matches) -
                                  text.begin());
}

/// The text without its tags.
std::string withoutTags(std::string text) {
  for (const std::string_view tag : kTags) {
    for (std::size_t at; (at = findTag(text, tag)) < text.size();) text.erase(at, tag.size());
  }
  return text;
}

bool hasCounter(const std::string& text) { return findTag(text, kCounterTag) < text.size(); }

/// The path rules of the panel replace these characters; a name that was typed shall be the name that is written.
void refuseReplaced(const std::string& option, const std::string& text) {
  const auto at = withoutTags(text).find_first_of(kReplaced);
  if (at == std::string::npos) return;
  throw Failure(kUsage, "--" + option + " \"" + text +
                            "\": the characters \" * ? < > | cannot be in a name, except as "
                            "one of the tags " +
                            names::joined({kTags.begin(), kTags.end()}));
}

std::string absolute(const std::string& folder) {
  std::error_code error;
  const fs::path path = fs::absolute(folder.empty() ? "." : folder, error).lexically_normal();
  return error ? folder : path.string();
}

void takeFile(const ScanOptions& options, const std::vector<FormatInfo>& formats, OutputChoice& choice) {
  const fs::path file = options.output;
  const std::string name = file.filename().string();
  if (name.empty() || name == "." || name == "..") {
    throw Failure(kUsage, "--output \"" + options.output + "\": names no file; use --dir for a folder");
  }
  choice.named = true;
  choice.folder = absolute(file.parent_path().string());
  choice.extension = file.extension().string();
  choice.mask = file.stem().string();
  refuseReplaced("output", name);
  if (choice.extension.empty()) return;
  const FormatInfo* format = formatOfExtension(formats, choice.extension);
  if (!format) {
    throw Failure(kUsage, "--output \"" + options.output + "\": no format has the extension \"" + choice.extension +
                              "\"; there are: " + names::joined(extensionsOf(formats)));
  }
  if (!options.format.empty() && !names::same(options.format, format->name)) {
    throw Failure(kUsage, "--output \"" + options.output + "\": this extension is of " + format->name +
                              ", not of " + options.format);
  }
  choice.format = format->name;
}

}  // namespace

OutputChoice chooseOutput(const ScanOptions& options) {
  const std::vector<FormatInfo> formats = quillbay::ListFormats();
  if (formats.empty()) throw Failure(kOutput, "no format modules were found; the installation is incomplete");
  OutputChoice choice;
  if (!options.format.empty()) choice.format = formatNamed(formats, options.format).name;
  if (options.output == "-") {
    choice.named = true;
    choice.mask = "page";  // the folder is of the one who copies it
  } else if (!options.output.empty()) {
    takeFile(options, formats, choice);
  } else {
    refuseReplaced("dir", options.dir);
    choice.changesMask = withoutTags(options.mask).find_first_of(kReplaced) != std::string::npos;
    choice.folder = absolute(options.dir);
    choice.mask = options.mask.empty() ? "scan" : options.mask;
  }
  if (choice.format.empty()) choice.format = kDefaultFormat;
  const FormatInfo& format = formatNamed(formats, choice.format);
  if (choice.extension.empty()) choice.extension = format.extensions.empty() ? "" : format.extensions.front();
  if (options.multipage && !format.paged) {
    throw Failure(kUsage, "--multipage: " + format.name + " holds one page a file; use " + kDefaultFormat);
  }
  // A file of its own for every page needs a name of its own.
  const bool several = (options.batch && *options.batch != 1) || options.bursting;
  choice.counter = (!choice.named || (several && !options.multipage)) && !hasCounter(choice.mask);
  return choice;
}
