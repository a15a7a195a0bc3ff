#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/formats.h"
#include "quillbay/host.h"

namespace quillbay {
namespace {

constexpr std::string_view kPart = ".part";
constexpr std::size_t kCounterDigits = 3;

/// NAME of "NAME.part" or "NAME.part.N"; empty for another name.
std::string nameOfPart(std::string_view part) {
  const auto lastDot = part.rfind('.');
  if (lastDot == std::string_view::npos) return {};
  const std::string_view last = part.substr(lastDot + 1);
  const bool numbered =
      !last.empty() && std::all_of(last.begin(), last.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (numbered) part = part.substr(0, lastDot);
  if (!part.ends_with(kPart) || part.size() == kPart.size()) return {};
  return std::string(part.substr(0, part.size() - kPart.size()));
}

int refuseToRecover(std::string* why, std::string text) {
  if (why) *why = std::move(text);
  return 0;
}

bool hasFormatOf(const std::string& file, const std::string& name) {
  for (const FormatInfo& format : ListFormats()) {
    const auto has = [&](const std::string& path) {
      const std::string extension = fio::extensionOf(path);
      return std::any_of(format.extensions.begin(), format.extensions.end(),
                         [&](const std::string& e) { return sameKey(e, extension); });
    };
    if (has(file) && has(name)) return true;
  }
  return false;
}

/// "a.tif" becomes "a000.tif", "a001.tif" and so on.
std::string counted(const std::string& file, int number) {
  const std::string extension = fio::extensionOf(file);
  std::string digits = std::to_string(number);
  digits.insert(0, digits.size() < kCounterDigits ? kCounterDigits - digits.size() : 0, '0');
  return file.substr(0, file.size() - extension.size()) + digits + extension;
}

void drop(const std::string& path) noexcept {
  std::error_code ignored;  // a file too many loses nothing
  std::filesystem::remove(path, ignored);
}

/// Publishes across file systems: a copy in the folder of the target gets its name, then the part is deleted.
void publishCopy(const std::string& part, const std::string& name, const std::string& file, bool mayReplace) {
  const std::string copy = file + std::string(kPart);
  std::error_code error;
  if (!std::filesystem::copy_file(part, copy, std::filesystem::copy_options::none, error) || error) {
    if (error != std::errc::file_exists) drop(copy);
    throw CXFileException(
        formatText(Supp_Translate("%s cannot be copied to %s: %s"), {part, copy, error.message()}), copy,
        error.value());
  }
  try {
    PublishLeftover(copy, name, file, mayReplace);
  } catch (...) {
    drop(copy);
    throw;
  }
  drop(part);
}

void publishAs(const std::string& part, const std::string& name, const std::string& file, bool mayReplace) {
  const std::string folder = fio::folderOf(file);
  const bool isNew = !folder.empty() && !fio::isFolder(folder);
  if (isNew) fio::createFolder(folder);
  try {
    try {
      PublishLeftover(part, name, file, mayReplace);
    } catch (const CXFileException& e) {
      if (e.systemError() != EXDEV) throw;
      publishCopy(part, name, file, mayReplace);
    }
  } catch (...) {
    if (isNew) drop(folder);
    throw;
  }
}

/// Returns the name that the pages got.
std::string publishWhere(const std::string& part, const std::string& name, const RecoverTarget& target) {
  const std::string wanted = target.file.empty() ? name : target.file;
  std::string file = wanted;
  for (int number = 0;; ++number) {
    try {
      if (!target.increment || !fio::exists(file)) {
        publishAs(part, name, file, target.mayReplace);
        return file;
      }
    } catch (const CXFileException& e) {
      if (!target.increment || e.systemError() != EEXIST) throw;
    }
    file = counted(wanted, number);
  }
}

}  // namespace

int RecoverPart(const std::string& part, const RecoverTarget& target, std::string* file, std::string* why) {
  const std::string name = nameOfPart(part);
  if (name.empty()) {
    return refuseToRecover(
        why, formatText(
                 Supp_Translate(
                     "%s is not an unfinished file of a scan: its name does not end in \".part\" or \".part.N\"."),
                 {part}));
  }
  if (!fio::exists(part)) return refuseToRecover(why, formatText(Supp_Translate("%s does not exist."), {part}));
  RecoverTarget complete = target;
  if (!target.file.empty() && fio::extensionOf(target.file).empty()) complete.file += fio::extensionOf(name);
  if (!target.file.empty() && !hasFormatOf(complete.file, name)) {
    return refuseToRecover(
        why, formatText(Supp_Translate("%s has another format than %s; give the new name the extension %s."),
                        {part, complete.file, fio::extensionOf(name)}));
  }
  try {
    const std::string published = publishWhere(part, name, complete);
    if (file) *file = published;
  } catch (const CXException& e) {
    return refuseToRecover(why, e.what());
  }
  return 1;
}

}  // namespace quillbay
