#include "output_choice.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "failure.h"
#include "names.h"
#include "quillbay/formats.h"
#include "translated.h"

namespace {

namespace fs = std::filesystem;
using quillbay::FormatInfo;

constexpr const char* kUsualFormat = "TIFF";
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

const FormatInfo* formatOfExtension(const std::vector<FormatInfo>& formats, const std::string& extension) {
  for (const FormatInfo& f : formats) {
    for (const std::string& e : f.extensions) {
      if (names::same(e, extension)) return &f;
    }
  }
  return nullptr;
}

/// By its name, or as its files end: "jpg", "tif".
const FormatInfo& formatNamed(const std::vector<FormatInfo>& formats, const std::string& name) {
  for (const FormatInfo& f : formats) {
    if (names::same(f.name, name)) return f;
  }
  if (const FormatInfo* format = formatOfExtension(formats, '.' + name)) return *format;
  throw Failure(kUsage, translated("--format \"%s\": unknown format; %s",
                                   {name, names::allowed(namesOf(formats), name, "--all-options")}));
}

/// Where a tag starts, in any letter case; the text's size without it.
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

/// The panel replaces these characters in paths. The name that the user typed must be the name of the file, so they
/// are refused.
void refuseReplaced(const std::string& option, const std::string& text) {
  const auto at = withoutTags(text).find_first_of(kReplaced);
  if (at == std::string::npos) return;
  throw Failure(kUsage,
                translated("--%s \"%s\": a name cannot contain the characters \" * ? < > |, except in the tags %s",
                           {option, text, names::joined({kTags.begin(), kTags.end()})}));
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
    throw Failure(kUsage,
                  translated("--output \"%s\": this is not a file name; use --dir for a folder", {options.output}));
  }
  choice.named = true;
  choice.folder = absolute(file.parent_path().string());
  choice.extension = file.extension().string();
  choice.mask = file.stem().string();
  refuseReplaced("output", name);
  if (choice.extension.empty()) return;
  const FormatInfo* format = formatOfExtension(formats, choice.extension);
  if (!format) {
    throw Failure(kUsage, translated("--output \"%s\": no format has the extension \"%s\"; available: %s",
                                     {options.output, choice.extension, names::joined(extensionsOf(formats))}));
  }
  if (!choice.format.empty() && !names::same(choice.format, format->name)) {
    throw Failure(kUsage, translated("--output \"%s\": this extension belongs to %s, not to %s",
                                     {options.output, format->name, options.format}));
  }
  choice.format = format->name;
}

}  // namespace

void completeOutput(OutputChoice& choice, const std::string& extension) {
  if (!choice.extension.empty()) return;
  choice.extension = extension;
  const std::vector<FormatInfo> formats = quillbay::ListFormats();
  if (const FormatInfo* format = formatOfExtension(formats, extension)) choice.format = format->name;
}

OutputChoice chooseOutput(const ScanOptions& options) {
  const std::vector<FormatInfo> formats = quillbay::ListFormats();
  if (formats.empty())
    throw Failure(kOutput, translated("no format modules were found; the installation is incomplete"));
  OutputChoice choice;
  if (!options.format.empty()) choice.format = formatNamed(formats, options.format).name;
  if (options.output == "-") {
    choice.named = true;
    choice.mask = "page";  // the caller of chooseOutput sets the folder
    if (choice.format.empty()) choice.format = kUsualFormat;
  } else if (!options.output.empty()) {
    takeFile(options, formats, choice);
  } else {
    refuseReplaced("dir", options.dir);
    choice.changesMask = withoutTags(options.mask).find_first_of(kReplaced) != std::string::npos;
    choice.folder = absolute(options.dir);
    choice.mask = options.mask.empty() ? "scan" : options.mask;
  }
  if (!choice.format.empty()) {
    const FormatInfo& format = formatNamed(formats, choice.format);
    if (choice.extension.empty()) choice.extension = format.extensions.empty() ? "" : format.extensions.front();
    if (options.multipage && !format.paged) {
      throw Failure(kUsage,
                    translated("--multipage: a %s file holds one page; use %s", {format.name, kUsualFormat}));
    }
  }
  // With one file per page, each page needs its own name.
  const bool several = (options.batch && *options.batch != 1) || options.bursting;
  choice.counter = (!choice.named || (several && !options.multipage)) && !hasCounter(choice.mask);
  return choice;
}
