#pragma once
#include <QWidget>
#include <string>
#include <vector>

#include "quillbay/scan_server.h"

class QLabel;

namespace quillbay {

/// What the queue is doing, for users: "3 pages wait for /hot/: there is no such folder". Empty for an empty queue.
[[nodiscard]] std::string queueText(const std::vector<NetPage>& pages);

/// Shows the pages that wait for their servers, while there are any. User-interface thread.
class NetQueueRow {
 public:
  /// `row` holds the label and its buttons.
  NetQueueRow(QWidget* row, QLabel* label) : m_row(row), m_label(label) {}
  void show(const std::vector<NetPage>& pages);
  /// Shows the hot folder, or while pages wait for it, where the first of them is kept.
  static void openFolder(const std::vector<NetPage>& pages, const std::string& hotFolder);

 private:
  QWidget* m_row;
  QLabel* m_label;
};

}  // namespace quillbay
