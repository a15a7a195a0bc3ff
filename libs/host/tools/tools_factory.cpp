#include "host/tools/tools_factory.h"

#include "host/tools/bw_point_setup.h"
#include "host/tools/gamma_edit.h"
#include "host/tools/print_options.h"
#include "host/tools/run_printing.h"
#include "platform/base_services.h"
#include "quillbay/printing.h"

namespace quillbay {

IKxUnknown* CToolsFactory::MakeTool(std::string_view name) {
  if (sameKey(name, tool_name::GammaEdit)) return new GammaEdit(m_events, true);
  if (sameKey(name, tool_name::GammaEditQB)) return new GammaEdit(m_events, false);
  if (sameKey(name, tool_name::BWPointSetup)) return new BWPointSetup(m_events);
  if (sameKey(name, tool_name::PrintOptions)) return static_cast<IPanelTool*>(new PrintOptions(m_events));
  if (sameKey(name, tool_name::RunPrinting)) return static_cast<IPrintingJob*>(new CRunPrinting);
  return nullptr;
}

}  // namespace quillbay
