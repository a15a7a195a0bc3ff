#include "pages/model_setup.h"

#include <gtest/gtest.h>

#include <QtWidgets>

#include "pages/option_field.h"
#include "pages/option_setup.h"

namespace quillbay {
namespace {

/// A device whose brightness is only there without automatic exposure, as drivers do it: setting one option changes
/// the activity, the range and the value of another.
class FakeUnit final : public CKxUnknownImplStatic<IUnitOptions> {
 public:
  std::vector<UnitOption> GetOptions() override {
    UnitOption exposure{"exposure", "Automatic exposure",   "",     isAutomatic ? "yes" : "no",
                        "",         {"no", "yes"},          "",     true,
                        true,       UnitOptionType::Switch, "Light"};
    UnitOption brightness{"brightness", "Brightness",
                          "How bright", isAutomatic ? "" : value,
                          "%",          {},
                          "0..100",     !isAutomatic,
                          true,         UnitOptionType::WholeNumber,
                          "Light",      0,
                          100,          5};
    UnitOption speed{"speed",    "Speed", "", speedNow, "", {"slow", "fast"}, "", true, true, UnitOptionType::Text,
                     "Transport"};
    speed.advanced = true;
    speed.canBeAutomatic = true;
    speed.isAutomatic = speedNow == kAutomaticValue;
    if (speed.isAutomatic) speed.value = "fast";
    UnitOption mode{"mode", "Mode", "", "Gray", "", {}, "", true, true};
    mode.followsRequest = true;
    UnitOption lamp{"lamp", "Hours of the lamp", "", "12", "", {}, "", true, false};
    return {exposure, brightness, speed, mode, lamp};
  }
  int SetOption(std::string_view name, std::string_view text, std::string* why) override {
    calls.push_back(std::string(name) + "=" + std::string(text));
    if (name == "exposure") {
      isAutomatic = text == "yes";
    } else if (name == "speed" && text != "never") {
      speedNow = text;
    } else if (name == "brightness" && !isAutomatic) {
      value = text;
    } else {
      if (why) *why = "not now";
      return 0;
    }
    wanted[std::string(name)] = text;
    return 1;
  }
  int SaveOptions(IParam* out) override {
    for (const auto& [name, text] : wanted) out->SetValue(name, text);
    return 1;
  }
  int LoadOptions(IParam* in) override {
    for (const std::string& name : in->GetKeys()) SetOption(name, paramString(in, name), nullptr);
    return 1;
  }

