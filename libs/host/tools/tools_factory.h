#pragma once
#include "quillbay/app.h"
#include "quillbay/tools.h"

namespace quillbay {

/// Makes the tools of our two programs: "GammaEdit", "GammaEditQB" and "BWPointSetup".
class CToolsFactory final : public CKxUnknownImpl<IToolsFactory> {
 public:
  /// `events` shows the tools' messages.
  explicit CToolsFactory(KxPtr<IEvents> events) : m_events(std::move(events)) {}
  IKxUnknown* MakeTool(std::string_view name) override;

 private:
  KxPtr<IEvents> m_events;
};

}  // namespace quillbay
