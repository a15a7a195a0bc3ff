#include "pages/save_setup.h"

#include <gtest/gtest.h>

#include <QtWidgets>

#include "platform/file_naming.h"
#include "platform/scan_to.h"
#include "quillbay/host_services.h"
#include "quillbay/scan_keys.h"
#include "support/panel_world.h"
#include "widgets/unit_spin.h"

namespace quillbay {
namespace {

/// Format settings of a host, in memory.
class HeldSettings final : public CKxUnknownImpl<IFormatSettings> {
 public:
  IParam* GetSection(std::string_view name) override { return root->GetSubStore(name, 1); }
  int ShowOptions(std::string_view format, IParam* entry, QWidget*) override {
    shown = format;
    const auto options = KxPtr<IParam>::adopt(entry->GetSubStore(format_key::Options, 0));
    preferred = paramInt(options.get(), format_key::PreferredPage);
    keptQuality = paramInt(options.get(), "Quality");
    options->SetValue("Quality", 70);
    return agrees;
  }
  void OptionsChanged() override { ++changes; }
  /// Of the section "AllSaveFileFormats" unless its name says otherwise; a mask of -2: not examined yet.
  void add(const char* name, const char* extension, int mask, bool paged = false, bool direct = true,
           const char* section = format_key::AllSaveFormats) const {
    const auto list = KxPtr<IParam>::adopt(root->GetSubStore(section, 1));
    const auto entry = KxPtr<IParam>::adopt(list->GetSubStore(name, 1));
    entry->SetValue("FormatDLL", std::string(extension) + ".so");
    entry->SetValue("Extension", extension);
    entry->SetValue("Description", std::string(name) + " pictures");
    if (mask != -2) entry->SetValue("TwSaveColorSpace", mask);
    if (direct) entry->SetValue("DirectSave", 1);
    if (paged) entry->SetValue("MultiPage", 1);
  }
  [[nodiscard]] KxPtr<IParam> entry(const char* section, const char* name) const {
    const auto list = KxPtr<IParam>::adopt(root->GetSubStore(section, 1));
    return KxPtr<IParam>::adopt(list->GetSubStore(name, 1));
  }
  KxPtr<IParam> root = new_MemParam();
  std::string shown;
  int preferred = 0, keptQuality = 0, agrees = 1, changes = 0;
};

/// A destination that names files as these values say.
class NamingScanTo final : public CScanTo, public IFileNaming {
 public:
  int BeginScan() override { return 1; }
  int EndScan(int) override { return 1; }
  int LoadParams(IParam*) override { return 1; }
  int SaveParams(IParam*) override { return 1; }
  void Destroy() override {}
  int Enable(int) override { return 40; }
  int Show(int) override { return 40; }
  void GetTargetText(std::string*) override {}
  HWND GetHwnd() override { return nullptr; }
  [[nodiscard]] std::string fileName() const override {
    return "scan" + v->counterFormat + extensionOf(*v, colorClassOf(v->colorSpace));
  }
  [[nodiscard]] std::string tags() const override { return "<COUNTER> "; }
  const ScanValues* v = nullptr;
};

struct SaveWorld : test::PanelWorld {
  SaveWorld() {
    query<IInterfaceRegistry>(app.get())->Register(typeid(IFormatSettings), settings.get());
    settings->add("TIFF", "tif", 1 | 2 | 8 | 16 | 256 | 512, true);
    settings->add("Colour", "col", 512);
    settings->add("Runs", "run", 2);
    settings->add("Late", "late", 16, false, false);
    naming.v = &params->values();
    params->destination = &naming;
  }
  ~SaveWorld() {
    delete page;
    page = nullptr;
    params->destination = nullptr;
    query<IInterfaceRegistry>(app.get())->Withdraw(typeid(IFormatSettings), settings.get());
  }
  SaveWorld(const SaveWorld&) = delete;
  SaveWorld& operator=(const SaveWorld&) = delete;
  void open() {
    delete page;
    page = new CSaveSetup(controller, params, [this](std::string_view name, IParam* entry) {
      ++probes;
      if (name == "Broken") return 0;
      if (name == "Empty") return entry->SetValue("TwExclude", 1);
      return entry->SetValue("TwSaveColorSpace", 1);
    });
    page->Create(&window, kAllModes);
  }
  void load(const std::vector<std::pair<std::string, CKxVariant>>& values) const {
    const auto set = new_MemParam();
    for (const auto& [key, value] : values) set->SetValue(key, value);
    page->Load(set.get());
  }
  [[nodiscard]] KxPtr<IParam> saved() const {
    auto set = new_MemParam();
    page->Save(set.get());
    return set;
  }
  [[nodiscard]] QStringList list(int colorClass) const {
    QStringList items;
    const auto* combo = page->control<QComboBox>(CSaveSetup::kFormat0 + colorClass);
    for (int i = 0; i < combo->count(); ++i) items += combo->itemText(i);
    return items;
  }
  [[nodiscard]] QString chosen(int colorClass) const {
    return page->control<QComboBox>(CSaveSetup::kFormat0 + colorClass)->currentText();
  }
  void choose(int colorClass, int row) const {
    page->control<QComboBox>(CSaveSetup::kFormat0 + colorClass)->setCurrentIndex(row);
    page->OnCommand(CSaveSetup::kFormat0 + colorClass, kCodeSelected, row);
  }
  void click(int id) const { page->control<QAbstractButton>(id)->click(); }
  [[nodiscard]] const ScanValues& v() const { return params->values(); }
  KxPtr<HeldSettings> settings = KxPtr<HeldSettings>::adopt(new HeldSettings);
  NamingScanTo naming;
  QWidget window;
  CSaveSetup* page = nullptr;
  int probes = 0;
};

const QString kTif = "(*.tif) TIFF pictures", kCol = "(*.col) Colour pictures", kRun = "(*.run) Runs pictures",
              kLate = "(*.late) Late pictures";

TEST(SaveSetup, ListsWhatEachColourClassAndModeCanHave) {
  struct Case {
    int mode, multiPage;
    std::array<QStringList, 4> want;
  };
  const Case cases[] = {
      {ScanToFile, 0, {{{kTif, kRun}, {kTif}, {kTif}, {kTif, kCol}}}},
      {ScanToNet, 0, {{{kTif, kRun}, {kTif}, {kTif}, {kTif, kCol}}}},
      {ScanToView, 0, {{{kTif, kRun}, {kTif, kLate}, {kTif}, {kTif, kCol}}}},
      {ScanToView, 1, {{{kTif}, {kTif}, {kTif}, {kTif}}}},
  };
  for (const Case& c : cases) {
    SaveWorld w;
    w.params->quiet().mode = c.mode;
    w.params->quiet().multiPage = c.multiPage;
    w.open();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(w.list(i), c.want[static_cast<std::size_t>(i)]) << c.mode << ' ' << i;
    EXPECT_EQ(w.page->control<QWidget>(CSaveSetup::kMultiPage)->isHidden(), c.mode == ScanToNet);
    EXPECT_EQ(w.probes, 0) << "all was known";
  }
  SaveWorld w;
  w.params->quiet().scannerHasColor = false;
  w.open();
  for (int i = 0; i < 4; ++i) {
    for (const int base : {CSaveSetup::kFormat0, CSaveSetup::kOptions0})
      EXPECT_EQ(w.page->control<QWidget>(base + i)->isHidden(), i > 0);
  }
}

TEST(SaveSetup, EntriesAreSkippedOrExaminedOnce) {
  SaveWorld w;
  w.settings->add("*template", "t", 1);
  w.settings->add("Off", "off", 1);
  w.settings->entry(format_key::AllSaveFormats, "Off")->SetValue("Enabled", 0);
  w.settings->add("Excluded", "exc", 1);
  w.settings->entry(format_key::AllSaveFormats, "Excluded")->SetValue("TwExclude", 1);
  w.settings->add("NoModule", "nom", 1);
  w.settings->entry(format_key::AllSaveFormats, "NoModule")->Remove("FormatDLL");
  w.settings->add("New", "new", -2);
  w.settings->add("Broken", "bro", -2);
  w.settings->add("Empty", "emp", -2);
  w.settings->add("Own", "own", 1, false, false, format_key::ExportedProject);
  const auto own = w.settings->entry(format_key::ExportedProject, "Own");
  KxPtr<IParam>::adopt(own->GetSubStore("Options", 1))->SetValue("DirectSave", 1);
  w.open();
  const QStringList want{kTif, kRun, "(*.new) New pictures", "(*.own) Own pictures"};
  EXPECT_EQ(w.list(0), want);
  EXPECT_EQ(w.probes, 3);
  EXPECT_EQ(paramInt(w.settings->entry(format_key::AllSaveFormats, "New").get(), "TwSaveColorSpace"), 1);
  w.open();
  EXPECT_EQ(w.list(0), want);
  EXPECT_EQ(w.probes, 4) << "only the one that could not be asked";
}

TEST(SaveSetup, SelectsByTheBeginningOfTheTextElseTheFirst) {
  SaveWorld w;
  w.params->quiet().mode = ScanToFile;
  w.open();
  w.load({{"m_ExtSelName0", "(*.run)"}, {"m_ExtSelName1", "(*.gone) Gone"}, {"m_ExtSelName3", kCol.toStdString()}});
  EXPECT_EQ(w.chosen(0), kRun);
  EXPECT_EQ(w.chosen(1), kTif);
  EXPECT_EQ(w.chosen(3), kCol);
  EXPECT_EQ(w.v().extensions, (std::array<std::string, 4>{".run", ".tif", ".tif", ".col"}));
  QApplication::processEvents();
  ASSERT_EQ(w.messages.size(), 1U);
  EXPECT_NE(w.messages[0].text.find("(*.gone) Gone"), std::string::npos) << w.messages[0].text;
  EXPECT_NE(w.messages[0].text.find("(*.tif) TIFF pictures"), std::string::npos);
  EXPECT_EQ(w.controller.pageChanges, 0);

  EXPECT_EQ(paramString(w.saved().get(), "m_ExtSelName0"), kRun.toStdString());
  w.load({});
  EXPECT_EQ(w.chosen(0), kRun) << "a missing key leaves its list";
  w.load({{"m_ExtSelName1", "(*.gone) Gone"}});
  EXPECT_NE(w.page->GetLoadNote(), "");
  QApplication::processEvents();
  EXPECT_EQ(w.messages.size(), 1U) << "the one who applied a preset tells it";
  w.page->OnCommand(CTab::kResetPage, kCodeClicked, 0);
  EXPECT_EQ(w.chosen(0), kTif);

  w.choose(3, 1);
  EXPECT_EQ(w.v().extensions[3], ".col");
  w.click(CSaveSetup::kMultiPage);
  EXPECT_EQ(w.v().multiPage, 1);
  EXPECT_EQ(w.v().extensions[3], ".tif");
  w.click(CSaveSetup::kMultiPage);
  EXPECT_EQ(w.chosen(3), kCol) << "what multipage mode left out comes back";
}

TEST(SaveSetup, MultipageModeNeitherCountsNorAsks) {
  for (const auto& [mode, requested, stored, want] :
       {std::make_tuple(0, 0, 1, 1), std::make_tuple(2, 0, 1, 0), std::make_tuple(3, 1, 0, 1)}) {
    SaveWorld w;
    w.params->quiet().mode = mode;
    w.params->quiet().multiPageRequested = requested;
    w.open();
    w.load({{"m_fMultiPage", stored}});
    EXPECT_EQ(w.v().multiPage, want) << mode;
    for (const int id : {CSaveSetup::kAddsCounter, CSaveSetup::kDigits, CSaveSetup::kStart, CSaveSetup::kAsk})
      EXPECT_EQ(w.page->control<QWidget>(id)->isEnabled(), want == 0) << id;
  }
}

TEST(SaveSetup, TheCounterHasItsRules) {
  SaveWorld w;
  w.open();
  EXPECT_EQ(w.v().counterFormat, "%.3d");
  struct Case {
    std::vector<std::pair<std::string, CKxVariant>> set;
    const char* format;
    bool isNoted;
  };
  const Case cases[] = {
      {{{"m_Chars", 5}}, "%.5d", false},
      {{{"m_Chars", 0}}, "%.1d", false},
      {{{"m_Chars", 90}}, "%.8d", false},
      {{{"m_CounterFormat", "%.4d"}}, "%.4d", false},
      {{{"m_CounterFormat", std::string(40, 'x')}}, "%.4d", true},
      {{{"m_CounterFormat", "%.9d"}, {"m_Chars", 2}}, "%.2d", true},
      {{{"m_CounterFormat", "%s%sd"}}, "%.2d", true},
  };
  for (const Case& c : cases) {
    w.load(c.set);
    EXPECT_EQ(w.v().counterFormat, c.format);
    EXPECT_EQ(w.page->GetLoadNote().find("m_CounterFormat") != std::string::npos, c.isNoted) << c.format;
  }
  w.load({{"m_StartCounter", -2}});
  EXPECT_EQ(w.v().counter, -2);
  EXPECT_EQ(w.page->control<UnitSpin>(CSaveSetup::kStart)->value(), 4294967294.0) << "32 bits without a sign";
  EXPECT_EQ(paramInt(w.saved().get(), "m_StartCounter"), -2);
  w.load({{"m_StartCounter", 7}, {"m_fUseAutoCounter", 0}, {"m_fFileFate", 2}});
  EXPECT_EQ(std::make_tuple(w.v().counter, w.v().useAutoCounter, w.v().fileFate), std::make_tuple(7, 0, 2));
  EXPECT_TRUE(w.page->control<QRadioButton>(CSaveSetup::kAsk)->isChecked());
  w.params->set(scan_key::Counter, 9);
  EXPECT_EQ(paramInt(w.saved().get(), "m_StartCounter"), 7) << "where counting starts, not where it is";
  const auto pushed = w.saved();
  w.page->Load(pushed.get());
  EXPECT_EQ(w.v().counter, 9) << "settings that are pushed do not begin counting anew";
  w.click(CSaveSetup::kOverwrite);
  w.click(CSaveSetup::kAddsCounter);
  EXPECT_EQ(std::make_tuple(w.v().fileFate, w.v().useAutoCounter), std::make_tuple(1, 1));
  w.page->control<UnitSpin>(CSaveSetup::kDigits)->stepBy(2);
  EXPECT_EQ(w.v().counterFormat, "%.4d");
}

TEST(SaveSetup, ShowsTheNameAndWhatTheHostAskedFor) {
  SaveWorld w;
  w.open();
  auto* name = w.page->findChild<QLineEdit*>("name");
  auto* note = w.page->findChild<QLabel*>("note");
  EXPECT_EQ(name->text(), "scan%.3d.tif");
  w.load({{"m_ExtSelName0", kRun.toStdString()}, {"m_Chars", 6}});
  EXPECT_EQ(name->text(), "scan%.6d.run");
  w.params->quiet().colorSpace = KxColorSpace::Grey;
  w.params->set(scan_key::CurrMode, kModeGrey);
  EXPECT_EQ(name->text(), "scan%.6d.tif");
  EXPECT_TRUE(note->isHidden());
  w.params->quiet().hostExtension = ".png";
  w.params->NotifyParam("m_Ext");
  EXPECT_EQ(name->text(), "scan%.6d.png");
  EXPECT_FALSE(note->isHidden());
  EXPECT_EQ(paramString(w.saved().get(), "m_ExtSelName0"), kRun.toStdString()) << "the user's choice is kept";
  w.choose(1, 0);
  EXPECT_EQ(name->text(), "scan%.6d.tif") << "what the user chooses counts from now on";
}

TEST(SaveSetup, OptionsAreCopiedOutAndBack) {
  SaveWorld w;
  const auto options =
      KxPtr<IParam>::adopt(w.settings->entry(format_key::Formats, "TIFF")->GetSubStore("Options", 1));
  options->SetValue("Quality", 40);
  w.open();
  for (const auto& [row, preferred] :
       {std::make_pair(0, 1), std::make_pair(1, 16), std::make_pair(2, 8), std::make_pair(3, 512)}) {
    w.settings->agrees = 0;
    w.click(CSaveSetup::kOptions0 + row);
    EXPECT_EQ(w.settings->shown, "TIFF");
    EXPECT_EQ(w.settings->preferred, preferred);
    EXPECT_EQ(w.settings->keptQuality, 40) << "cancelled";
  }
  w.settings->agrees = 1;
  w.click(CSaveSetup::kOptions0);
  const auto kept = KxPtr<IParam>::adopt(w.settings->entry(format_key::Formats, "TIFF")->GetSubStore("Options", 0));
  EXPECT_EQ(kept->GetKeys(), std::vector<std::string>{"Quality"}) << "without the preferred page";
  EXPECT_EQ(paramInt(kept.get(), "Quality"), 70);
  EXPECT_EQ(w.settings->changes, 1);
}

}  // namespace
}  // namespace quillbay
