#include "destinations/scan_to_view.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <algorithm>
#include <filesystem>

#include "destinations/file_names.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/raster.h"
#include "support/panel_world.h"

namespace quillbay {
namespace {

using test::NotingStore;

/// A destination panel, with the store that it installed last at hand.
struct Panel : test::PanelWorld {
  explicit Panel(eTarnwellMode mode) {
    params->quiet().mode = mode;
    DestinationContext context;
    context.mode = mode;
    context.params = params;
    context.controller = &controller;
    context.parent = &window;
    context.makeStore = [this](eTarnwellMode) {
      store = KxPtr<NotingStore>::adopt(new NotingStore);
      ++stores;
      return KxPtr<ISStripStor>::share(store.get());
    };
    context.chooseFolder = [this](CWnd*, const std::string&) { return chosen; };
    to = makeDestination(context);
    panel = static_cast<CScanToView*>(to.get());
    params->quiet().dir = dir.file("out");
    params->quiet().hasScriptSyntax = true;
    stores = 0;
  }
  void saveTo(bool on) {
    const auto set = new_MemParam();
    set->SetValue("m_fUseFileOut", on ? 1 : 0);
    to->LoadParams(set.get());
  }
  /// What the controller does before a page, and what it does when the scanner starts.
  [[nodiscard]] bool begin(bool isLast = true) {
    if (!to->BeginScan()) return false;
    const PageDraft draft = panel->draft(isLast);
    panel->pageStarted(makePageTarget(draft, {draft.names.values.colorSpace, 100, -1}));
    return true;
  }
  [[nodiscard]] std::string nextName() const {
    return panel->control<QLineEdit>(CScanToView::kNextName)->text().toStdString();
  }
  /// The name that the panel shows once it was found; after ten seconds whatever it shows then.
  [[nodiscard]] std::string nextNameOnce(const std::string& wanted) const {
    for (int i = 0; i < 1000 && nextName() != wanted; ++i) {
      QApplication::processEvents();
      if (nextName() != wanted) QThread::msleep(10);
    }
    return nextName();
  }
  QWidget window;
  KxPtr<NotingStore> store;
  int stores = 0;
  std::string chosen;
  std::unique_ptr<CScanTo> to;
  CScanToView* panel = nullptr;
};

TEST(PageTarget, LeastLengthByAreaType) {
  ScanValues v;
  v.rcScan = {0, 10, 100, 307};
  v.rcCustomScan = {0, 0, 50, 25.4};
  v.dpi = 300;
  const std::tuple<int, int, int> cases[] = {{kAreaAuto, 0, 3507},    {kAreaAutoWidth, 0, 0},
                                             {kAreaFixedWidth, 0, 0}, {kAreaCustom, 0, 3507},
                                             {kAreaPaper, 0, 3507},   {kAreaCustom, 1, 300}};
  for (const auto& [type, fragment, want] : cases) {
    v.scanType = type;
    v.customScanValid = fragment;
    EXPECT_EQ(leastPageLines(v), want) << type << fragment;
  }
}

TEST(ScanToFile, RefusesAnEmptyFolderOrMask) {
  Panel p(ScanToFile);
  p.params->quiet().mask.clear();
  EXPECT_EQ(p.to->BeginScan(), 0);
  ASSERT_EQ(p.messages.size(), 1U);
  EXPECT_EQ(p.messages[0].helpTopic, "QBHelp:IDH_MaskEmpty");
  EXPECT_EQ(p.stores, 0);
}

TEST(ScanToFile, EndsOfAPage) {
  struct Case {
    const char* why;
    int cancelled, multiPage;
    const char* error;
    int answer, counter, stores;
    std::size_t messages;
  };
  const Case cases[] = {
      {"taken", 0, 0, "", 1, 1, 1, 0},
      {"multi-page keeps the counter", 0, 1, "", 1, 0, 1, 0},
      {"cancelled: a fresh store", 1, 0, "", 0, 0, 2, 0},
      {"the writer failed", 0, 0, "write scan000.tif: no space left", 0, 0, 1, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    Panel p(ScanToFile);
    p.params->quiet().multiPage = c.multiPage;
    p.params->quiet().scanType = kAreaCustom;
    p.params->quiet().dpi = 254;  // the scanner delivers 100
    ASSERT_TRUE(p.begin());
    const KxPtr<NotingStore> used = p.store;
    used->error = c.error;
    p.params->quiet().dpi = 600;  // a setting that changes while the page runs is not the page's
    EXPECT_EQ(p.to->EndScan(c.cancelled), c.answer);
    EXPECT_EQ(p.params->values().counter, c.counter);
    EXPECT_EQ(p.stores, c.stores);
    EXPECT_EQ(p.params->destinationStore.get(), static_cast<ISStripStor*>(p.store.get()));
    EXPECT_EQ(used->resets, c.cancelled || *c.error ? 1 : 0) << "an error is told once";
    EXPECT_EQ(used->finishedWith, c.cancelled ? -1 : 393);
    ASSERT_EQ(p.messages.size(), c.messages);
    if (c.messages) {
      EXPECT_EQ(p.messages[0].text, c.error);
    }
  }
}

/// Adds a page to the part of `path`, as a page of a run that goes on.
void growPart(const std::string& path) {
  const auto channel = new_FileChanel(nullptr, path, nullptr, nullptr);
  PageTarget target;
  target.path = path;
  target.joinsPart = true;
  target.isLast = false;
  channel->SetTarget(target);
  ASSERT_EQ(channel.as<IKxRasterSavePagedChanel>()->Save(new_IRStor(KxColorSpace::Grey, 8, 4, 100).get(), nullptr),
            1);
  channel->Commit();
}

TEST(ScanToFile, APageOfARunJoinsTheFileOfTheFirst) {
  static std::int64_t s_now = 0;
  s_now = 1767607629;
  setEnvironment({nullptr, [] { return s_now; }});
  Panel p(ScanToFile);
  p.params->quiet().multiPage = 1;
  p.params->quiet().mask = "plan <TIME>";
  ASSERT_TRUE(p.begin(false));
  const std::string file = p.params->values().outputFile;
  growPart(file);
  ASSERT_EQ(p.to->EndScan(0), 1);
  ++s_now;
  ASSERT_TRUE(p.begin(false));
  EXPECT_EQ(p.params->values().outputFile, file);
  ASSERT_EQ(p.to->EndScan(1), 0);
  EXPECT_TRUE(p.messages.empty()) << "its part is no leftover";
  const RunFile end = p.panel->endRun();
  EXPECT_EQ(end.fate, RunFile::Fate::Published) << "the page before the stopped one";
  EXPECT_EQ(end.pages, 1);
  EXPECT_TRUE(std::filesystem::exists(file));
  ASSERT_TRUE(p.begin(false));
  EXPECT_NE(p.params->values().outputFile, file) << "another run";
  setEnvironment({});
}

TEST(ScanToFile, ANameThatWasTakenMeanwhile) {
  struct Case {
    const char* why;
    std::int32_t multiPage, fate;
    bool isLast;  ///< the page ends its file; otherwise the run does
    EventAnswer answer;
    const char* name;  ///< that the pages get; empty: they stay in the part
    bool replaced;
  };
  const Case cases[] = {
      {"a run of several pages", 1, kFateIncrement, false, EventAnswer::No, "plan000.tif", false},
      {"its last page", 1, kFateIncrement, true, EventAnswer::No, "plan000.tif", false},
      {"a run, existing files are replaced", 1, kFateOverwrite, false, EventAnswer::Yes, "", false},
      {"its last page likewise", 1, kFateAsk, true, EventAnswer::Yes, "", false},
      {"a page of its own", 0, kFateIncrement, true, EventAnswer::No, "plan001.tif", false},
      {"a page of its own, asked, no", 0, kFateAsk, true, EventAnswer::No, "", false},
      {"a page of its own, asked, yes", 0, kFateAsk, true, EventAnswer::Yes, "plan000.tif", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    Panel p(ScanToFile);
    ScanValues& v = p.params->quiet();
    v.mask = "plan";
    v.multiPage = c.multiPage;
    v.fileFate = c.fate;
    p.answer = c.answer;
    ASSERT_TRUE(p.begin(c.isLast));
    const std::string file = v.outputFile;
    growPart(file);
    test::writeFile(file, "somebody's work");
    if (c.isLast) {
      p.store->error = "the name was taken";
      p.store->written = 1;
    }
    const bool kept = *c.name != 0;
    EXPECT_EQ(p.to->EndScan(0), c.isLast && !kept ? 0 : 1);
    const RunFile end = p.panel->endRun();
    EXPECT_EQ(end.fate, c.isLast ? RunFile::Fate::None : kept ? RunFile::Fate::Published : RunFile::Fate::Failed);
    EXPECT_EQ(test::readFile(file) == "somebody's work", !c.replaced);
    EXPECT_EQ(std::filesystem::exists(file + ".part"), !kept);
    const auto told = std::count_if(p.messages.begin(), p.messages.end(), [&](const HostMessage& m) {
      return m.text.find(file + ".part") != std::string::npos;
    });
    EXPECT_EQ(told, kept ? 0 : 1);
    if (!kept) continue;
    EXPECT_TRUE(std::filesystem::exists(p.dir.file("out/" + std::string(c.name))));
    if (c.isLast) {
      EXPECT_EQ(v.outputFile, p.dir.file("out/" + std::string(c.name)));
    } else {
      EXPECT_EQ(end.file, p.dir.file("out/" + std::string(c.name)));
    }
  }
}

TEST(ScanToView, HandsThePageOnWithAndWithoutSaving) {
  struct Case {
    const char* why;
    bool save, scripts;
    int multiPage, batch;
    const char* refused;
    std::vector<std::string> commands;
    int answer, counter;
  };
  const std::string add = "IntAddRaster", post = "post-processing";
  const Case cases[] = {
      {"not saved", false, true, 0, 0, "", {add, post}, 1, 0},
      {"saved by a script", true, true, 0, 1, "", {add, post, "ProcessScript"}, 1, 1},
      {"a host without scripts", true, false, 0, 0, "", {add, post}, 1, 0},
      {"added to the document", true, true, 1, 0, "", {add, post, "IntAddPage"}, 1, 0},
      {"the host takes no page more", true, true, 1, 0, "IntAddPage", {add, post, "IntAddPage"}, 0, 0},
      {"the host refuses the raster", true, true, 0, 0, "IntAddRaster", {add, post, "ProcessScript"}, 1, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    Panel p(ScanToView);
    p.saveTo(c.save);
    ScanValues& v = p.params->quiet();
    v.hasScriptSyntax = c.scripts;
    v.multiPage = c.multiPage;
    v.batch = c.batch;
    p.controller.refused = c.refused;
    v.outputFile = "an earlier page's";
    ASSERT_TRUE(p.begin());
    EXPECT_EQ(std::filesystem::exists(p.dir.file("out")), c.save) << "no file checks without a file";
    p.store->raster = new_IRStor(KxColorSpace::Grey, 8, 4, 100);
    p.controller.onCommand = [&](const std::string& name, IParam* arguments) {
      if (name == add) {
        const std::string file = c.multiPage ? "out/scan.tif" : "out/scan000.tif";
        EXPECT_EQ(paramString(arguments, "FileName"), p.dir.file(file));
        EXPECT_EQ(paramInt(arguments, "Multipage", -1), c.multiPage ? 1 : -1);
        EXPECT_EQ(paramInt(arguments, "BatchScan", -1), c.batch ? 1 : -1);
        const CKxVariant raster = paramValue(arguments, "RStor");
        ASSERT_TRUE(raster.get<KxPtr<IKxUnknown>>());
        EXPECT_TRUE(raster.get<KxPtr<IKxUnknown>>()->as<IRStor>());
      }
      if (name == "ProcessScript") {
        EXPECT_EQ(paramInt(arguments, "_donthidewindow"), 1);
        EXPECT_EQ(test::readFile(paramString(arguments, "FileName")),
                  "/SaveAs FNAME:\"" + p.dir.file("out/scan000.tif") + "\" _ignore_command_:0\r\n");
      }
    };
    EXPECT_EQ(p.to->EndScan(0), c.answer);
    EXPECT_EQ(p.controller.commands, c.commands);
    EXPECT_EQ(p.params->values().counter, c.counter);
    if (p.controller.commands.back() == "ProcessScript") {
      EXPECT_FALSE(std::filesystem::exists(paramString(p.controller.lastArguments.get(), "FileName")));
    }
  }
}

TEST(ScanToView, SuppressesTheScriptsOwnFilesDuringABatch) {
  const auto ignored = [](const Panel& p, const char* name) {
    const auto syntax = KxPtr<IParam>::adopt(p.app.as<IScriptSyntaxParam>()->GetSyntax());
    const auto command = KxPtr<IParam>::adopt(syntax->GetSubStore(name, 1));
    const auto entry = KxPtr<IParam>::adopt(command->GetSubStore("_ignore_command_", 0));
    return entry && paramInt(entry.get(), "_ignore_command_") == 1 &&
           paramString(entry.get(), "KeyWord") == "_ignore_command_" &&
           paramString(entry.get(), "KeyName") == "_ignore_command_";
  };
  Panel p(ScanToView);
  ASSERT_TRUE(p.begin());
  EXPECT_FALSE(ignored(p, "Open")) << "a single page";
  p.params->quiet().batch = 1;
  ASSERT_TRUE(p.begin());
  EXPECT_TRUE(ignored(p, "Open") && ignored(p, "SaveAs"));
  EXPECT_FALSE(ignored(p, "Close"));
  const auto syntax = KxPtr<IParam>::adopt(p.app.as<IScriptSyntaxParam>()->GetSyntax());
  const auto close = KxPtr<IParam>::adopt(syntax->GetSubStore("Close", 1));
  const auto left = KxPtr<IParam>::adopt(close->GetSubStore("_ignore_command_", 1));
  std::ignore = p.panel->endRun();
  EXPECT_FALSE(ignored(p, "Open") || ignored(p, "SaveAs"));
  EXPECT_TRUE(close->GetSubStores().empty()) << "whoever suppressed it";
}

TEST(ScanToView, AFolderThatIsGoneSavesNothing) {
  Panel p(ScanToView);
  p.saveTo(true);
  ASSERT_TRUE(p.begin());
  p.store->raster = new_IRStor(KxColorSpace::Grey, 8, 4, 100);
  std::filesystem::remove_all(p.dir.file("out"));
  test::writeFile(p.dir.file("out"), "in the way");
  EXPECT_EQ(p.to->EndScan(0), 0);
  ASSERT_EQ(p.messages.size(), 1U);
  EXPECT_EQ(p.messages[0].event, kEventCannotWrite);
  EXPECT_EQ(p.params->values().counter, 0);
  EXPECT_EQ(p.controller.commands, (std::vector<std::string>{"IntAddRaster", "post-processing"}));
}

TEST(ScanToFilePanel, ShowsTheNextNameAndFollowsTheParameters) {
  Panel p(ScanToFile);
  p.params->set(scan_key::Mask, "sheet<DPI>_");
  EXPECT_EQ(p.nextNameOnce("sheet100_000.tif"), "sheet100_000.tif");
  std::filesystem::create_directory(p.dir.file("out"));
  test::writeFile(p.dir.file("out/sheet100_000.tif"), "");
  p.params->set(scan_key::Dpi, 100);
  EXPECT_EQ(p.nextNameOnce("sheet100_001.tif"), "sheet100_001.tif");
  EXPECT_EQ(p.params->values().counter, 0) << "looking changes nothing";
  p.params->quiet().extensions.fill(".png");
  p.params->NotifyParam("m_Ext");
  EXPECT_EQ(p.nextNameOnce("sheet100_000.png"), "sheet100_000.png");
  ASSERT_TRUE(p.begin());
  p.params->quiet().counter = 7;  // as the start of a page moves it, without a word
  p.to->EndScan(1);
  EXPECT_EQ(p.nextNameOnce("sheet100_007.png"), "sheet100_007.png");
  p.params->quiet().extensions.fill(".tif");
  p.params->quiet().counter = 0;

  auto* mask = p.panel->control<QComboBox>(CScanToView::kMask);
  EXPECT_EQ(mask->currentText(), "sheet<DPI>_");
  mask->setEditText("plan");
  p.panel->OnCommand(CScanToView::kMask, kCodeComboEdited, 0);
  EXPECT_EQ(p.params->values().mask, "plan");
  EXPECT_EQ(p.nextNameOnce("plan000.tif"), "plan000.tif");

  EXPECT_TRUE(p.panel->pastePath("/maps/north/sheet.tif", PasteField::Folder));
  EXPECT_EQ(p.params->values().dir, "/maps/north/");
  EXPECT_EQ(p.params->values().mask, "sheet");
}

TEST(ScanToFilePanel, APageKeepsTheMomentOfItsNameAndTheNextOneHasItsOwn) {
  static std::int64_t s_now = 0;
  s_now = 1767607629;
  setEnvironment({nullptr, [] { return s_now; }});
  Panel p(ScanToFile);
  p.params->set(scan_key::Dir, p.dir.file("<TIME>"));
  ASSERT_TRUE(p.begin());
  const std::string prepared = p.params->values().outputFile;
  EXPECT_EQ(p.panel->nextFile(), prepared);
  ++s_now;  // a question, a palette or the scanner took its time
  EXPECT_EQ(buildOutputPath(p.panel->draft(true).names), prepared);
  EXPECT_NE(p.panel->nextFile(), prepared);
  ASSERT_EQ(p.to->EndScan(0), 1);
  EXPECT_NE(buildOutputPath(p.panel->draft(true).names), prepared);
  setEnvironment({});
}

TEST(ScanToFilePanel, RefusesFoldersWhoseNameWouldBeReplaced) {
  Panel p(ScanToFile);
  p.chosen = "/maps/a|b";
  const std::string before = p.params->values().dir;
  p.panel->OnCommand(CScanToView::kBrowse, kCodeClicked, 0);
  EXPECT_EQ(p.params->values().dir, before);
  ASSERT_EQ(p.messages.size(), 1U);
  EXPECT_NE(p.messages[0].text.find('|'), std::string::npos);
  p.chosen = "/maps/ab";
  p.panel->OnCommand(CScanToView::kBrowse, kCodeClicked, 0);
  EXPECT_EQ(p.params->values().dir, "/maps/ab");
}

TEST(ScanToFilePanel, RemembersWhatWasScannedTo) {
  Panel p(ScanToFile);
  ASSERT_TRUE(p.begin());
  p.to.release()->Destroy();
  History masks("Mask");
  masks.load(p.app.as<IProfile>().get());
  EXPECT_EQ(masks.items(), std::vector<std::string>{"scan"});
  EXPECT_NE(test::readFile(p.dir.file("config/settings.json")).find("History"), std::string::npos) << "on disk";
}

}  // namespace
}  // namespace quillbay
