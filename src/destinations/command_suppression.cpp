#include "destinations/command_suppression.h"

#include "quillbay/scan_keys.h"

namespace quillbay {

void suppressScriptCommands(IParam* settings) {
  for (const char* name : {"Open", "SaveAs"}) {
    const auto command = KxPtr<IParam>::adopt(settings->GetSubStore(name, 1));
    const auto entry = KxPtr<IParam>::adopt(command->GetSubStore(script_key::IgnoreCommand, 1));
    entry->SetValue(script_key::KeyWord, script_key::IgnoreCommand);
    entry->SetValue(script_key::KeyName, script_key::IgnoreCommand);
    entry->SetValue(script_key::IgnoreCommand, 1);
  }
}

void restoreScriptCommands(IParam* settings) {
  for (const char* name : {"Open", "Close", "SaveAs"}) {
    const auto command = KxPtr<IParam>::adopt(settings->GetSubStore(name, 0));
    if (command) command->RemoveSubStore(script_key::IgnoreCommand);
  }
}

CommandSuppression::CommandSuppression(IApp* app) {
  const auto syntax = query<IScriptSyntaxParam>(app);
  if (!syntax) return;
  m_settings = KxPtr<IParam>::adopt(syntax->GetSyntax());
  if (m_settings) suppressScriptCommands(m_settings.get());
}

CommandSuppression::~CommandSuppression() {
  if (m_settings) restoreScriptCommands(m_settings.get());
}

}  // namespace quillbay
