#include "window/toolkit_texts.h"

#include <string>

#include "quillbay/translation.h"

namespace desktop {

QString ToolkitTexts::translate(const char* /*context*/, const char* source, const char* /*disambiguation*/,
                                int /*n*/) const {
  if (!source || !*source) return {};
  const std::string text = quillbay::Supp_Translate(source);
  return text == source ? QString() : QString::fromStdString(text);
}

}  // namespace desktop
