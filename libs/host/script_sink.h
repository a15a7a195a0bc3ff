#pragma once
#include <functional>
#include <string>
#include <vector>

#include "host/host_events.h"
#include "quillbay/host.h"

namespace quillbay {

/// Takes the panel's script commands: keeps the rasters in a list of documents, adds pages to files, and runs
/// scripts. User-interface thread.
class CHostScriptSink final : public CKxUnknownImpl<IScriptCmdSink> {
 public:
  CHostScriptSink(KxPtr<CHostEvents> events, KxPtr<IIOParams> io, const HostOptions& options)
      : m_events(std::move(events)), m_io(std::move(io)), m_onSaved(options.onSaved), m_clear(options.clear) {}

  /// 0 for success. What cannot be written is said through the events; an unknown command answers 1.
  int ExecCommand(const char* command, IParam* arguments) override;

  void setClearPolicy(ClearPolicy clear) { m_clear = clear; }
  void setRasterHandler(std::function<void(const HostDocument&)> handler) { m_onRaster = std::move(handler); }
  void setCloseHandler(std::function<bool()> handler) { m_onClose = std::move(handler); }
  [[nodiscard]] const std::vector<HostDocument>& documents() const { return m_documents; }

 private:
  bool clearRasters(IParam* arguments);
  bool addRaster(IParam* arguments);
  bool addPage(IParam* arguments);
  bool processScript(IParam* arguments);
  bool saveAs(const std::string& file);
  void saved(HostDocument& document, const std::string& file);
  /// Whether an existing file may be replaced; true when there is none.
  bool mayReplace(const std::string& file);
  /// Runs a step that writes `file`; says what goes wrong.
  bool guarded(const std::string& file, const std::function<bool()>& step);

  const KxPtr<CHostEvents> m_events;
  const KxPtr<IIOParams> m_io;
  const std::function<void(const std::string&)> m_onSaved;
  ClearPolicy m_clear;
  std::vector<HostDocument> m_documents;
  bool m_batch = false;  // the last raster came in a batch
  std::function<void(const HostDocument&)> m_onRaster;
  std::function<bool()> m_onClose;
};

}  // namespace quillbay
