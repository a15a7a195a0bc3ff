#include "printing/print_dialog.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "quillbay/print_host.h"
#include "quillbay/print_templates.h"

namespace desktop {

using quillbay::KxPtr;
using quillbay::query;

namespace {
constexpr const char* kHelpTopic = "QBHelp:IDH_PrintOptions";
}

PrintDialog::PrintDialog(quillbay::IApp* app, quillbay::IRStor* page, int selected, int all, QWidget* parent)
    : QDialog(parent), m_app(app), m_page(KxPtr<quillbay::IRStor>::share(page)) {
  setObjectName("printDialog");
  setWindowTitle(tr("Print"));
  auto* column = new QVBoxLayout(this);
  auto* top = new QHBoxLayout;
  top->addWidget(makeScope(selected, all));
  top->addStretch();
  top->addWidget(makeTemplates());
  column->addLayout(top);
  column->addWidget(makePage(), 1);
  column->addWidget(makeButtons());
  const auto provider = query<quillbay::IParamProvider>(m_app);
  const auto current =
      provider ? KxPtr<quillbay::IParam>::adopt(provider->GetToolParams(quillbay::tool_name::PrintOptions))
               : KxPtr<quillbay::IParam>{};
  showOptions(current ? current.get() : quillbay::new_MemParam().get());
}

PrintDialog::~PrintDialog() {
  if (m_tool) m_tool->Close();
}

QWidget* PrintDialog::makeScope(int selected, int all) {
  auto* box = new QWidget(this);
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(0, 0, 0, 0);
  m_scope = new QButtonGroup(this);
  const auto add = [&](const QString& text, PrintedPages which, bool isEnabled) {
    auto* button = new QRadioButton(text, box);
    button->setEnabled(isEnabled);
    m_scope->addButton(button, static_cast<int>(which));
    row->addWidget(button);
  };
  add(tr("C&urrent page"), PrintedPages::Current, true);
  add(tr("Selecte&d pages (%1)").arg(selected), PrintedPages::Selected, selected > 1);
  add(tr("&All pages (%1)").arg(all), PrintedPages::All, all > 1);
  m_scope->button(static_cast<int>(selected > 1 ? PrintedPages::Selected : PrintedPages::Current))
      ->setChecked(true);
  return box;
}

QWidget* PrintDialog::makeTemplates() {
  auto* box = new QWidget(this);
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(0, 0, 0, 0);
  auto* label = new QLabel(tr("&Template"), box);
  m_templates = new QComboBox(box);
  m_templates->setAccessibleName(tr("Template"));
  m_templates->addItem(tr("As printed last"));
  for (const quillbay::CTempItem& item : quillbay::ListTemplates(m_app, quillbay::tool_name::PrintOptions))
    m_templates->addItem(QString::fromStdString(item.name), QString::fromStdString(item.path));
  label->setBuddy(m_templates);
  row->addWidget(label);
  row->addWidget(m_templates);
  box->setVisible(m_templates->count() > 1);
  connect(m_templates, &QComboBox::activated, this, &PrintDialog::takeTemplate);
  return box;
}

QWidget* PrintDialog::makePage() {
  const auto factory = query<quillbay::IToolsFactory>(m_app);
  if (factory)
    m_tool = query<quillbay::IPanelTool>(
        KxPtr<quillbay::IKxUnknown>::adopt(factory->MakeTool(quillbay::tool_name::PrintOptions)).get());
  QWidget* page = m_tool ? m_tool->Create(this, this) : nullptr;
  if (page) return page;
  m_tool = nullptr;
  return new QLabel(tr("This program cannot print."), this);
}

QWidget* PrintDialog::makeButtons() {
  auto* buttons = new QDialogButtonBox(this);
  QPushButton* print = buttons->addButton(tr("&Print"), QDialogButtonBox::AcceptRole);
  print->setDefault(true);
  print->setEnabled(static_cast<bool>(m_tool));
  buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
  connect(buttons, &QDialogButtonBox::accepted, this, &PrintDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &PrintDialog::reject);
  if (const auto help = query<quillbay::IHelp>(m_app)) {
    QPushButton* button = buttons->addButton(tr("Help"), QDialogButtonBox::HelpRole);
    button->setShortcut(QKeySequence::HelpContents);
    connect(button, &QPushButton::clicked, this, [help] { help->ShowTopic(kHelpTopic); });
  }
  return buttons;
}

/// Options with the page that the drawing shows.
void PrintDialog::showOptions(quillbay::IParam* options) {
  if (!m_tool) return;
  const auto all = quillbay::new_MemParam();
  quillbay::Param_CopyTo(options, all.get());
  quillbay::DescribePage(m_page.get(), all.get());
  m_tool->Load(all.get());
  m_tool->Refresh();
}

void PrintDialog::takeTemplate(int index) {
  const std::string path = m_templates->itemData(index).toString().toStdString();
  if (path.empty()) return;
  std::string why;
  const auto options = quillbay::Load_Template(m_app, quillbay::tool_name::PrintOptions, path, &why);
  if (options) return showOptions(options.get());
  m_templates->setCurrentIndex(0);
  QMessageBox::warning(this, windowTitle(), QString::fromStdString(why));
}

PrintedPages PrintDialog::pages() const { return static_cast<PrintedPages>(m_scope->checkedId()); }

void PrintDialog::accept() {
  const auto options = quillbay::new_MemParam();
  if (!m_tool || !m_tool->Apply() || !m_tool->Save(options.get())) return;
  m_options = options;
  QDialog::accept();
}

}  // namespace desktop
