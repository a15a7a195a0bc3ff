#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quillbay/app.h"
#include "widgets/dialog.h"

namespace Ui {
class PresDlg;
}

namespace quillbay {

/// "New preset": its name, which of the candidate pages take part (at first all), and a comment.
class CPresDlg final : public CDialog {
 public:
  /// Numbers of controls, beside those of OK and Cancel.
  enum Control : int { kHelpButton = 9, kName = 1601, kPages = 1602, kComment = 1603 };

  /// `pages`: the titles of the candidates. `app` gives the help and may be null.
  CPresDlg(QWidget* parent, IApp* app, const std::vector<std::string>& pages);
  ~CPresDlg() override;

  /// Asked about a name when OK is pressed; the dialog stays open unless it returns true. None: any name is good.
  std::function<bool(const std::string& name)> accepts;

  /// Without blanks around it.
  [[nodiscard]] std::string name() const;
  [[nodiscard]] std::string comment() const;
  /// The indices of the chosen candidates, ascending.
  [[nodiscard]] std::vector<int> chosenPages() const;

  bool OnCommand(int id, int code, std::int64_t value) override;

 private:
  /// Whether the dialog may end with what it holds.
  [[nodiscard]] bool isComplete();

  KxPtr<IHelp> m_help;
  std::unique_ptr<Ui::PresDlg> m_form;
};

}  // namespace quillbay
