#pragma once
#include <string>
#include <vector>

#include "quillbay/print_host.h"
#include "quillbay/printing.h"
#include "quillbay/tools.h"

namespace quillbay::test {

/// What the printing tool of a test was told.
struct PrintLog {
  KxPtr<IParam> options;  ///< of the last job
  std::string title;
  std::int64_t lines = 0, pageLines = -1;
  std::vector<int> ends;
  std::string refusal;  ///< the tool accepts no job
  std::string error;    ///< it fails while it prints
  int watched = 0;
};

/// A job that prints into a log.
class LoggedJob final : public CKxUnknownImpl<IPrintingJob, IPrintOutcome, IPrintPage> {
 public:
  explicit LoggedJob(PrintLog& log) : m_log(log) {}
  int Start(const char* title, IParam* options) override {
    m_log.title = title;
    m_log.options = new_MemParam();
    Param_CopyTo(options, m_log.options.get());
    return m_log.refusal.empty() ? 1 : 0;
  }
  int PrintStripe(std::int64_t, IScanBuffer* stripe, IPrintProgress*) override {
    KxSize size;
    stripe->GetSize(&size);
    m_log.lines += size.height;
    return m_log.error.empty() ? 1 : 0;
  }
  int End(int completed) override {
    m_log.ends.push_back(completed);
    return m_log.error.empty() ? 1 : 0;
  }
  std::string GetError() override { return m_log.refusal.empty() ? m_log.error : m_log.refusal; }
  std::string GetPrinter() override { return "plotter"; }
  std::int32_t GetJob() override { return 12; }
  std::string GetNote() override { return "turned by 90°"; }
  void Wake() override {}
  int Await(double, std::string*) override { return 1; }
  void SetPageLines(std::int64_t lines) override { m_log.pageLines = lines; }

 private:
  PrintLog& m_log;
};

/// A host around another one, with a printing tool that logs, and whatever printing interface a test takes away.
class PrintHost final : public CKxUnknownImpl<IApp, IToolsFactory, IPrintWatch> {
 public:
  PrintHost(KxPtr<IApp> host, PrintLog& log) : m_host(std::move(host)), m_log(log) {}
  int QueryInterface(const std::type_info& wanted, void** out) override {
    return CKxUnknownImpl::QueryInterface(wanted, out) ? 1 : m_host->QueryInterface(wanted, out);
  }
  std::string GetProductName() override { return m_host->GetProductName(); }
  IKxUnknown* MakeTool(std::string_view name) override {
    if (name == tool_name::RunPrinting)
      return canPrint ? static_cast<IPrintingJob*>(new LoggedJob(m_log)) : nullptr;
    return m_host.as<IToolsFactory>()->MakeTool(name);
  }
  void Watch(IPrintingJob*) override { ++m_log.watched; }
  int Count() override { return 0; }
  void SetHandler(std::function<void(const PrintReport&)>) override {}
  void Forget() override {}

  bool canPrint = true;

 private:
  const KxPtr<IApp> m_host;
  PrintLog& m_log;
};

}  // namespace quillbay::test
