#include "desktop_fixture.h"
#include "net/net_commands.h"
#include "net/net_dialog.h"
#include "quillbay/scan_server.h"

namespace desktop {
namespace {

class NetTest : public DesktopTest {
 protected:
  /// Acts on the dialog that something opens, once it is there.
  void onDialog(const std::function<void(NetDialog&)>& act) {
    QTimer::singleShot(0, window.get(), [this, act] {
      auto* dialog = qobject_cast<NetDialog*>(QApplication::activeModalWidget());
      dialog ? act(*dialog) : onDialog(act);
    });
  }
  [[nodiscard]] std::string hot() const { return dir.file("hot/"); }
};

TEST_F(NetTest, WithoutClientsTheProgramOffersToSetThemUp) {
  open();
  messages.clear();
  EXPECT_FALSE(window->setMode(quillbay::ScanToNet));
  EXPECT_EQ(messages.size(), 1);
  EXPECT_NE(control(), nullptr) << "the panel before stays";
  window->prompts().message = [](const quillbay::HostMessage&) { return quillbay::EventAnswer::Yes; };
  std::filesystem::create_directory(dir.file("hot"));
  onDialog([&](NetDialog& dialog) {
    const auto fields = dialog.findChildren<QLineEdit*>();
    ASSERT_EQ(fields.size(), 2);
    fields[0]->setText(QString::fromStdString(dir.file("hot")));
    fields[1]->setText("a/b");
    dialog.accept();
    EXPECT_TRUE(dialog.isVisible()) << "a name that no client can have";
    fields[1]->setText("PC1");
    dialog.accept();
  });
  ASSERT_TRUE(window->setMode(quillbay::ScanToNet));
  EXPECT_EQ(quillbay::ListNetClients().at(0).text, "KX:\\\\PC1");
  smallPages();
  ASSERT_TRUE(scan());
  EXPECT_EQ(quillbay::OpenNetQueue()->Wait(60000), 0);
  EXPECT_TRUE(std::filesystem::exists(hot() + "scan000.ini"));
  EXPECT_TRUE(pages().empty()) << "its server takes the page away";
}

TEST_F(NetTest, PagesThatWaitAreListedAndCanBeDeleted) {
  open();
  std::string why;
  ASSERT_TRUE(quillbay::SetNetServer({hot(), {"PC1"}}, &why)) << why;
  ASSERT_TRUE(window->setMode(quillbay::ScanToNet));
  smallPages();
  ASSERT_TRUE(scan());
  const auto queue = quillbay::OpenNetQueue();
  ASSERT_TRUE(waitFor([&] { return !queue->GetPages().empty() && !queue->GetPages()[0].why.empty(); }));
  auto* next = window->panelDock().panel()->findChild<QLineEdit*>("nextName");
  EXPECT_TRUE(waitFor([&] { return next->text() == "scan001.tif"; })) << next->text().toStdString();
  window->close();
  window.reset();  // and they are there in the next run
  agreed.clear();
  open();
  onDialog([&](NetDialog& dialog) {
    auto* list = dialog.findChild<QTreeWidget*>();
    ASSERT_EQ(list->topLevelItemCount(), 1);
    EXPECT_TRUE(list->topLevelItem(0)->text(2).startsWith("Waits: "));
    list->setCurrentItem(list->topLevelItem(0));
    for (QPushButton* button : dialog.findChildren<QPushButton*>())
      if (button->text() == "&Delete page...") button->click();
    EXPECT_EQ(agreed.size(), 1);
    EXPECT_TRUE(waitFor([&] { return list->topLevelItemCount() == 0; }));
    dialog.reject();
  });
  EXPECT_FALSE(window->net().setUp());
  EXPECT_TRUE(queue->GetPages().empty());
  // A mode whose server is gone is not asked about at the start.
  ASSERT_TRUE(quillbay::SetNetServer({hot(), {}}, &why)) << why;
  window.reset();
  messages.clear();
  open();
  EXPECT_TRUE(messages.empty());
}

}  // namespace
}  // namespace desktop
