#include <gtest/gtest.h>

#include <QDialogButtonBox>
#include <QPushButton>
#include <filesystem>

#include "host/message_window.h"
#include "host/std_papers.h"
#include "host_fixture.h"
#include "quillbay/host_services.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"

namespace quillbay {
namespace {

KxPtr<IParam> sub(IParam* set, const char* path, int create) {
  return KxPtr<IParam>::adopt(set->GetSubStore(path, create));
}

TEST(HostApp, ChecksFormatOptions) {
  const TempFolder folder;
  const auto app = New_HostApp(folder.options());
  struct Case {
    const char *format, *key, *value;
    int want;
    const char* lists;  // the refusal lists this
  };
  const Case cases[] = {{"tiff", "COMPRESSION", "lzw", 1, ""},
                        {"TIFF", "compression", "best", 0, "LZW"},
                        {"TIFF", "depth", "1", 0, "Compression"},
                        {"XYZ", "a", "b", 0, "TIFF"}};
  for (const Case& c : cases) {
    std::string why;
    EXPECT_EQ(app->SetFormatOption(c.format, c.key, c.value, &why), c.want) << why;
    EXPECT_NE(why.find(c.lists), std::string::npos) << why;
  }
  const auto options = KxPtr<IParam>::adopt(app.as<IIOParams>()->GetFormatOptions("TIFF"));
  EXPECT_EQ(paramString(options.get(), "compression"), "LZW");
}

TEST(HostApp, WhatIsRegisteredAnswersInPlaceOfItsOwn) {
  const TempFolder folder;
  const auto app = New_HostApp(folder.options());
  const auto registry = app.as<IInterfaceRegistry>();
  const auto own = app.as<IEvents>();
  const auto agreeing = KxPtr<AgreeingEvents>::adopt(new AgreeingEvents);
  EXPECT_EQ(registry->Register(typeid(IProfile), agreeing.get()), 0) << "has no such interface";
  EXPECT_EQ(registry->Register(typeid(IEvents), agreeing.get()), 1);
  EXPECT_EQ(app.as<IEvents>().get(), agreeing.get());
  const auto script = new_MemParam();
  script->SetValue(script_key::FileName, std::string("/nowhere/script"));
  app.as<IScriptCmdSink>()->ExecCommand(script_key::Process, script.get());
  EXPECT_NE(agreeing->last, "") << "scripts use it too";
  EXPECT_EQ(registry->Withdraw(typeid(IEvents), agreeing.get()), 1);
  EXPECT_EQ(registry->Withdraw(typeid(IEvents), agreeing.get()), 0);
  EXPECT_EQ(app.as<IEvents>().get(), own.get());
  EXPECT_GT(app.as<IOemInfo>()->GetVersion(), 0U);
}

TEST(MessageWindow, MayBeAnsweredByTheButtonThatLosesNothing) {
  const std::pair<EventButtons, QDialogButtonBox::StandardButton> cases[] = {
      {EventButtons::Ok, QDialogButtonBox::Ok},
      {EventButtons::YesNo, QDialogButtonBox::No},
      {EventButtons::RetryCancel, QDialogButtonBox::Retry},
      {EventButtons::OkCancel, QDialogButtonBox::Ok},
  };
  for (const auto& [buttons, wanted] : cases) {
    HostMessage message;
    message.buttons = buttons;
    const MessageWindow window(message, {}, nullptr);
    EXPECT_TRUE(window.property(kMessageWindowMark).toBool());
    for (const QAbstractButton* button : window.findChild<QDialogButtonBox*>()->buttons()) {
      const bool isDefault = static_cast<const QPushButton*>(button)->isDefault();
      EXPECT_EQ(isDefault, window.findChild<QDialogButtonBox*>()->button(wanted) == button)
          << static_cast<int>(buttons);
    }
  }
}

TEST(StdPapers, OwnOnesAddReplaceAndHide) {
  const auto own = new_MemParam();
  const auto roll = sub(own.get(), "Roll", 1);
  roll->SetValue("Name", "Roll 2/3");
  roll->SetValue("Size", tagRPOINT{36, 120});
  roll->SetValue("Units", "inch");
  sub(own.get(), "a4", 1)->SetValue("Size", tagRPOINT{211, 298});
  sub(own.get(), "B10", 1)->SetValue("Used", 0);
  sub(own.get(), "Broken", 1)->SetValue("Size", tagRPOINT{-1, 5});

  const auto papers = KxPtr<IParam>::adopt(new_StdPapers(own.get())->GetPapers());
  const auto size = [&](const char* name) {
    const auto paper = sub(papers.get(), name, 0);
    const CKxVariant value = paramValue(paper.get(), "Size");
    return value.get<tagRPOINT>() ? *value.get<tagRPOINT>() : tagRPOINT{};
  };
  EXPECT_EQ(size("ARCH E1"), (tagRPOINT{30, 42}));
  EXPECT_EQ(paramInt(sub(papers.get(), "B9", 0).get(), "More"), 1) << "seldom used on a large scanner";
  EXPECT_EQ(size("Roll 2_3"), (tagRPOINT{36, 120}));
  EXPECT_EQ(size("A4"), (tagRPOINT{211, 298}));
  EXPECT_EQ(papers->GetSubStore("B10", 0), nullptr);
  EXPECT_EQ(papers->GetSubStore("Broken", 0), nullptr);
}

TEST(RecoverPart, RefusesWhatIsNoLeftover) {
  const TempFolder folder;
  folder.write("empty.tif.part", "");
  std::string file, why;
  EXPECT_EQ(RecoverPart(folder.path("scan.tif"), {}, &file, &why), 0);
  EXPECT_EQ(RecoverPart(folder.path("empty.tif.part"), {folder.path("new/a.tif")}, &file, &why), 0);
  EXPECT_FALSE(std::filesystem::exists(folder.path("new")));
  EXPECT_EQ(RecoverPart(folder.path("empty.tif.part"), {folder.path("a.png")}, &file, &why), 0);
  EXPECT_NE(why.find(".tif"), std::string::npos);
  EXPECT_EQ(RecoverPart(folder.path("gone.tif.part"), {}, &file, &why), 0);
  EXPECT_NE(why.find("gone.tif.part"), std::string::npos);
  EXPECT_EQ(RecoverPart(folder.path("empty.tif.part"), {}, &file, &why), 0);
  EXPECT_TRUE(file.empty());
  EXPECT_FALSE(std::filesystem::exists(folder.path("empty.tif")));
}

}  // namespace
}  // namespace quillbay
