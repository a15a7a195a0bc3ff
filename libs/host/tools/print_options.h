#pragma once
#include <QPointer>

#include "host/tools/tool_base.h"

namespace quillbay {

class PrintOptionsPage;

/// The tool "PrintOptions": the page of the options of "RunPrinting" (`print_key`).
class PrintOptions final : public ToolBase {
 public:
  explicit PrintOptions(KxPtr<IEvents> events) : ToolBase(std::move(events)) {}

  int Load(IParam* params) override;
  int Apply() override;
  int Save(IParam* params) override;
  int Refresh() override { return window() ? 1 : 0; }

 protected:
  void build(QWidget* window) override;
  bool take(Pick, KXRGBQUAD) override { return false; }

 private:
  QPointer<PrintOptionsPage> m_page;
};

}  // namespace quillbay
