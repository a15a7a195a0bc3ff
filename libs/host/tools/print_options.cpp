#include "host/tools/print_options.h"

#include <QVBoxLayout>

#include "host/tools/print_options_page.h"
#include "quillbay/printing.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

void PrintOptions::build(QWidget* window) {
  auto* column = new QVBoxLayout(window);
  column->setContentsMargins(0, 0, 0, 0);
  m_page = new PrintOptionsPage(window);
  column->addWidget(m_page);
  QObject::connect(m_page, &PrintOptionsPage::changed, window, [this] { changed(); });
}

/// A missing key leaves its field, unless the set brings all to their defaults.
int PrintOptions::Load(IParam* params) {
  if (!m_page || !params) return 0;
  const auto all = new_MemParam();
  if (paramInt(params, key::ResetMark) == 0) m_page->save(all.get());
  Param_CopyTo(params, all.get());
  m_page->load(all.get());
  return 1;
}

int PrintOptions::Apply() {
  if (!m_page) return 0;
  const std::string why = m_page->refusal();
  if (why.empty()) return 1;
  message(why);
  return 0;
}

int PrintOptions::Save(IParam* params) {
  if (!m_page || !params) return 0;
  m_page->save(params);
  return 1;
}

}  // namespace quillbay
