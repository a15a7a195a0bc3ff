#include "pages/pres_dlg.h"

#include <QApplication>

#include "ui_pres_dlg.h"

namespace quillbay {

namespace {

constexpr const char* kPresetHelp = "QBHelp:IDH_ScanToView";
constexpr int kPagesShown = 8;

}  // namespace

CPresDlg::CPresDlg(QWidget* parent, IApp* app, const std::vector<std::string>& pages)
    : CDialog(parent), m_help(query<IHelp>(app)), m_form(std::make_unique<Ui::PresDlg>()) {
  m_form->setupUi(this);
  for (const std::string& title : pages) m_form->pages->addEntry({}, QString::fromStdString(title), true);
  m_form->pages->setCurrentRow(0);
  const int rows = std::clamp(static_cast<int>(pages.size()), 2, kPagesShown);
  m_form->pages->setMinimumHeight(rows * m_form->pages->sizeHintForRow(0) + 2 * m_form->pages->frameWidth());
  m_form->help->setVisible(static_cast<bool>(m_help));
  attachControls();
  m_form->name->setFocus();
}

CPresDlg::~CPresDlg() = default;

std::string CPresDlg::name() const { return m_form->name->text().trimmed().toStdString(); }

std::string CPresDlg::comment() const { return m_form->comment->toPlainText().trimmed().toStdString(); }

std::vector<int> CPresDlg::chosenPages() const { return m_form->pages->checkedRows(); }

bool CPresDlg::isComplete() {
  if (name().empty()) {
    QApplication::beep();
    m_form->name->setFocus();
    return false;
  }
  const auto accept = accepts;  // the dialog may be destroyed while the user is asked
  return !accept || accept(name());
}

bool CPresDlg::OnCommand(int id, int code, std::int64_t) {
  if (code != kCodeClicked) return false;
  if (id == kHelpButton) return m_help && m_help->ShowTopic(kPresetHelp) != 0;
  return id == kAnswerOk && !isComplete();  // handled: it stays open
}

}  // namespace quillbay
