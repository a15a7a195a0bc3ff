#include "scanner/device_options.h"

#include <gtest/gtest.h>
#include <QtWidgets>

#include "scanner/device_dialog.h"
#include "scanner/option_field.h"

namespace desktop {
namespace {

using quillbay::UnitOption;
using quillbay::UnitOptionType;

/// A device whose brightness is only there without automatic exposure, as drivers do it: setting one option changes
/// the activity, the range and the value of another.
class FakeUnit final : public quillbay::CKxUnknownImplStatic<quillbay::IUnitOptions> {
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
    return 1;
  }
  int SaveOptions(quillbay::IParam*) override { return 1; }
  int LoadOptions(quillbay::IParam*) override { return 1; }

  bool isAutomatic = false;
  std::string value = "40", speedNow = "slow";
  std::vector<std::string> calls;
};

quillbay::KxPtr<quillbay::IUnitOptions> shared(FakeUnit& unit) {
  return quillbay::KxPtr<quillbay::IUnitOptions>::share(&unit);
}

TEST(DeviceOptions, WhatWasChangedIsReadAnewAndPutBackInReverse) {
  FakeUnit unit;
  DeviceOptions options(shared(unit));
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

TEST(DeviceDialog, IsTheDevicesOwnForm) {
  FakeUnit unit;
  DeviceDialog dialog(shared(unit), "A scanner", nullptr);
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
  dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
  EXPECT_FALSE(unit.isAutomatic);
  EXPECT_EQ(unit.value, "40");
}

}  // namespace
}  // namespace desktop
