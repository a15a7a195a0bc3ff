#include "quillbay/print_templates.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "platform/base_services.h"
#include "quillbay/host_files.h"
#include "quillbay/printing.h"
#include "quillbay/storage.h"

namespace quillbay {

namespace {

namespace fs = std::filesystem;

constexpr const char* kLog = "quillbay.print";
constexpr std::array kOfOnePage{print_key::PageLines, print_key::PageWidth, print_key::PageDpi};

std::string sectionOf(std::string_view tool, const char* name) { return std::string(tool) + '\\' + name; }

std::string ownerSection(std::string_view tool) { return sectionOf(tool, "template"); }
std::string valuesSection(std::string_view tool) { return sectionOf(tool, "parameters"); }

KxPtr<IParam> readParameters(std::string_view tool, const std::string& path) {
  const auto storage = new_Storage(path, StorageMode::Read);
  const auto owner = new_IXStorParam(storage.get(), ownerSection(tool), 0);
  const auto held = new_IXStorParam(storage.get(), valuesSection(tool), 0);
  if (!owner || !held || !sameKey(paramString(owner.get(), ""), tool)) {
    throw CXFileException(
        formatText(Supp_Translate("The file \"%s\" is no template of print options; save it again in the dialog "
                                  "of the print options, or choose another one."),
                   {path}),
        path);
  }
  auto copy = new_MemParam();
  Param_CopyTo(held.get(), copy.get());
  for (const char* key : kOfOnePage) copy->Remove(key);
  return copy;
}

}  // namespace

std::string TemplatesFolder(IApp* app, std::string_view tool) {
  std::string folder;
  const auto directories = query<IStdDirectories>(app);
  if (!directories || !directories->GetDirectory(kToolTemplatesDir, &folder) || folder.empty()) {
    const auto interior = query<IAppInterior>(app);
    folder = (interior ? fio::folderOf(interior->GetModulePath()) : std::string()) + "templates";
  }
  return fio::withDelimiter(folder).append(tool);
}

std::vector<CTempItem> ListTemplates(IApp* app, std::string_view tool) {
  std::vector<CTempItem> found;
  std::error_code none;
  for (fs::directory_iterator at(TemplatesFolder(app, tool), none), end; !none && at != end; at.increment(none)) {
    const std::string file = at->path().filename().string();
    std::error_code unknown;
    if (file.starts_with('.') || at->is_directory(unknown) || !sameKey(fio::extensionOf(file), kTemplateExtension))
      continue;
    found.push_back({at->path().string(), at->path().stem().string(), {}});
  }
  std::sort(found.begin(), found.end(), [](const CTempItem& a, const CTempItem& b) {
    const std::string left = toLowerAscii(a.name), right = toLowerAscii(b.name);
    return left != right ? left < right : a.path < b.path;
  });
  return found;
}

KxPtr<IParam> Load_Template(IApp* app, std::string_view tool, const std::string& path, std::string* why) {
  try {
    return readParameters(tool, path);
  } catch (const CXException& e) {
    if (why) *why = e.what();
    const auto events = query<IEvents>(app);
    if (events) {
      events->Note(kLog, e.what());
    } else {
      logLine(LogLevel::Warning, kLog, e.what());
    }
    return {};
  }
}

int Save_Template(std::string_view tool, const std::string& path, IParam* params, std::string* why) {
  try {
    const auto storage = new_Storage(path, StorageMode::Create);
    new_IXStorParam(storage.get(), ownerSection(tool), 1)->SetValue("", std::string(tool));
    const auto values = new_IXStorParam(storage.get(), valuesSection(tool), 1);
    Param_CopyTo(params, values.get());
    for (const char* key : kOfOnePage) values->Remove(key);
    storage->Commit();
    return 1;
  } catch (const CXException& e) {
    logLine(LogLevel::Warning, kLog, e.what());
    if (why) *why = e.what();
    return 0;
  }
}

}  // namespace quillbay
