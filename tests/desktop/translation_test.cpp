#include "quillbay/translation.h"

#include "desktop_fixture.h"
#include "window/toolkit_texts.h"

namespace desktop {
namespace {

/// A pseudo-language: every text in brackets that no English text has. A help topic stays at the end.
std::string bracketed(std::string_view english) {
  const auto topic = english.ends_with('$') ? english.rfind('$', english.size() - 2) : std::string_view::npos;
  const std::string_view text = english.substr(0, topic);
  return "\u27e8" + std::string(text) + "\u27e9" + std::string(english.substr(text.size()));
}

/// Texts that no catalogue has: names, numbers with their units, paths, and what a device says of itself.
bool isData(const QString& text) {
  static const QRegularExpression kWords("[A-Za-z]{3,}");
  static const QStringList kPapers{"Letter", "Legal", "Tabloid"};
  static const QRegularExpression kPath("^[~/.]|\\.(tif|png)$");
  return !text.contains(kWords) || text.contains(kPath) || text == "Quillbay" || text == "scan" ||
         text.startsWith("sim:") || text.startsWith("ISO") || text.startsWith("ANSI") || text.startsWith("ARCH") ||
         kPapers.contains(text);
}

/// What a user can see of a window, each with the object that shows it.
QStringList shownTexts(QWidget& window) {
  QStringList texts;
  const auto add = [&](const QObject* of, const QString& text) {
    if (!isData(text)) texts += QString("%1 %2: %3").arg(of->metaObject()->className(), of->objectName(), text);
  };
  for (const QAction* action : window.findChildren<QAction*>()) add(action, action->text());
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    add(widget, widget->toolTip());
    add(widget, widget->accessibleName());
    if (const auto* label = qobject_cast<QLabel*>(widget)) add(widget, label->text());
    if (const auto* button = qobject_cast<QAbstractButton*>(widget)) add(widget, button->text());
    if (const auto* group = qobject_cast<QGroupBox*>(widget)) add(widget, group->title());
    if (const auto* tabs = qobject_cast<QTabBar*>(widget))
      for (int i = 0; i < tabs->count(); ++i) add(widget, tabs->tabText(i));
    if (const auto* combo = qobject_cast<QComboBox*>(widget))
      for (int i = 0; i < combo->count(); ++i) add(widget, combo->itemText(i));
  }
  return texts;
}

class TranslationTest : public DesktopTest {
 protected:
  void SetUp() override {
    quillbay::SetTranslator(&bracketed);
    QApplication::installTranslator(&m_texts);
  }
  void TearDown() override {
    window.reset();
    QApplication::removeTranslator(&m_texts);
    quillbay::SetTranslator(nullptr);
  }

 private:
  ToolkitTexts m_texts;
};

TEST_F(TranslationTest, ATranslatorReachesEveryTextOfPanelAndProgram) {
  open();
  const QStringList texts = shownTexts(*window);
  EXPECT_GT(texts.size(), 100);
  // Prompt and tip of a button are the two halves of one text.
  for (const QString& text : texts)
    EXPECT_TRUE(text.contains(u'\u27e8') || text.contains(u'\u27e9')) << text.toStdString();
}

}  // namespace
}  // namespace desktop
