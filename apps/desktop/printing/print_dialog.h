#pragma once
#include <QDialog>

#include "quillbay/app.h"
#include "quillbay/param.h"
#include "quillbay/raster.h"
#include "quillbay/tools.h"

class QButtonGroup;
class QComboBox;

namespace desktop {

enum class PrintedPages { Current, Selected, All };

/// Asks which pages to print and how: the host's page of print options, with the ones of the last print or a
/// template.
class PrintDialog final : public QDialog, private quillbay::IToolSite {
  Q_OBJECT
 public:
  /// @param page      the page that the drawing shows; not null
  /// @param selected  how many pages are selected
  /// @param all       how many there are
  PrintDialog(quillbay::IApp* app, quillbay::IRStor* page, int selected, int all, QWidget* parent);
  ~PrintDialog() override;

  [[nodiscard]] PrintedPages pages() const;
  /// What was chosen, after the dialog was accepted.
  [[nodiscard]] const quillbay::KxPtr<quillbay::IParam>& options() const { return m_options; }
  void accept() override;

 private:
  void ToolChanged() override {}
  int GetPicture(quillbay::ToolPicture*) override { return 0; }
  int Pick() override { return 0; }
  void EndPick() override {}

  QWidget* makeScope(int selected, int all);
  QWidget* makeTemplates();
  QWidget* makeButtons();
  QWidget* makePage();
  void showOptions(quillbay::IParam* options);
  void takeTemplate(int index);

  quillbay::IApp* m_app;
  quillbay::KxPtr<quillbay::IRStor> m_page;
  quillbay::KxPtr<quillbay::IPanelTool> m_tool;
  quillbay::KxPtr<quillbay::IParam> m_options;
  QButtonGroup* m_scope = nullptr;
  QComboBox* m_templates = nullptr;
};

}  // namespace desktop