  bool isAutomatic = false;
  std::string value = "40", speedNow = "slow";
  std::vector<std::string> calls;
  std::map<std::string, std::string> wanted;
};

KxPtr<IUnitOptions> shared(FakeUnit& unit) { return KxPtr<IUnitOptions>::share(&unit); }

TEST(UnitOptionList, WhatWasChangedIsReadAnewAndPutBackInReverse) {
  FakeUnit unit;
  UnitOptionList options(shared(unit));
  ASSERT_EQ(options.options().size(), 3U) << "neither the request's nor what only tells something";
  std::string why;
  EXPECT_FALSE(options.set("speed", "never", &why));
  EXPECT_EQ(why, "not now");
  EXPECT_FALSE(options.isChanged());
  EXPECT_TRUE(options.set("brightness", "60", &why));
  EXPECT_TRUE(options.set("brightness", "70", &why));
  EXPECT_TRUE(options.set("exposure", "yes", &why));
  EXPECT_FALSE(options.options()[1].active) << "read anew";
  EXPECT_TRUE(options.isChanged());
  options.restore();
  EXPECT_FALSE(unit.isAutomatic) << "first, since the brightness cannot be set with it";
  EXPECT_EQ(unit.value, "40");
  EXPECT_FALSE(options.isChanged());
}

OptionField* field(QDialog& dialog, const char* name) {
  for (OptionField* each : dialog.findChildren<OptionField*>()) {
    if (each->name() == name) return each;
  }
  return nullptr;
}

TEST(ModelSetup, IsTheDevicesOwnForm) {
  FakeUnit unit;
  ModelSetup dialog(shared(unit), "A scanner", nullptr);
  dialog.show();
  QStringList groups;
  for (const QGroupBox* group : dialog.findChildren<QGroupBox*>()) {
    if (group->isVisible()) groups += group->title();
  }
  EXPECT_EQ(groups, QStringList{"Light"}) << "the transport has advanced settings only";
  auto* spin = qobject_cast<QDoubleSpinBox*>(field(dialog, "brightness")->control());
  ASSERT_TRUE(spin);
  EXPECT_EQ(spin->suffix(), " %");
  EXPECT_EQ(std::make_tuple(spin->minimum(), spin->maximum(), spin->singleStep(), spin->decimals()),
            std::make_tuple(0.0, 100.0, 5.0, 0));
  EXPECT_TRUE(spin->toolTip().contains("How bright") && spin->toolTip().contains("0..100"));
  EXPECT_TRUE(unit.calls.empty()) << "showing a value sets nothing";
  spin->setValue(75);
  EXPECT_EQ(unit.value, "75");
  qobject_cast<QCheckBox*>(field(dialog, "exposure")->control())->click();
  QApplication::processEvents();
  EXPECT_TRUE(unit.isAutomatic);
  EXPECT_FALSE(spin->isEnabled()) << "the device switched it off";
  dialog.reject();
  EXPECT_FALSE(unit.isAutomatic);
  EXPECT_EQ(unit.value, "40");
}

TEST(ModelSetup, ApplyKeepsWhatCancelDoesNotPutBack) {
  FakeUnit unit;
  ModelSetup dialog(shared(unit), "A scanner", nullptr);
  const auto button = [&](QDialogButtonBox::ButtonRole role) {
    auto* box = dialog.findChild<QDialogButtonBox*>();
    for (QAbstractButton* each : box->buttons())
      if (box->buttonRole(each) == role) return each;
    return static_cast<QAbstractButton*>(nullptr);
  };
  QAbstractButton* apply = button(QDialogButtonBox::ApplyRole);
  EXPECT_FALSE(apply->isEnabled());
  QList<QWidget*> chain;
  for (QWidget* w = dialog.nextInFocusChain(); w != &dialog; w = w->nextInFocusChain()) chain += w;
  EXPECT_LT(chain.indexOf(field(dialog, "speed")->control()), chain.indexOf(button(QDialogButtonBox::AcceptRole)))
      << "Tab goes through the settings first";
  auto* spin = qobject_cast<QDoubleSpinBox*>(field(dialog, "brightness")->control());
  spin->setValue(60);
  QApplication::processEvents();
  EXPECT_TRUE(apply->isEnabled());
  apply->click();
  EXPECT_FALSE(apply->isEnabled());
  spin->setValue(90);
  button(QDialogButtonBox::RejectRole)->click();
  EXPECT_EQ(unit.value, "60");
  EXPECT_TRUE(dialog.isChanged()) << "what was applied is a change";
}

TEST(ModelSetup, AValueCanBeLeftToTheDevice) {
  FakeUnit unit;
  ModelSetup dialog(shared(unit), "A scanner", nullptr);
  OptionField* speed = field(dialog, "speed");
  ASSERT_TRUE(speed->automatic());
  EXPECT_FALSE(field(dialog, "brightness")->automatic());
  speed->automatic()->click();
  QApplication::processEvents();
  EXPECT_EQ(unit.speedNow, "auto");
  EXPECT_FALSE(speed->control()->isEnabled());
  EXPECT_EQ(qobject_cast<QComboBox*>(speed->control())->currentText(), "fast") << "what the device chose";
  speed->automatic()->click();
  QApplication::processEvents();
  EXPECT_EQ(unit.speedNow, "fast") << "goes on from there";
  speed->automatic()->click();
  dialog.reject();
  EXPECT_EQ(unit.speedNow, "slow");
}

TEST(OptionSetup, KeepsTheOptionsApartAndLeavesAHostsChoice) {
  const auto set = new_MemParam();
  {
    FakeUnit unit;
    const auto setup = UnitSetupOf(shared(unit).get(), "A scanner");
    setup->Save(set.get());
    EXPECT_TRUE(set->GetSubStores().empty()) << "nothing was set";
    unit.SetOption("brightness", "70", nullptr);
    unit.SetOption("speed", "fast", nullptr);
    setup->Save(set.get());
  }
  EXPECT_TRUE(set->GetKeys().empty()) << "an option may be called as a key of the page";
  FakeUnit unit;
  unit.SetOption("speed", "slow", nullptr);  // by a host, before the panel opens
  const auto setup = UnitSetupOf(shared(unit).get(), "A scanner");
  EXPECT_EQ(setup->Load(set.get()), 1);
  EXPECT_EQ(unit.value, "70");
  EXPECT_EQ(unit.speedNow, "slow");
  EXPECT_EQ(setup->Load(set.get()), 1) << "later the set counts";
  EXPECT_EQ(unit.speedNow, "fast");
  unit.calls.clear();
  EXPECT_EQ(setup->Load(set.get()), 0);
  EXPECT_TRUE(unit.calls.empty()) << "the device is not asked for what it has";
  EXPECT_EQ(setup->Load(new_MemParam().get()), 0);
}

}  // namespace
}  // namespace quillbay
