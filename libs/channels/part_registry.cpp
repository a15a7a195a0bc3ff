#include "channels/part_registry.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "channels/module_loader.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/log_category.h"

namespace quillbay {
namespace {

/// One name for one file, however its folder was written.
std::string keyOf(const std::string& fileName) {
  const std::filesystem::path path(fileName);
  std::error_code error;
  const auto folder = std::filesystem::weakly_canonical(path.has_parent_path() ? path.parent_path() : ".", error);
  return error ? fileName : (folder / path.filename()).string();
}

[[noreturn]] void throwNoFormat(const std::string& fileName) {
  throw CXFileException(
      formatText(Supp_Translate("write %s: no file format has this extension; choose one of those on offer"),
                 {fileName}),
      fileName);
}

}  // namespace

std::string partName(const std::string& fileName) { return fileName + ".part"; }

PartRegistry& PartRegistry::instance() {
  static PartRegistry registry;
  return registry;
}

std::unique_ptr<WritingFile> PartRegistry::take(const std::string& fileName) {
  const std::lock_guard lock(m_mutex);
  const auto found = m_parts.find(keyOf(fileName));
  if (found == m_parts.end()) return nullptr;
  std::unique_ptr<WritingFile> part = std::move(found->second);
  m_parts.erase(found);
  return part;
}

void PartRegistry::keep(const std::string& fileName, std::unique_ptr<WritingFile> part) {
  const std::lock_guard lock(m_mutex);
  m_parts[keyOf(fileName)] = std::move(part);
}

std::unique_ptr<WritingFile> createPart(const QbFormat* format, const std::string& fileName) {
  for (int attempt = 0;; ++attempt) {
    const std::string aside = SetAsideLeftover(fileName);
    if (!aside.empty()) logLine(LogLevel::Warning, kChannelsLog, "an unfinished file is now " + aside);
    try {
      return std::make_unique<WritingFile>(format, partName(fileName), fileName, PageFile::Mode::Create);
    } catch (const CXFileException& e) {
      // Another program was faster; the next check shows whether it still runs.
      if (e.systemError() != EEXIST || attempt >= 3) throw;
    }
  }
}

void publishPart(WritingFile& part, const std::string& fileName, bool mayReplace) {
  part.file().sync();
  fio::publish(part.file().path(), fileName, mayReplace);
  part.file().renamed(fileName);
}

void deletePart(WritingFile& part) noexcept {
  if (::unlink(part.file().path().c_str()) == 0 || errno == ENOENT) return;
  logLine(LogLevel::Warning, kChannelsLog, part.file().path() + " was not deleted: " + fio::errorText(errno));
}

void PublishPart(const std::string& fileName, bool mayReplace) { PublishPartAs(fileName, fileName, mayReplace); }

void PublishPartAs(const std::string& fileName, const std::string& newName, bool mayReplace) {
  std::unique_ptr<WritingFile> part = PartRegistry::instance().take(fileName);
  const bool ours = part != nullptr;
  if (!ours) {  // what an earlier, killed run left
    const QbFormat* format = formatForName(fileName);
    if (!format) throwNoFormat(fileName);
    part = std::make_unique<WritingFile>(format, partName(fileName), fileName, PageFile::Mode::Append);
  }
  try {
    if (part->pageCount() == 0) {
      throw CXFileException(
          formatText(Supp_Translate("publish %s: %s holds no finished page"), {fileName, part->file().path()}),
          fileName);
    }
    publishPart(*part, newName, mayReplace);
  } catch (...) {
    if (ours) PartRegistry::instance().keep(fileName, std::move(part));
    throw;
  }
}

void PublishLeftover(const std::string& part, const std::string& fileName, const std::string& newName,
                     bool mayReplace) {
  const QbFormat* format = formatForName(fileName);
  if (!format) throwNoFormat(fileName);
  WritingFile left(format, part, part, PageFile::Mode::Append);
  if (left.pageCount() == 0) {
    throw CXFileException(formatText(Supp_Translate("publish %s: %s holds no finished page"), {newName, part}),
                          part);
  }
  left.cutToPages();
  publishPart(left, newName, mayReplace);
}

void AbandonPart(const std::string& fileName) {
  const std::unique_ptr<WritingFile> part = PartRegistry::instance().take(fileName);
  if (!part) return;
  try {
    if (part->pageCount() == 0) deletePart(*part);
  } catch (const CXException& e) {
    logLine(LogLevel::Warning, kChannelsLog, e.what());
  }
}

std::string SetAsideLeftover(const std::string& fileName) {
  const std::string part = partName(fileName);
  if (!fio::exists(part)) return {};
  try {
    const PageFile held(part, PageFile::Mode::Append);  // its lock: no program starts to write it meanwhile
    for (int i = 1;; ++i) {
      std::string aside = part + "." + std::to_string(i);
      try {
        fio::publish(part, aside, false);
        return aside;
      } catch (const CXFileException& e) {
        if (e.systemError() != EEXIST || i >= 10000) throw;
      }
    }
  } catch (const CXFileException& e) {
    if (e.systemError() == ENOENT) return {};  // its writer has just published or dropped it
    throw;
  }
}

}  // namespace quillbay
