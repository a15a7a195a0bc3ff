#include "channels/module_loader.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/base_services.h"
#include "platform/log_category.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;

/// The folder that holds the library or program that this code was linked into.
fs::path ownFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&ownFolder), &info) == 0 || !info.dli_fname) return {};
  std::error_code ignored;
  const fs::path whole = fs::canonical(info.dli_fname, ignored);
  // A program started through PATH names itself without a folder.
  if (whole.empty()) return fs::canonical("/proc/self/exe", ignored).parent_path();
  return whole.parent_path();
}

std::vector<fs::path> modulesIn(const fs::path& folder) {
  std::vector<fs::path> found;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (it->path().extension() == ".so") found.push_back(it->path());
  }
  std::sort(found.begin(), found.end());  // the same order on every machine
  return found;
}

void loadModule(const fs::path& path, std::vector<const QbFormat*>* formats) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* why = dlerror();
    logLine(LogLevel::Error, kChannelsLog, "format module not loaded: " + std::string(why ? why : path.c_str()));
    return;
  }
  const auto factory = reinterpret_cast<QbModuleFactory>(dlsym(handle, QUILLBAY_FORMAT_FACTORY));
  const QbModule* module = factory ? factory(QUILLBAY_FORMAT_ABI) : nullptr;
  if (!module || module->abi != QUILLBAY_FORMAT_ABI || module->table_size != sizeof(QbFormat)) {
    logLine(LogLevel::Error, kChannelsLog,
            path.string() + (module ? " is a format module of another version; install the one of this program"
                                    : " is not a format module"));
    return;  // it is not unloaded: its code may already run
  }
  for (int i = 0; i < module->count; ++i) {
    formats->push_back(module->formats[i]);
    logLine(LogLevel::Debug, kChannelsLog, std::string(module->formats[i]->name) + " from " + path.string());
  }
}

std::vector<const QbFormat*> loadAll() {
  std::vector<const QbFormat*> formats;
  const std::string folder = formatFolder();
  for (const fs::path& path : modulesIn(folder)) loadModule(path, &formats);
  if (formats.empty()) {
    logLine(LogLevel::Error, kChannelsLog,
            "no format modules in \"" + folder + "\"; set QUILLBAY_FORMATS to their folder");
  }
  return formats;
}

}  // namespace

std::string formatFolder() {
  if (const char* set = std::getenv("QUILLBAY_FORMATS"); set && *set) return set;
  const fs::path own = ownFolder();
  // Linked into libquillbay.so of a lib folder, or into a program of a bin folder; installed or in a build tree.
  const fs::path places[] = {own / "quillbay/formats", own / ".." / QUILLBAY_LIBDIR / "quillbay/formats",
                             own / "../lib/quillbay/formats", own / "lib/quillbay/formats"};
  for (const fs::path& place : places) {
    if (!modulesIn(place).empty()) return place.lexically_normal().string();
  }
  return places[0].string();
}

const std::vector<const QbFormat*>& loadedFormats() {
  static const std::vector<const QbFormat*> formats = loadAll();
  return formats;
}

const QbFormat* formatForName(std::string_view fileName) {
  const std::string extension = fio::extensionOf(fileName);
  if (extension.empty()) return nullptr;
  for (const QbFormat* format : loadedFormats()) {
    for (const char* const* e = format->extensions; *e; ++e) {
      if (sameKey(*e, extension)) return format;
    }
  }
  return nullptr;
}

const QbFormat* formatForContent(const std::uint8_t* head, std::size_t size) {
  for (const QbFormat* format : loadedFormats()) {
    if (format->probe(head, size)) return format;
  }
  return nullptr;
}

}  // namespace quillbay
