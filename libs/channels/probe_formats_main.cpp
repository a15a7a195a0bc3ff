// Loads format modules, one after another, and prints what they are. A program of its own, so that a module that
// crashes or hangs does not take the program with it.
// usage: quillbay-probe-formats MODULE...
// Lines of tab-separated fields: "begin"; for each format "format", its name, the bits of the colour spaces that it
// saves, 1 if it holds several pages, 1 if it saves anything, its description, its extensions; "end" and "ok", or
// "end", "fail" and the reason.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "channels/format_facts.h"

namespace {

std::string field(std::string text) {
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  return text;
}

void printFormat(std::FILE* out, const quillbay::FormatFacts& facts) {
  std::fprintf(out, "format\t%s\t%u\t%d\t%d\t%s", field(facts.name).c_str(), facts.colorSpaces, facts.paged ? 1 : 0,
               facts.saves ? 1 : 0, field(facts.description).c_str());
  for (const std::string& extension : facts.extensions) std::fprintf(out, "\t%s", field(extension).c_str());
  std::fprintf(out, "\n");
}

/// Why the file is no module for this program; null when it is one.
const char* printModule(std::FILE* out, const char* file) {
  void* handle = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* why = dlerror();
    return why ? why : "it cannot be loaded";
  }
  const auto factory = reinterpret_cast<QbModuleFactory>(dlsym(handle, QUILLBAY_FORMAT_FACTORY));
  if (!factory) return "it is not a format module";
  const QbModule* module = factory(QUILLBAY_FORMAT_ABI);
  if (!module) return "it is not a format module for this program";
  if (module->abi != QUILLBAY_FORMAT_ABI || module->table_size != sizeof(QbFormat))
    return "it is a format module of another version; install the one of this program";
  for (int i = 0; i < module->count; ++i) printFormat(out, quillbay::factsOf(*module->formats[i]));
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  // What a module prints is not the report.
  std::FILE* out = fdopen(dup(STDOUT_FILENO), "w");
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (!out || nowhere < 0) return 1;
  dup2(nowhere, STDOUT_FILENO);
  for (int i = 1; i < argc; ++i) {
    std::fprintf(out, "begin\n");
    std::fflush(out);
    const char* why = printModule(out, argv[i]);
    if (why) {
      std::fprintf(out, "end\tfail\t%s\n", field(why).c_str());
    } else {
      std::fprintf(out, "end\tok\n");
    }
    std::fflush(out);
  }
  // The modules are not taken down: what runs at their end is nothing that is asked.
  std::_Exit(0);
}
