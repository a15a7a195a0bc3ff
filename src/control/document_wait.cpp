#include "control/document_wait.h"

#include <QMessageBox>
#include <QTimer>

#include "control/command_ids.h"
#include "platform/base_services.h"
#include "platform/post_command.h"

namespace quillbay {

namespace {
constexpr int kPollMs = 250;
}

void DocumentWait::begin() {
  close();
  m_box = new QMessageBox(QMessageBox::NoIcon, m_panel->windowTitle(),
                          QString::fromStdString(Supp_Translate("Wait for original loading....")),
                          QMessageBox::Cancel, m_panel);
  m_box->setAttribute(Qt::WA_DeleteOnClose);
  auto* timer = new QTimer(m_box);
  QWidget* panel = m_panel;
  QObject::connect(timer, &QTimer::timeout, m_box,
                   [panel] { PostCommand(panel, command::kPollDocument, 1, 0, true); });
  QObject::connect(m_box, &QMessageBox::finished, m_panel, [panel](int result) {
    if (result == QMessageBox::Cancel) PostCommand(panel, command::kWaitCancelled, 1);
  });
  timer->start(kPollMs);
  m_box->open();
}

void DocumentWait::close() {
  if (m_box) m_box->done(QMessageBox::Close);
  m_box = nullptr;
}

}  // namespace quillbay
