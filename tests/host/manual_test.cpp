// The manual has a page for every topic, and its links lead somewhere; messages are shown and answered.
#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>
#include <filesystem>
#include <set>

#include "host/message_window.h"
#include "temp_folder.h"

namespace quillbay {
namespace {

QString textOf(const QString& file) {
  QFile in(file);
  return in.open(QIODevice::ReadOnly) ? QString::fromUtf8(in.readAll()) : QString();
}

std::set<QString> matches(const QString& text, const char* pattern) {
  std::set<QString> found;
  for (auto all = QRegularExpression(pattern).globalMatch(text); all.hasNext();)
    found.insert(all.next().captured(1));
  return found;
}

/// The topics that the sources name.
std::set<QString> topicsOfSources() {
  std::set<QString> topics;
  for (const char* top : {"/src", "/libs", "/apps"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(std::string(QUILLBAY_SOURCE) + top)) {
      const QString file = QString::fromStdString(entry.path().string());
      if (file.endsWith(".cpp") || file.endsWith(".ui")) topics.merge(matches(textOf(file), "(IDH_\\w+)\\b"));
    }
  }
  return topics;
}

TEST(Manual, HasAPageForEveryTopicThatIsNamed) {
  std::set<QString> topics = topicsOfSources();
  EXPECT_GE(topics.size(), 10U);
  for (const QString& topic : topics) {
    EXPECT_FALSE(FindManualPage("QBHelp:" + topic.toStdString()).empty()) << topic.toStdString();
  }
  EXPECT_EQ(FindManualPage("Desk_scanner_2:IDH_ScanToFile"), "qrc:/quillbay/manual/scantofile.html");
  EXPECT_EQ(FindManualPage({}), "qrc:/quillbay/manual/index.html");
  for (const char* unknown : {"QBHelp:IDH_Nothing", "../../etc/passwd", "QBHelp:"}) {
    EXPECT_TRUE(FindManualPage(unknown).empty()) << unknown;
  }
}

TEST(Manual, ItsLinksResolveAndEveryPageIsReached) {
  ASSERT_FALSE(FindManualPage({}).empty());
  std::set<QString> linked{"index.html"};
  const QDir inside(":/quillbay/manual");
  for (const QString& name : inside.entryList()) {
    const QString text = textOf(inside.filePath(name));
    EXPECT_LT(text.count('\n'), 75) << name.toStdString();
    for (const QString& target : matches(text, "href=\"([^\"]*)\"")) {
      EXPECT_TRUE(inside.exists(target)) << name.toStdString() << " -> " << target.toStdString();
      if (target != name) linked.insert(target);
    }
  }
  const QStringList files = QDir(QUILLBAY_SOURCE "/docs/manual").entryList({"*.html"});
  EXPECT_EQ(files, inside.entryList()) << "every file is part of the program";
  for (const QString& name : files)
    EXPECT_TRUE(linked.count(name)) << name.toStdString() << " is reached by no link";
}

HostMessage message(int kind, const char* text, int buttons) {
  HostMessage m;
  m.kind = static_cast<EventKind>(kind);
  m.buttons = static_cast<EventButtons>(buttons);
  m.text = text;
  return m;
}

TEST(MessageWindows, EscapeAndReturnGiveTheHarmlessAnswer) {
  struct Case {
    const char* why;
    int kind, buttons;
    Qt::Key key;
    EventAnswer want;
  };
  const Case cases[] = {{"a question", 14, 1, Qt::Key_Escape, EventAnswer::No},
                        {"nothing is overwritten by Return", 14, 1, Qt::Key_Return, EventAnswer::No},
                        {"yes, on its button", 14, 1, Qt::Key_Space, EventAnswer::Yes},
                        {"giving up", 16, 3, Qt::Key_Escape, EventAnswer::GiveUp},
                        {"trying again", 16, 3, Qt::Key_Return, EventAnswer::Retry},
                        {"the next page of a batch", 14, 2, Qt::Key_Return, EventAnswer::Ok},
                        {"the end of a batch", 14, 2, Qt::Key_Escape, EventAnswer::GiveUp},
                        {"information", 12, 7, Qt::Key_Escape, EventAnswer::Ok}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    MessageWindow window(message(c.kind, "Text", c.buttons), nullptr, nullptr);
    EXPECT_EQ(window.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Help), nullptr);
    QTimer::singleShot(0, &window, [&] {
      QWidget* yes = window.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Yes);
      QTest::keyClick(c.key == Qt::Key_Space ? yes : &window, c.key);
    });
    EXPECT_EQ(window.ask(), c.want);
  }
}

TEST(MessageWindows, HelpOpensTheTopicAndLeavesTheMessage) {
  const TempFolder folder;
  HostOptions options = folder.options();
  options.interactive = true;
  QWidget manual;
  QStringList pages;
  options.showManual = [&](const std::string& page) {
    pages += QString::fromStdString(page);
    return &manual;
  };
  const auto app = New_HostApp(options);
  EXPECT_EQ(app.as<IHelp>()->ShowTopic("QBHelp:IDH_Nothing"), 1);
  const auto events = app.as<IEvents>();
  bool stayed = false, reachable = false;
  QTimer::singleShot(0, [&] {
    auto* window = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(window, nullptr);
    window->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Help)->click();
    stayed = window->isVisible();
    manual.setFocus();
    reachable = manual.isVisible() && manual.windowHandle()->transientParent() == window->windowHandle();
    window->reject();
  });
  EXPECT_EQ(events->Message(14, "Overwrite?$QBHelp:IDH_QB_OverWrite$", 0, 1), 2);
  EXPECT_TRUE(stayed);
  EXPECT_TRUE(reachable) << "a modal window lets through only what belongs to it";
  EXPECT_EQ(pages, QStringList({"qrc:/quillbay/manual/index.html", "qrc:/quillbay/manual/qb_overwrite.html"}));

  options.interactive = false;
  EXPECT_FALSE(New_HostApp(options).as<IHelp>());
}

TEST(MessageWindows, NameTheFolderAndWrapLongPaths) {
  HostMessage full = message(12, "Cannot write", 7);
  full.event = kEventCannotWrite;
  full.path = "/srv/" + std::string(300, 'm') + "/map1.tif";
  full.cause = "The file cannot be written: permission denied";
  const MessageTexts texts = messageTexts(full);
  EXPECT_EQ(texts.text, "/srv/" + std::string(300, 'm') + "\n\n" + full.cause);
  MessageWindow window(full, nullptr, nullptr);
  window.show();
  EXPECT_LE(window.width(), 800);
  const auto* shown = window.findChild<QTextEdit*>();
  EXPECT_TRUE(shown->toPlainText().contains(QString(300, 'm'))) << "it can be copied as it is";
  EXPECT_TRUE(shown->textInteractionFlags() & Qt::TextSelectableByMouse);
  EXPECT_GE(shown->height(), shown->document()->size().height() - 1);
}

}  // namespace
}  // namespace quillbay
