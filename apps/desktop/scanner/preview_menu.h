#pragma once
#include <QObject>
#include <vector>

#include "quillbay/preview_control.h"

class QAction;
class QMenu;

namespace desktop {

class PanelDock;

/// The program's commands about the panel's preview.
class PreviewMenu : public QObject {
  Q_OBJECT
 public:
  PreviewMenu(PanelDock* dock, QObject* parent);

  /// Adds the commands as a menu of their own.
  QMenu* fill(QMenu* menu);

 signals:
  /// A key gave a command that is not possible now.
  void refused(const QString& why);

 private:
  struct Entry {
    quillbay::PreviewCommand command;
    QAction* action;
  };
  void add(QMenu* menu, quillbay::PreviewCommand command, const QString& text, const QString& key,
           const QString& tip, bool toggles = false);
  void give(quillbay::PreviewCommand command);
  [[nodiscard]] QString whyNot(quillbay::PreviewCommand command) const;
  /// Shows what is possible while the menu is open.
  void update();
  /// Outside of the menu the panel itself decides what a key does.
  void enableKeys();

  PanelDock* m_dock;
  std::vector<Entry> m_entries;
  QAction* m_floats = nullptr;
};

}  // namespace desktop
