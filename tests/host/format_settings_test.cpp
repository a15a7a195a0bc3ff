// The settings of file formats: entries made of the modules, options, and their dialogs.
#include "host/format_settings.h"

#include <gtest/gtest.h>

#include <QtWidgets>

#include "channels/module_loader.h"
#include "host/format_options.h"
#include "host_fixture.h"
#include "quillbay/format_settings.h"
#include "quillbay/host.h"

namespace quillbay {
namespace {

KxPtr<IHostApp> makeApp(const TempFolder& folder) {
  HostOptions options = folder.options();
  options.interactive = false;
  return New_HostApp(options);
}

KxPtr<IParam> entryOf(IApp* app, const char* section, const char* name) {
  const auto settings = query<IFormatSettings>(app);
  const auto list = KxPtr<IParam>::adopt(settings->GetSection(section));
  return KxPtr<IParam>::adopt(list->GetSubStore(name, 0));
}

const QbFormat& formatOf(const char* name) {
  for (const QbFormat* format : loadedFormats()) {
    if (std::string(format->name) == name) return *format;
  }
  throw std::runtime_error(std::string("no format ") + name);
}

TEST(FormatSettings, ListsTheModulesFormatsAndKeepsWhatIsKnown) {
  const TempFolder folder;
  const auto app = makeApp(folder);
  const auto tiff = entryOf(app.get(), format_key::AllSaveFormats, "TIFF");
  ASSERT_TRUE(tiff);
  EXPECT_EQ(paramString(tiff.get(), "FormatDLL"), "tiff.so");
  EXPECT_EQ(paramString(tiff.get(), "Extension"), "tif");
  EXPECT_EQ(std::make_tuple(paramInt(tiff.get(), "DirectSave"), paramInt(tiff.get(), "MultiPage")),
            std::make_tuple(1, 1));
  EXPECT_NE(paramInt(tiff.get(), "TwSaveColorSpace") & 1, 0);
  const auto png = entryOf(app.get(), format_key::AllSaveFormats, "PNG");
  EXPECT_EQ(paramInt(png.get(), "MultiPage"), 0);
  const auto list = KxPtr<IParam>::adopt(query<IFormatSettings>(app.get())->GetSection(format_key::AllSaveFormats));
  EXPECT_EQ(list->GetSubStores().front(), "TIFF") << "what counts while the user has chosen nothing";
  query<IProfile>(app.get())->Flush();

  // The next start asks no module: its answers are in the settings.
  const auto next = makeApp(folder);
  const auto again =
      KxPtr<IParam>::adopt(query<IFormatSettings>(next.get())->GetSection(format_key::AllSaveFormats));
  EXPECT_EQ(again->GetSubStores(), list->GetSubStores());
  std::vector<std::string> files;
  for (const ModuleAnswer& answer : moduleAnswers()) files.push_back(answer.file);
  const auto known = knownModules(query<IProfile>(next.get()).get());
  int examined = -1;
  const auto answers = examineModules(files, known, kProbeLimit, &examined);
  EXPECT_EQ(examined, 0);
  EXPECT_EQ(answers.size(), files.size());
}

TEST(FormatSettings, AModuleThatFailedOrChangedIsAskedWhenItsFileIsAnother) {
  const TempFolder folder;
  const auto app = makeApp(folder);
  const auto settings = query<IFormatSettings>(app.get());
  const auto list = KxPtr<IParam>::adopt(settings->GetSection(format_key::AllSaveFormats));
  const auto failed = KxPtr<IParam>::adopt(list->GetSubStore("gone.so", 1));
  failed->SetValue("FormatDLL", "/elsewhere/gone.so");
  failed->SetValue("TwExclude", 1);
  failed->SetValue("TwReason", "it crashes");
  failed->SetValue("TwFileSize", "100");
  const auto off = KxPtr<IParam>::adopt(list->GetSubStore("PNG", 0));
  off->SetValue("Enabled", 0);
  off->SetValue("Description", "Mine");
  off->Remove("DirectSave");
  KxPtr<IParam>::adopt(off->GetSubStore("Options", 1))->SetValue("DirectSave", 0);
  query<IProfile>(app.get())->Flush();
  const auto known = knownModules(query<IProfile>(app.get()).get());
  const auto gone = std::find_if(known.begin(), known.end(),
                                 [](const ModuleAnswer& a) { return a.file == "/elsewhere/gone.so"; });
  ASSERT_NE(gone, known.end());
  EXPECT_TRUE(std::any_of(known.begin(), known.end(), [](const ModuleAnswer& a) {
    return a.file == moduleFile("png.so") && a.state == ModuleState::Good;
  })) << "one that is not offered is not examined at every start";
  EXPECT_EQ(std::make_tuple(gone->state, gone->size), std::make_tuple(ModuleState::Crashed, std::int64_t{100}));

  const auto next = makeApp(folder);
  const auto png = entryOf(next.get(), format_key::AllSaveFormats, "PNG");
  EXPECT_EQ(paramInt(png.get(), "Enabled", 1), 0) << "the user's";
  EXPECT_EQ(paramString(png.get(), "Description"), "Mine");
  CKxVariant direct;
  EXPECT_FALSE(png->GetValue("DirectSave", &direct)) << "its options say it";
  EXPECT_EQ(paramInt(entryOf(next.get(), format_key::AllSaveFormats, "gone.so").get(), "TwExclude"), 0)
      << "the file went: what it was does not count";
}

TEST(FormatSettings, OptionsOfTheSettingsCountUntilThisRunSaysOtherwise) {
  const TempFolder folder;
  const auto app = makeApp(folder);
  const auto settings = query<IFormatSettings>(app.get());
  const auto formats = KxPtr<IParam>::adopt(settings->GetSection(format_key::Formats));
  const auto entry = KxPtr<IParam>::adopt(formats->GetSubStore("TIFF", 1));
  KxPtr<IParam>::adopt(entry->GetSubStore("Options", 1))->SetValue("Compression", "LZW");
  const auto compression = [&] {
    const auto options = KxPtr<IParam>::adopt(query<IIOParams>(app.get())->GetFormatOptions("TIFF"));
    return paramString(options.get(), "Compression");
  };
  EXPECT_EQ(compression(), "");
  settings->OptionsChanged();
  EXPECT_EQ(compression(), "LZW");
  std::string why;
  EXPECT_EQ(app->SetFormatOption("TIFF", "Compression", "Deflate", &why), 1) << why;
  EXPECT_EQ(compression(), "Deflate");
}

TEST(FormatOptions, EveryFormatHasADialogForAllItsOptions) {
  for (const QbFormat* format : loadedFormats()) {
    const auto options = new_MemParam();
    FormatOptionsDialog dialog(*format, options.get(), nullptr);
    std::set<QChar> used;
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
      const auto at = label->text().indexOf('&');
      if (!label->buddy() || at < 0) continue;
      EXPECT_TRUE(used.insert(label->text().at(at + 1).toLower()).second)
          << format->name << ": " << label->text().toStdString();
    }
    dialog.accept();
    EXPECT_TRUE(options->GetKeys().empty()) << format->name << ": defaults are not kept";
  }
}

TEST(FormatOptions, ChoicesOfTheClassStandFirstAndWhatDependsIsDisabled) {
  const auto options = new_MemParam();
  options->SetValue("Compression", "Deflate");
  options->SetValue("Level", "7");
  options->SetValue("PreferredPage", 16);
  FormatOptionsDialog dialog(formatOf("TIFF"), options.get(), nullptr);
  auto* compression = dialog.findChild<QComboBox*>("compression");
  auto* level = dialog.findChild<QSpinBox*>("level");
  ASSERT_TRUE(compression && level);
  EXPECT_EQ(compression->itemData(0).toString(), "auto");
  EXPECT_EQ(compression->findData("G4"), -1) << "black and white has its own";
  EXPECT_EQ(dialog.focusWidget(), compression);
  EXPECT_TRUE(level->isEnabled());
  EXPECT_EQ(level->maximum(), 12);
  EXPECT_EQ(level->value(), 7);
  compression->setCurrentIndex(compression->findData("LZW"));
  EXPECT_FALSE(level->isEnabled());
  dialog.accept();
  EXPECT_EQ(paramString(options.get(), "Compression"), "LZW");
  EXPECT_EQ(paramString(options.get(), "Level"), "") << "it has no effect";
}

TEST(FormatOptions, BlackAndWhiteHasItsOwnCompression) {
  const auto options = new_MemParam();
  options->SetValue("Compression", "G3");  // of an older version
  options->SetValue("PreferredPage", 1);
  FormatOptionsDialog dialog(formatOf("TIFF"), options.get(), nullptr);
  auto* compression = dialog.findChild<QComboBox*>("compression");
  auto* blackWhite = dialog.findChild<QComboBox*>("blackWhite");
  auto* level = dialog.findChild<QSpinBox*>("level");
  ASSERT_TRUE(compression && blackWhite && level);
  EXPECT_EQ(dialog.focusWidget(), blackWhite);
  EXPECT_EQ(compression->currentData().toString(), "G3") << "what is kept is shown";
  EXPECT_FALSE(level->isEnabled());
  blackWhite->setCurrentIndex(blackWhite->findData("Deflate"));
  EXPECT_TRUE(level->isEnabled());
  EXPECT_EQ(level->maximum(), 12);
  compression->setCurrentIndex(compression->findData("JPEG"));
  for (const QLabel* label : dialog.findChildren<QLabel*>()) {
    EXPECT_FALSE(label->text().contains("refused")) << "every page is taken: " << label->text().toStdString();
  }
  dialog.accept();
  EXPECT_EQ(paramString(options.get(), "Compression"), "JPEG");
  EXPECT_EQ(paramString(options.get(), "BlackWhite"), "Deflate");
}

/// A module of somebody else.
TEST(FormatOptions, ATableOfOptionsIsEnough) {
  static const char* const kShapes[] = {"round", "square", nullptr};
  static const QbOptionInfo kOptions[] = {{"Shape", "The shape of things.", kShapes, 0, 0, nullptr},
                                          {"DotCount", "Dots, 1 to 9.", nullptr, 1, 9, "4"},
                                          {"Motto", "Any text.", nullptr, 0, 0, ""},
                                          {}};
  QbFormat format{};
  format.name = "Other";
  format.options = kOptions;
  const auto options = new_MemParam();
  options->SetValue("Shape", "oval");  // not a choice (any more)
  FormatOptionsDialog dialog(format, options.get(), nullptr);
  auto* shape = dialog.findChild<QComboBox*>();
  auto* count = dialog.findChild<QSpinBox*>();
  ASSERT_TRUE(shape && count);
  EXPECT_EQ(shape->currentData().toString(), "round");
  EXPECT_EQ(std::make_tuple(count->minimum(), count->maximum(), count->value()), std::make_tuple(1, 9, 4));
  shape->setCurrentIndex(1);
  count->setValue(5);
  dialog.accept();
  EXPECT_EQ(options->GetKeys(), (std::vector<std::string>{"Shape", "DotCount"}));
  EXPECT_EQ(paramString(options.get(), "DotCount"), "5");
}

}  // namespace
}  // namespace quillbay
