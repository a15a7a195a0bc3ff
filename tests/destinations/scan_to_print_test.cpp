#include "destinations/scan_to_print.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <filesystem>

#include "destinations/cp_setup.h"
#include "platform/base_services.h"
#include "quillbay/print_templates.h"
#include "quillbay/storage.h"
#include "stores/simple_stor.h"
#include "support/panel_world.h"
#include "support/print_host.h"
#include "support/test_stripe.h"

namespace quillbay {
namespace {

/// The panel of Scan To Print over a host of the test's own, with a printing tool that logs.
struct PrintPanel : test::PanelWorld {
  PrintPanel() {
    params->setApp(host.get());
    ScanValues& v = params->quiet();
    v.mode = ScanToPrint;
    v.scanType = kAreaCustom;
    v.autodetect = 0;
    v.customScanValid = 0;
    v.rcScan = {0, 0, 25.4, 50.8};
    v.dpi = 100;
    open();
  }
  void open() {
    DestinationContext context;
    context.mode = ScanToPrint;
    context.params = params;
    context.controller = &controller;
    context.parent = &window;
    context.makeStore = [](eTarnwellMode) { return makeEmptyStore(); };
    to = makeDestination(context);
    panel = static_cast<CScanToPrint*>(to.get());
  }
  [[nodiscard]] std::string templatePath(const std::string& name) const {
    return dir.file("data/templates/PrintOptions/" + name + ".tpl");
  }
  void makeTemplate(const std::string& name, const std::string& printer) const {
    const auto set = new_MemParam();
    set->SetValue(print_key::PrinterName, printer);
    std::string why;
    ASSERT_EQ(Save_Template(tool_name::PrintOptions, templatePath(name), set.get(), &why), 1) << why;
  }
  void setCurrent(const std::string& printer) {
    const auto set = new_MemParam();
    set->SetValue(print_key::PrinterName, printer);
    ASSERT_EQ(app.as<IParamProvider>()->SetToolParams(tool_name::PrintOptions, set.get()), 1);
  }
  [[nodiscard]] std::vector<std::string> texts() const {
    std::vector<std::string> list;
    const auto* combo = panel->control<QComboBox>(CScanToPrint::kOptions);
    for (int i = 0; i < combo->count(); ++i) list.push_back(combo->itemText(i).toStdString());
    return list;
  }
  void load(const std::string& chosen, int copies = 1) {
    const auto set = new_MemParam();
    set->SetValue(kChosenOptionsKey, chosen);
    set->SetValue(print_key::Copies, copies);
    to->LoadParams(set.get());
  }
  [[nodiscard]] std::string target() const {
    std::string text;
    to->GetTargetText(&text);
    return text;
  }
  [[nodiscard]] std::string note() const {
    return panel->control<QLabel>(CScanToPrint::kNote)->text().toStdString();
  }
  void scan(std::int32_t lines) const {
    const auto stripe = test::newStripe(KxColorSpace::Grey, 40);
    for (std::int32_t i = 0; i < lines; ++i) stripe->add(test::Bytes(40, 17));
    params->destinationStore->AddStripe(stripe.get());
  }

