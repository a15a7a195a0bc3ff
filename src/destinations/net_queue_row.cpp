#include "destinations/net_queue_row.h"

#include <QDesktopServices>
#include <QLabel>
#include <QUrl>
#include <algorithm>

#include "platform/base_services.h"

namespace quillbay {

std::string queueText(const std::vector<NetPage>& pages) {
  if (pages.empty()) return {};
  const auto stuck =
      std::find_if(pages.begin(), pages.end(), [](const NetPage& p) { return p.state == NetPage::Stuck; });
  const auto waiting =
      std::find_if(pages.begin(), pages.end(), [](const NetPage& p) { return p.state != NetPage::Stuck; });
  std::string text;
  if (waiting != pages.end()) {
    const auto count = std::count_if(pages.begin(), pages.end(), [&](const NetPage& p) {
      return p.state != NetPage::Stuck && p.folder == waiting->folder;
    });
    const bool waits = !waiting->why.empty();
    const char* pattern = waits ? (count == 1 ? "1 page waits for %s" : "%d pages wait for %s")
                                : (count == 1 ? "1 page is being sent to %s" : "%d pages are being sent to %s");
    std::vector<std::string> places{waiting->folder};
    if (count != 1) places.insert(places.begin(), toText(static_cast<std::int64_t>(count)));
    text = formatText(Supp_Translate(pattern), places);
    if (waits) text += ": " + waiting->why;
  }
  if (stuck == pages.end()) return text;
  if (!text.empty()) text += '\n';
  return text + formatText(Supp_Translate("%s cannot be sent: %s"), {fio::fileNameOf(stuck->file), stuck->why});
}

void NetQueueRow::show(const std::vector<NetPage>& pages) {
  const QString text = QString::fromStdString(queueText(pages));
  if (m_label->text() != text) {
    m_label->setText(text);
    m_label->setToolTip(text.isEmpty()
                            ? QString()
                            : QString::fromStdString(Supp_Translate(
                                  "These pages are kept on this computer, also when the program ends, and "
                                  "are sent when the folder is back")));
  }
  m_row->setVisible(!pages.empty());
}

void NetQueueRow::openFolder(const std::vector<NetPage>& pages, const std::string& hotFolder) {
  const bool isKept = !pages.empty() && !pages.front().why.empty();
  const std::string folder = isKept ? fio::folderOf(pages.front().kept) : hotFolder;
  if (!QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder))))
    logLine(LogLevel::Warning, "quillbay.net", "no program shows the folder " + folder);
}

}  // namespace quillbay
