#include "print_setup.h"

#include <QCoreApplication>

#include "failure.h"
#include "names.h"
#include "quillbay/print_host.h"
#include "quillbay/print_templates.h"
#include "translated.h"

using quillbay::IParam;
using quillbay::KxPtr;
using quillbay::tool_name::PrintOptions;

namespace {

constexpr const char* kDetects = "auto";

/// The path of a template that was named as the panel's list shows it, or by its file.
std::string templatePath(quillbay::IApp* app, const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  std::vector<std::string> names;
  for (const quillbay::CTempItem& item : quillbay::ListTemplates(app, PrintOptions)) {
    if (item.name == name) return item.path;
    names.push_back(item.name);
  }
  throw Failure(kUsage, names.empty() ? translated("--template \"%s\": there is no template in %s",
                                                   {name, quillbay::TemplatesFolder(app, PrintOptions)})
                                      : translated("--template \"%s\": there is none; %s",
                                                   {name, names::allowed(names, name, "--help")}));
}

/// The options that the ones of the command line lie over: the template's, or the host's own.
KxPtr<IParam> baseOptions(quillbay::IApp* app, const std::string& templateFile) {
  if (!templateFile.empty()) {
    std::string why;
    auto held = quillbay::Load_Template(app, PrintOptions, templateFile, &why);
    if (!held) throw Failure(kUsage, "--template: " + why);
    return held;
  }
  auto copy = quillbay::new_MemParam();
  const auto provider = quillbay::query<quillbay::IParamProvider>(app);
  const auto current = provider ? KxPtr<IParam>::adopt(provider->GetToolParams(PrintOptions)) : KxPtr<IParam>{};
  if (current) quillbay::Param_CopyTo(current.get(), copy.get());
  return copy;
}

void setPrinter(IParam* options, const std::string& printer) {
  const bool detects = names::same(printer, kDetects);
  options->SetValue(quillbay::print_key::AutoDetect, detects ? 1 : 0);
  options->SetValue(quillbay::print_key::PrinterName, detects ? std::string() : printer);
}

}  // namespace

void applyPrintOptions(quillbay::IApp* app, quillbay::IQuillbaySink* sink, const ScanOptions& options) {
  const auto panel = quillbay::new_MemParam();
  const std::string file = options.printTemplate.empty() ? std::string() : templatePath(app, options.printTemplate);
  const bool changes = !options.printer.empty() || !options.printOptions.empty();
  if (!file.empty() || changes) {
    const auto values = baseOptions(app, file);
    if (!options.printer.empty()) setPrinter(values.get(), options.printer);
    for (const auto& [name, value] : options.printOptions) {
      std::string why;
      if (!quillbay::SetPrintOption(values.get(), name, value, &why)) {
        std::string typed = "--print-option ";
        typed.append(name).append("=").append(value).append(": ").append(why);
        throw Failure(kUsage, typed);
      }
    }
    const auto provider = quillbay::query<quillbay::IParamProvider>(app);
    if (changes && (!provider || !provider->SetToolParams(PrintOptions, values.get())))
      throw Failure(kOutput, translated("the print options cannot be set"));
    panel->SetValue(quillbay::kChosenOptionsKey, changes ? std::string(quillbay::kCurrentOptions) : file);
  }
  if (options.copies) panel->SetValue(quillbay::print_key::Copies, *options.copies);
  if (panel->GetKeys().empty()) return;
  sink->ApplyParams(panel.get());
  QCoreApplication::processEvents();  // the panel applies them in an event of this thread
}

std::string chosenPrinter(quillbay::IApp* app, quillbay::IQuillbayControl* control) {
  const auto page = quillbay::new_MemParam();
  control->GetPageParams(page.get());
  const std::string chosen = quillbay::paramString(page.get(), quillbay::kChosenOptionsKey);
  if (chosen == quillbay::kAutoOptions) return kDetects;
  const auto values = baseOptions(app, chosen == quillbay::kCurrentOptions ? std::string() : chosen);
  if (quillbay::paramInt(values.get(), quillbay::print_key::AutoDetect) != 0) return kDetects;
  const std::string name = quillbay::paramString(values.get(), quillbay::print_key::PrinterName);
  return name.empty() ? "default" : name;
}