  test::PrintLog log;
  KxPtr<test::PrintHost> host = KxPtr<test::PrintHost>::adopt(new test::PrintHost(app.as<IApp>(), log));
  QWidget window;
  std::unique_ptr<CScanTo> to;
  CScanToPrint* panel = nullptr;
};

TEST(ScanToPrint, ListsTheSetsOfOptionsAndKeepsTheChosenOne) {
  PrintPanel p;
  p.setCurrent("desk");
  p.makeTemplate("Plans", "plotter");
  p.makeTemplate("a map", "mapper");
  p.makeTemplate(".hidden", "none");
  test::writeFile(p.dir.file("data/templates/PrintOptions/notes.txt"), "");
  std::filesystem::create_directories(p.dir.file("data/templates/PrintOptions/folder.tpl"));
  p.open();
  EXPECT_EQ(p.texts(), (std::vector<std::string>{"<Current>", "<Auto>", "a map", "Plans"}));
  struct Case {
    std::string carried, target, kept;
  };
  const Case cases[] = {
      {"<Current>", "<Current> desk", "<Current>"},
      {"<Auto>", "<Auto> Auto Detect Printer", "<Auto>"},
      {p.templatePath("Plans"), "Plans plotter", p.templatePath("Plans")},
      {p.templatePath("gone"), "<Current> desk", "<Current>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.carried);
    p.load(c.carried, 3);
    EXPECT_EQ(p.target(), c.target);
    const auto kept = new_MemParam();
    EXPECT_EQ(p.to->SaveParams(kept.get()), 1);
    EXPECT_EQ(paramString(kept.get(), "CurrPrinter"), c.kept);
    EXPECT_EQ(paramInt(kept.get(), "PrintCopies"), 3);
  }
  p.setCurrent("another");
  EXPECT_EQ(p.target(), "<Current> another") << "the host's options were changed elsewhere";
}

TEST(ScanToPrint, PrintsWithTheChosenOptions) {
  struct Case {
    const char* why;
    std::string carried;
    int isAuto;
    const char* printer;
  };
  PrintPanel p;
  p.setCurrent("desk");
  p.makeTemplate("Plans", "plotter");
  const Case cases[] = {{"current", "<Current>", 0, "desk"},
                        {"automatic", "<Auto>", 1, "Auto Detect Printer"},
                        {"a template", p.templatePath("Plans"), 0, "plotter"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    p.load(c.carried, 4);
    p.log = {};
    ASSERT_EQ(p.to->BeginScan(), 1);
    EXPECT_EQ(p.log.title, "Image from scanner");
    IParam* options = p.log.options.get();
    EXPECT_EQ(paramInt(options, "AutoDetectPrintParameters"), c.isAuto);
    EXPECT_EQ(paramString(options, "PrinterName"), c.printer);
    EXPECT_EQ(paramInt(options, "PrintCopies"), 4);
    EXPECT_EQ(paramInt(options, "PageLines"), 200);
    EXPECT_EQ(paramInt(options, "PageWidth"), 100);
    EXPECT_EQ(paramInt(options, "PageDpi"), 100);
    p.scan(30);
    EXPECT_EQ(p.to->EndScan(0), 1);
    EXPECT_EQ(p.log.lines, 200) << "filled to the scan rectangle";
    EXPECT_EQ(p.log.ends, std::vector<int>{1});
    EXPECT_EQ(p.log.watched, 1);
    EXPECT_TRUE(p.params->destinationStore->IsEmpty()) << "an ordinary store is in the slot again";
    ASSERT_FALSE(p.notes.empty());
    EXPECT_NE(p.notes.back().find("12"), std::string::npos) << "the job's number";
  }
  const auto current = KxPtr<IParam>::adopt(p.app.as<IParamProvider>()->GetToolParams("PrintOptions"));
  EXPECT_EQ(paramInt(current.get(), "PrintCopies", -1), -1) << "the host's own set is copied";
  EXPECT_TRUE(p.messages.empty());
}

TEST(ScanToPrint, KnowsNoLengthWhereTheDocumentGivesIt) {
  struct Case {
    const char* why;
    int type, autodetect, fragment, lines;
    bool hasNote;
  };
  const Case cases[] = {{"custom size", kAreaCustom, 0, 0, 200, false},
                        {"a roll", kAreaFixedWidth, 0, 0, 0, true},
                        {"a roll whose width is found", kAreaAutoWidth, 0, 0, 0, true},
                        {"looked for after the job was opened", kAreaAuto, 8, 0, 0, false},
                        {"a fragment", kAreaAuto, 8, 1, 100, false}};
  PrintPanel p;
  p.load("<Auto>");
  p.params->quiet().offersDetection = true;
  p.params->quiet().rcCustomScan = {0, 0, 25.4, 25.4};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    p.params->quiet().autodetect = c.autodetect;
    p.params->quiet().customScanValid = c.fragment;
    p.params->set(scan_key::ScanType, c.type);
    EXPECT_EQ(!p.note().empty(), c.hasNote);
    ASSERT_EQ(p.to->BeginScan(), 1);
    EXPECT_EQ(paramInt(p.log.options.get(), "PageLines"), c.lines);
    p.to->EndScan(1);
  }
}

TEST(ScanToPrint, RefusesAndFailsWithAReasonAndGoesOn) {
  struct Case {
    const char* why;
    void (*arrange)(PrintPanel& p);
    const char* says;
  };
  const Case cases[] = {
      {"no printing tool", [](PrintPanel& p) { p.host->canPrint = false; }, "no printing tool"},
      {"refused", [](PrintPanel& p) { p.log.refusal = "plotter: stopped"; }, "plotter: stopped"},
      {"the template went",
       [](PrintPanel& p) {
         p.load(p.templatePath("Plans"));
         std::filesystem::remove(p.templatePath("Plans"));
       },
       "Plans.tpl"},
      {"the template is damaged",
       [](PrintPanel& p) {
         p.load(p.templatePath("Plans"));
         test::writeFile(p.templatePath("Plans"), "{\"format\": \"quillbay-set");
       },
       "Plans.tpl"},
      {"a template of another tool",
       [](PrintPanel& p) {
         p.load(p.templatePath("Plans"));
         ASSERT_EQ(Save_Template("Nesting", p.templatePath("Plans"), new_MemParam().get(), nullptr), 1);
       },
       "no template of print options"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    PrintPanel p;
    p.makeTemplate("Plans", "plotter");
    p.open();
    p.load("<Auto>");
    c.arrange(p);
    EXPECT_EQ(p.to->BeginScan(), 0);
    ASSERT_EQ(p.messages.size(), 1U);
    EXPECT_NE(p.messages[0].text.find(c.says), std::string::npos) << p.messages[0].text;
    EXPECT_NE(p.note().find(c.says), std::string::npos) << "in the panel, too";
    p.host->canPrint = true;
    p.log.refusal.clear();
    p.load("<Auto>");
    ASSERT_EQ(p.to->BeginScan(), 1);
    EXPECT_EQ(p.note(), "");
    p.scan(1);
    p.log.error = "plotter: out of paper";
    p.scan(1);
    EXPECT_EQ(p.to->EndScan(0), 0);
    ASSERT_EQ(p.messages.size(), 2U) << "told once";
    EXPECT_EQ(p.messages[1].text, "plotter: out of paper");
    EXPECT_EQ(p.log.watched, 0);
    p.log.error.clear();
    ASSERT_EQ(p.to->BeginScan(), 1) << "the next page is printed";
    EXPECT_EQ(p.to->EndScan(1), 0);
    EXPECT_EQ(p.log.ends.back(), 0);
  }
}

TEST(ScanToPrint, FollowsTheFolderOfTemplates) {
  PrintPanel p;
  const auto listOnce = [&](std::size_t count) {
    for (int i = 0; i < 1000 && p.texts().size() != count; ++i) {
      QApplication::processEvents();
      if (p.texts().size() != count) QThread::msleep(10);
    }
    return p.texts().size();
  };
  EXPECT_EQ(p.texts().size(), 2U) << "there is no folder yet";
  p.makeTemplate("Plans", "plotter");
  EXPECT_EQ(listOnce(3), 3U);
  p.load(p.templatePath("Plans"));
  std::filesystem::remove(p.templatePath("Plans"));
  EXPECT_EQ(listOnce(2), 2U);
  EXPECT_NE(p.note().find("Plans"), std::string::npos) << "what is chosen now is said";
}

/// Runs while the dialog that a step opens is shown.
void whileShown(PrintPanel& p, const std::function<void(CPSetup&)>& step, const std::function<void()>& open) {
  bool ran = false;
  QTimer::singleShot(0, &p.window, [&] {
    auto* dialog = p.panel->findChild<QWidget*>(QStringLiteral("PrintSetup"));
    ASSERT_TRUE(dialog);
    step(*static_cast<CPSetup*>(dialog));
    ran = true;
    static_cast<CPSetup*>(dialog)->EndDialog(kAnswerCancel);
  });
  open();
  EXPECT_TRUE(ran);
}

TEST(CPSetup, EditsTheCurrentOptionsAndTemplates) {
  PrintPanel p;
  p.setCurrent("ipp://127.0.0.1:1/desk");
  p.makeTemplate("Plans", "ipp://127.0.0.1:1/plotter");
  p.open();
  const auto accept = [](CPSetup& dialog) {
    EXPECT_TRUE(query<IEvents>(static_cast<IFaceFactory*>(&dialog))) << "the application answers through it";
    void* self = nullptr;
    EXPECT_EQ(dialog.QueryInterface(typeid(IFaceFactory), &self), 1);
    dialog.findChild<QSpinBox*>(QStringLiteral("percent"))->setValue(70);
    static_cast<QPushButton*>(dialog.GetDlgItem(kAnswerOk))->click();
  };
  const auto open = [&] { p.panel->OnCommand(CScanToPrint::kSetup, kCodeClicked, 0); };
  p.load("<Current>");
  whileShown(p, accept, open);
  const auto current = KxPtr<IParam>::adopt(p.app.as<IParamProvider>()->GetToolParams("PrintOptions"));
  EXPECT_EQ(paramDouble(current.get(), "PrintPercent"), 70);
  EXPECT_EQ(paramString(current.get(), "PrinterName"), "ipp://127.0.0.1:1/desk");

  p.load(p.templatePath("Plans"));
  whileShown(p, accept, open);
  const auto storage = new_Storage(p.templatePath("Plans"), StorageMode::Read);
  const auto owner = new_IXStorParam(storage.get(), "PrintOptions\\template", 0);
  const auto values = new_IXStorParam(storage.get(), "PrintOptions\\parameters", 0);
  ASSERT_TRUE(owner && values);
  EXPECT_EQ(paramString(owner.get(), ""), "PrintOptions");
  EXPECT_EQ(paramDouble(values.get(), "PrintPercent"), 70);
  EXPECT_EQ(paramString(values.get(), "PrinterName"), "ipp://127.0.0.1:1/plotter");

  p.load("<Auto>");
  open();  // beeps, and returns at once
}

TEST(CPSetup, SavesTemplatesUnderNamesThatFilesCanHave) {
  PrintPanel p;
  p.makeTemplate("Plans", "ipp://127.0.0.1:1/plotter");
  struct Case {
    const char* name;
    EventAnswer answer;
    bool saved;
    std::size_t messages;
  };
  const Case cases[] = {{"", EventAnswer::No, false, 1},      {".x", EventAnswer::No, false, 1},
                        {"a/b", EventAnswer::No, false, 1},   {"Plans", EventAnswer::No, false, 1},
                        {"Plans", EventAnswer::Yes, true, 1}, {"Übersicht 1:500", EventAnswer::No, true, 0}};
  CPSetup dialog(&p.window, p.host.as<IApp>(), &p.controller, new_MemParam(), {});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    p.answer = c.answer;
    p.messages.clear();
    EXPECT_EQ(dialog.saveAs(c.name), c.saved);
    EXPECT_EQ(p.messages.size(), c.messages);
  }
  EXPECT_TRUE(fio::exists(p.templatePath("Übersicht 1:500")));
  std::filesystem::remove_all(p.dir.file("data/templates"));
  test::writeFile(p.dir.file("data/templates"), "in the way");
  p.messages.clear();
  EXPECT_FALSE(dialog.saveAs("lost"));
  ASSERT_EQ(p.messages.size(), 1U);
  EXPECT_NE(p.messages[0].text.find("not saved"), std::string::npos);
}

}  // namespace
}  // namespace quillbay
