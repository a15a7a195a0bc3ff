#include "channels/module_loader.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

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

std::mutex& knownMutex() {
  static std::mutex s_mutex;  // guards the next
  return s_mutex;
}

std::vector<ModuleAnswer>& knownModules() {
  static std::vector<ModuleAnswer> s_known;
  return s_known;
}

struct Loaded {
  std::vector<ModuleAnswer> answers;
  std::vector<const QbFormat*> formats;
};

const char* loadModule(ModuleAnswer& answer, std::vector<const QbFormat*>* formats) {
  void* handle = dlopen(answer.file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* why = dlerror();
    return why ? why : "it cannot be loaded";
  }
  const auto factory = reinterpret_cast<QbModuleFactory>(dlsym(handle, QUILLBAY_FORMAT_FACTORY));
  const QbModule* module = factory ? factory(QUILLBAY_FORMAT_ABI) : nullptr;
  if (!module || module->abi != QUILLBAY_FORMAT_ABI || module->table_size != sizeof(QbFormat))
    return "it is not a format module of this program";  // it is not unloaded: its code may already run
  answer.formats.clear();                                // what was kept may be of another name or order
  for (int i = 0; i < module->count; ++i) {
    formats->push_back(module->formats[i]);
    answer.formats.push_back(factsOf(*module->formats[i]));
    logLine(LogLevel::Debug, kChannelsLog, std::string(module->formats[i]->name) + " from " + answer.file);
  }
  answer.state = ModuleState::Good;
  return nullptr;
}

/// The folder's modules, and those elsewhere that are known.
std::vector<std::string> moduleFiles(const std::string& folder, const std::vector<ModuleAnswer>& known) {
  std::vector<std::string> files;
  for (const fs::path& path : modulesIn(folder)) files.push_back(path.string());
  for (const ModuleAnswer& answer : known) {
    if (std::find(files.begin(), files.end(), answer.file) == files.end()) files.push_back(answer.file);
  }
  return files;
}

Loaded loadAll() {
  std::vector<ModuleAnswer> known;
  {
    const std::lock_guard lock(knownMutex());
    known = knownModules();
  }
  Loaded loaded;
  const std::string folder = formatFolder();
  loaded.answers = examineModules(moduleFiles(folder, known), known);
  for (ModuleAnswer& answer : loaded.answers) {
    // Without the helper program all modules are taken as good: that is better than no formats.
    const bool loads = answer.state == ModuleState::Good || answer.state == ModuleState::Unasked;
    const char* why = loads ? loadModule(answer, &loaded.formats) : answer.why.c_str();
    if (!why) continue;
    if (loads) {
      answer.state = ModuleState::Unusable;
      answer.formats.clear();
    }
    logLine(LogLevel::Error, kChannelsLog, "format module " + answer.file + " is not used: " + why);
  }
  if (loaded.formats.empty()) {
    logLine(LogLevel::Error, kChannelsLog,
            "no format modules in \"" + folder + "\"; set QUILLBAY_FORMATS to their folder");
  }
  return loaded;
}

const Loaded& loadedModules() {
  static const Loaded s_loaded = loadAll();
  return s_loaded;
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

std::string moduleFile(const std::string& name) {
  return name.find('/') == std::string::npos ? (fs::path(formatFolder()) / name).string() : name;
}

void rememberModules(std::vector<ModuleAnswer> known) {
  const std::lock_guard lock(knownMutex());
  knownModules() = std::move(known);
}

const std::vector<ModuleAnswer>& moduleAnswers() { return loadedModules().answers; }

const std::vector<const QbFormat*>& loadedFormats() { return loadedModules().formats; }

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
