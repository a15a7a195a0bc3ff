#pragma once
#include "quillbay/app.h"
#include "quillbay/param.h"

namespace quillbay {

/// Has the host skip "Open" and "SaveAs" in its scripts, so that one that otherwise opens and saves files works on
/// each page of a batch. `settings` are those of `IScriptSyntaxParam`.
void suppressScriptCommands(IParam* settings);
/// Has it run "Open", "Close" and "SaveAs" again.
void restoreScriptCommands(IParam* settings);

/// Suppresses them while it lives. A host without scripts has nothing to suppress.
class CommandSuppression {
 public:
  explicit CommandSuppression(IApp* app);
  ~CommandSuppression();
  CommandSuppression(const CommandSuppression&) = delete;
  CommandSuppression& operator=(const CommandSuppression&) = delete;

 private:
  KxPtr<IParam> m_settings;
};

}  // namespace quillbay
