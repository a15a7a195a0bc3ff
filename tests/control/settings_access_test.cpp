// Settings by name: which scanner has some, and which values are taken.
#include <gtest/gtest.h>

#include <cmath>

#include "control/panel_store.h"
#include "control/param_access.h"
#include "quillbay/control.h"
#include "quillbay/scan_keys.h"
#include "quillbay/translation.h"
#include "support/panel_world.h"

namespace quillbay {
namespace {

TEST(SavedSettings, AreFoundUnderTheScannersName) {
  for (const char* name : {"test:0", "escl:http://10.0.0.1:80/eSCL", "net:host:a\\b", "", "page0"}) {
    SCOPED_TRACE(name);
    const test::PanelWorld world;
    EXPECT_EQ(HasSavedSettings(world.app.get(), name), 0);
    PanelStore store(world.app.get(), name);
    EXPECT_EQ(HasSavedSettings(world.app.get(), name), 0) << "a panel that looked for some has saved none";
    store.mainDialog()->SetValue(key::Dir, "/maps");
    EXPECT_NE(HasSavedSettings(world.app.get(), name), 0);
    EXPECT_EQ(HasSavedSettings(world.app.get(), "another scanner"), 0);
  }
  EXPECT_EQ(HasSavedSettings(nullptr, "test:0"), 0);
}

TEST(ParamAccess, RefusesNumbersThatAreNone) {
  const test::PanelWorld world;
  const ParamAccess access(*world.params, *world.controller.unit);
  const double nan = std::nan(""), infinite = HUGE_VAL;
  const std::pair<const char*, CKxVariant> cases[] = {
      {key::Counter, nan}, {key::Counter, infinite}, {key::Dpi, nan}, {key::RcScan, tagRRECT{0, 0, nan, 10}}};
  for (const auto& [name, value] : cases)
    EXPECT_NE(access.check(name, value).find(name), std::string::npos) << name;
  EXPECT_EQ(access.check(key::Counter, 7.0), "");
}

TEST(ParamAccess, RefusalsAreTranslated) {
  const test::PanelWorld world;
  const ParamAccess access(*world.params, *world.controller.unit);
  SetTranslator([](std::string_view english) { return '<' + std::string(english) + '>'; });
  const std::pair<const char*, CKxVariant> cases[] = {
      {"m_none", 1},           {key::CurrMode, 8},       {key::Dpi, 1},           {key::CounterFormat, "%d"},
      {key::PaperName, "B17"}, {key::FileFate, 3},       {key::Units, 2},         {key::Dir, 5},
      {key::ScanAreaType, 0},  {key::ScanAreaType, 9},   {key::Extension, "tif"}, {key::RcScan, 1},
      {key::Bursting, 1},      {key::AutoAnswerDelay, 0}};
  for (const auto& [name, value] : cases) {
    const std::string why = access.check(name, value);
    EXPECT_TRUE(why.starts_with('<') && why.ends_with('>')) << name << ": " << why;
  }
  SetTranslator(nullptr);
}

}  // namespace
}  // namespace quillbay
