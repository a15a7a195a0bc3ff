#include "destinations/cp_setup.h"

#include <QInputDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <utility>

#include "platform/base_services.h"
#include "quillbay/print_templates.h"
#include "quillbay/printing.h"
#include "ui_cp_setup.h"

namespace quillbay {

namespace {

constexpr const char* kPrintHelp = "QBHelp:IDH_PrintOptions";
constexpr std::size_t kLongestName = 200;  // file names end at 255 bytes

QString setupText(const char* english) { return QString::fromStdString(Supp_Translate(english)); }

/// Why no template can have this name; empty when one can.
std::string nameProblem(const std::string& name) {
  if (name.empty()) return Supp_Translate("Give the template a name.");
  if (name.front() == '.') return Supp_Translate("A template's name must not begin with a dot.");
  if (name.find_first_of("/\\") != std::string::npos)
    return Supp_Translate("A template's name must not contain slashes.");
  if (name.size() > kLongestName) return Supp_Translate("This name is too long for a file; choose a shorter one.");
  return {};
}

}  // namespace

CPSetup::CPSetup(QWidget* parent, KxPtr<IApp> app, IPanelController* controller, const KxPtr<IParam>& values,
                 std::string path)
    : CDialog(parent),
      m_app(std::move(app)),
      m_controller(controller),
      m_path(std::move(path)),
      m_form(std::make_unique<Ui::PrintSetup>()) {
  Param_CopyTo(values.get(), m_values.get());
  m_form->setupUi(this);
  if (!m_path.empty()) {
    const std::string file = fio::fileNameOf(m_path);
    setWindowTitle(QString::fromStdString(
        formatText(Supp_Translate("Print options, template \"%s\""), {file.substr(0, file.rfind('.'))})));
  }
  attachControls();
  m_form->help->setVisible(static_cast<bool>(query<IHelp>(m_app.get())));
  auto* help = new QShortcut(QKeySequence(QKeySequence::HelpContents), this);
  connect(help, &QShortcut::activated, this, [this] { showHelp(); });
  makePage();
}

CPSetup::~CPSetup() {
  if (m_tool) m_tool->Close();
}

int CPSetup::QueryInterface(const std::type_info& wanted, void** out) {
  if (wanted == typeid(IKxUnknown) || wanted == typeid(IFaceFactory))
    return CKxUnknownImplStatic<IFaceFactory>::QueryInterface(wanted, out);
  return m_app ? m_app->QueryInterface(wanted, out) : 0;
}

void CPSetup::makePage() {
  const auto factory = query<IToolsFactory>(m_app.get());
  if (factory)
    m_tool = query<IPanelTool>(KxPtr<IKxUnknown>::adopt(factory->MakeTool(tool_name::PrintOptions)).get());
  QWidget* page = m_tool ? m_tool->Create(m_form->place, this) : nullptr;
  if (!page) {
    m_tool = nullptr;
    auto* missing = new QLabel(setupText("This program has no page for print options."), m_form->place);
    missing->setWordWrap(true);
    page = missing;
  }
  m_form->place->layout()->addWidget(page);
  m_form->ok->setEnabled(static_cast<bool>(m_tool));
  m_form->saveAs->setEnabled(static_cast<bool>(m_tool));
  if (!m_tool) return;
  m_tool->Load(m_values.get());
  m_tool->Refresh();
  page->show();
}

bool CPSetup::OnCommand(int id, int code, std::int64_t) {
  if (code != kCodeClicked) return false;
  return m_controller->Guarded([&] {
    switch (id) {
      case kAnswerOk: return !accept();  // what is not acceptable keeps the dialog open
      case kHelp: showHelp(); return true;
      case kSaveAs: askName(); return true;
      default: return false;
    }
  });
}

/// What the page shows; null when it does not accept it. The page has said why.
KxPtr<IParam> CPSetup::takeValues() {
  if (!m_tool || !m_tool->Apply()) return {};
  auto values = new_MemParam();
  Param_CopyTo(m_values.get(), values.get());
  for (const char* key : {print_key::PageLines, print_key::PageWidth, print_key::PageDpi}) values->Remove(key);
  return m_tool->Save(values.get()) ? values : KxPtr<IParam>{};
}

bool CPSetup::write(const std::string& path) {
  const auto values = takeValues();
  if (!values) return false;
  std::string why;
  if (Save_Template(tool_name::PrintOptions, path, values.get(), &why)) return true;
  tell(formatText(Supp_Translate("The template was not saved. %s"), {why}));
  return false;
}

bool CPSetup::accept() {
  if (!m_path.empty()) return write(m_path);
  const auto values = takeValues();
  if (!values) return false;
  const auto provider = query<IParamProvider>(m_app.get());
  if (provider && provider->SetToolParams(tool_name::PrintOptions, values.get())) return true;
  tell(Supp_Translate("This program does not keep print options; save them as a template instead."));
  return false;
}

void CPSetup::askName() {
  const QPointer<CPSetup> alive(this);
  bool isGiven = false;
  const QString name = QInputDialog::getText(this, setupText("Save as template"),
                                             setupText("Name of the template:"), QLineEdit::Normal, {}, &isGiven);
  if (alive && isGiven) saveAs(name.trimmed().toStdString());
}

bool CPSetup::saveAs(const std::string& name) {
  const std::string problem = nameProblem(name);
  if (!problem.empty()) {
    tell(problem);
    return false;
  }
  const std::string path =
      fio::withDelimiter(TemplatesFolder(m_app.get(), tool_name::PrintOptions)) + name + kTemplateExtension;
  if (fio::exists(path)) {
    const int answer = m_controller->Message(
        EventKind::Question, formatText(Supp_Translate("The template \"%s\" exists already. Replace it?"), {name}),
        EventButtons::YesNo);
    if (answer != static_cast<int>(EventAnswer::Yes)) return false;
  }
  return write(path);
}

void CPSetup::showHelp() {
  const auto help = query<IHelp>(m_app.get());
  if (help) help->ShowTopic(kPrintHelp);
}

void CPSetup::tell(const std::string& text) {
  m_controller->Message(EventKind::Information, text, EventButtons::Ok);
}

}  // namespace quillbay
