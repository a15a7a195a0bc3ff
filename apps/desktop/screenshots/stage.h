#pragma once
#include <QDir>
#include <QPixmap>
#include <QTemporaryDir>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "quillbay/control.h"
#include "quillbay/scanner.h"
#include "window/main_window.h"

namespace desktop {

/// The program's window on a simulated scanner, and what is needed to take pictures of it in the palette that is
/// set. What returns a bool returns false when it did not succeed.
class Stage {
 public:
  /// `colours` becomes a part of the pictures' names.
  Stage(const QString& folder, const QString& colours);

  [[nodiscard]] MainWindow& window() noexcept { return m_window; }
  [[nodiscard]] quillbay::IScanManager* manager() const noexcept { return m_manager.get(); }
  [[nodiscard]] quillbay::IQuillbayControl* control();
  [[nodiscard]] QWidget* panel();
  /// A file for what a picture needs.
  [[nodiscard]] QString scratch(const QString& name) const { return m_settings.filePath(name); }
  void set(const char* key, const quillbay::CKxVariant& value) { control()->SetParam(key, value, nullptr); }
  [[nodiscard]] quillbay::CKxVariant get(const char* key);
  [[nodiscard]] int modeNow();
  /// Settings of the panel's pages; they are taken over from the event loop.
  void apply(const std::vector<std::pair<std::string, quillbay::CKxVariant>>& values);

  bool use(const std::string& device);
  void choose(QSizeF size, int mode, int dpi);
  bool scan(QSizeF size, int mode, int dpi);
  bool preview();

  bool save(QWidget& widget, const QString& name);
  bool save(const QPixmap& picture, const QString& name);
  /// The panel with a page of its mode.
  bool saveTab(int tab, const QString& name);
  /// The window that `ask` opens, which is closed then.
  bool saveModal(const QString& name, const std::function<void()>& ask);
  /// The window with something that is open over it.
  [[nodiscard]] QPixmap over(QWidget& popup);
  /// The window with an open menu over it.
  [[nodiscard]] QPixmap withMenu(const QString& title);

  /// Runs the event loop until something holds; false after a long time.
  static bool waitFor(const std::function<bool()>& holds);

 private:
  const QDir m_folder;
  const QString m_suffix;
  QTemporaryDir m_settings;
  MainWindow m_window;
  const quillbay::KxPtr<quillbay::IScanManager> m_manager;
};

}  // namespace desktop
