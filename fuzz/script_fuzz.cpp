// The reader of scripts: whatever the text, commands that are checked, or a message. What a log shows of a command
// is that command.
#include <cmath>

#include "host/script_step.h"
#include "memory_file.h"
#include "quillbay/errors.h"

using quillbay::fuzz::require;

namespace {

std::vector<quillbay::ScriptStep> stepsOf(const std::string& text) {
  static const auto syntax = quillbay::new_ScriptSyntax();
  return quillbay::compileScript(text, "/tmp/script.kxf", "script", syntax.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<quillbay::ScriptStep> steps;
  try {
    steps = stepsOf(std::string(reinterpret_cast<const char*>(data), size));
  } catch (const quillbay::CXException& e) {
    require(e.what()[0] != 0, "a refusal says why");
    return 0;
  }
  int line = 0;
  for (const quillbay::ScriptStep& step : steps) {
    require(step.line > line, "commands come line by line");
    line = step.line;
    require(!step.by || std::isfinite(*step.by), "a number is a number");
    require(!step.area || (step.area->right > step.area->left && step.area->bottom > step.area->top),
            "an area has a size");
    const std::string text = step.text();
    if (text.ends_with('\r')) continue;  // quoted at the end of a command; a line's end elsewhere
    const auto again = stepsOf(text);
    require(again.size() == 1 && again[0].action == step.action && again[0].arguments == step.arguments &&
                again[0].program.words == step.program.words,
            "what the log shows is the command");
  }
  return 0;
}
