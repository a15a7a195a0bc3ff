#include "net/oem_info.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "net/spool.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

namespace fs = std::filesystem;
constexpr const char* kLibrary = "oeminfo.so";

std::vector<fs::path> oemInfoPlaces() {
  if (const char* set = std::getenv("QUILLBAY_OEMINFO"); set && *set) return {fs::path(set) / kLibrary};
  std::error_code ignored;
  const fs::path program = fs::canonical("/proc/self/exe", ignored).parent_path();
  std::vector<fs::path> places{program / kLibrary, program / ".." / QUILLBAY_LIBDIR / "quillbay" / kLibrary,
                               program / "../lib/quillbay" / kLibrary};
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&loadOemInfo), &info) != 0 && info.dli_fname) {
    const fs::path own = fs::canonical(info.dli_fname, ignored).parent_path();
    places.push_back(own / "quillbay" / kLibrary);
    places.push_back(own / kLibrary);
  }
  return places;
}

}  // namespace

KxPtr<IOemInfo> loadOemInfo() {
  for (const fs::path& place : oemInfoPlaces()) {
    std::error_code ignored;
    if (!fs::exists(place, ignored)) continue;
    // Not unloaded: its object's code lies in it.
    void* handle = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
    const char* why = handle ? nullptr : dlerror();
    using Entry = IOemInfo* (*)();
    const auto entry = handle ? reinterpret_cast<Entry>(dlsym(handle, "new_IOemInfo")) : nullptr;
    KxPtr<IOemInfo> info = KxPtr<IOemInfo>::adopt(entry ? entry() : nullptr);
    if (info) return info;
    logLine(LogLevel::Warning, kNetLog,
            place.string() + " gives no product information: " + (why ? why : "it has no usable entry"));
  }
  return {};
}

}  // namespace quillbay
