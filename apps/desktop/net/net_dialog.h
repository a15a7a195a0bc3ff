#pragma once
#include <QDialog>
#include <functional>
#include <memory>

#include "quillbay/scan_server.h"

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTreeWidget;

namespace desktop {

/// Sets up the scan server: its hot folder, which it tries, and its clients; and shows the pages that wait for it.
class NetDialog : public QDialog {
  Q_OBJECT
 public:
  /// `agree` asks whether to do what a question warns of; `help` opens the manual at a topic.
  NetDialog(quillbay::KxPtr<quillbay::INetQueue> queue,
            std::function<bool(const QString& question, const QString& yes)> agree,
            std::function<void(const std::string& topic)> help, QWidget* parent);
  ~NetDialog() override;
  /// Saves hot folder and clients; what cannot be saved is said in the dialog, which stays open.
  void accept() override;

 private:
  QWidget* makeServer();
  QWidget* makeClients();
  QWidget* makeQueue();
  QDialogButtonBox* makeButtons();
  void browse();
  void addClient();
  void tryFolder();
  void showFolder(const quillbay::HotFolderState& state);
  void showQueue();
  void updateButtons();
  [[nodiscard]] std::string selectedPage() const;
  void removePage();
  void reassignPage();
  void say(const QString& text);

  const quillbay::KxPtr<quillbay::INetQueue> m_queue;
  const std::function<bool(const QString&, const QString&)> m_agree;
  const std::function<void(const std::string&)> m_help;
  QLineEdit *m_folder, *m_name;
  QLabel *m_state, *m_problem;
  QListWidget* m_clients;
  QTreeWidget* m_pages;
  QPushButton *m_try, *m_remove, *m_removePage, *m_reassign, *m_tryNow;
  int m_asked = 0;  // folders that were tried; only the last one's answer counts
  int m_advice = 0;
};

/// One line about a hot folder, for users.
[[nodiscard]] QString folderText(const quillbay::HotFolderState& state);

}  // namespace desktop
