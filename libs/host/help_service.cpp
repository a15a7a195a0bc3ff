#include "host/help_service.h"

#include <QApplication>
#include <QFile>
#include <QTextBrowser>
#include <QWindow>
#include <memory>

#include "platform/base_services.h"

/// The pages' resource, which a static library's linker would leave out. Outside of every namespace: the tool that
/// makes resources wants it so.
static void loadManual() { Q_INIT_RESOURCE(manual); }

namespace quillbay {

namespace {

constexpr const char* kFolder = ":/quillbay/manual/";
constexpr const char* kFirstPage = "index";

/// "MaskEmpty" of "QBHelp:IDH_MaskEmpty", "tab_main" of "QBHelp:IDH_quillbay_tab_main"; in lower case.
QString pageName(std::string_view topic) {
  QString name = QString::fromUtf8(topic.data(), static_cast<qsizetype>(topic.size())).section(':', -1).toLower();
  for (const char* prefix : {"idh_", "quillbay_"}) {
    if (name.startsWith(QLatin1String(prefix))) name.remove(0, static_cast<qsizetype>(qstrlen(prefix)));
  }
  return name;
}

/// Over everything, an open message too: a modal window lets through what belongs to it.
void bringToFront(QWidget& window) {
  window.show();
  if (window.isMinimized()) window.showNormal();
  const QWidget* modal = QApplication::activeModalWidget();
  if (window.windowHandle() && modal != &window) {
    window.windowHandle()->setTransientParent(modal ? modal->windowHandle() : nullptr);
  }
  window.raise();
  window.activateWindow();
}

}  // namespace

std::string FindManualPage(std::string_view topic) {
  loadManual();
  const QString name = topic.empty() ? QString(kFirstPage) : pageName(topic);
  const QString file = kFolder + name + ".html";
  return QFile::exists(file) ? "qrc" + file.toStdString() : std::string();
}

CHostHelp::~CHostHelp() { delete m_plain.data(); }

int CHostHelp::ShowTopic(const char* topic) {
  const std::string wanted = topic ? topic : "";
  std::string page = FindManualPage(wanted);
  if (page.empty()) {
    logLine(LogLevel::Warning, "quillbay.host", "the manual has no page for the topic \"" + wanted + "\"");
    page = FindManualPage({});
  }
  QWidget* window = m_show ? m_show(page) : showPlainly(page);
  if (!window) return 0;
  bringToFront(*window->window());
  return 1;
}

QWidget* CHostHelp::showPlainly(const std::string& page) {
  auto* browser = qobject_cast<QTextBrowser*>(m_plain.data());
  if (!browser) {
    auto made = std::make_unique<QTextBrowser>();
    made->setWindowTitle(QApplication::applicationDisplayName() + " - " +
                         QString::fromStdString(Supp_Translate("Manual")));
    made->setAccessibleName(QString::fromStdString(Supp_Translate("Manual")));
    made->setAttribute(Qt::WA_QuitOnClose, false);  // the program ends without asking for it
    made->resize(640, 560);
    browser = made.release();
    m_plain = browser;
  }
  browser->setSource(QUrl(QString::fromStdString(page)));
  return browser;
}

}  // namespace quillbay
