#include "host/event_policy.h"

#include <gtest/gtest.h>

#include "temp_folder.h"

namespace quillbay {
namespace {

constexpr const char* kOverwrite = "File /a/b.tif already exists. Overwrite?$QBHelp:IDH_QB_OverWrite$";

TEST(EventPolicy, AnswersWithoutAPerson) {
  struct Case {
    const char* why;
    int kind, buttons;
    const char* text;
    bool overwrite;
    int want;
  };
  const Case cases[] = {
      {"information", 12, 7, "Hello", false, 7},
      {"overwriting is refused", 14, 1, kOverwrite, false, 2},
      {"unless it was asked for", 14, 1, kOverwrite, true, 1},
      {"whatever the path holds", 14, 1, "File /a$b.tif exists?$QBHelp:IDH_QB_OverWrite$", true, 1},
      {"which answers no other question", 14, 1, "Delete everything?", true, 2},
      {"nobody loads a document", 16, 3, "Scanner not ready: <Media not loaded>", true, 3},
      {"the whole image is scanned", 14, 1, "Could not autodetect bounds?$QBHelp:IDH_AutodetectError$", false, 1},
      {"unknown numbers are information", 99, 99, "Hm", false, 7},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const TempFolder folder;
    HostOptions options = folder.options();
    options.answers.overwrite = c.overwrite;
    int heard = 0;
    options.onMessage = [&](const HostMessage& message) {
      ++heard;
      const std::string whole = c.text;
      EXPECT_EQ(message.text, whole.substr(0, whole.find("$QBHelp")));
      return message.answer;
    };
    const auto events = New_HostApp(options).as<IEvents>();
    EXPECT_EQ(events->Message(c.kind, c.text, 0, c.buttons), c.want);
    EXPECT_EQ(heard, 1);
  }
}

TEST(EventPolicy, OnlyTheEndOfAMessageIsATopic) {
  struct Case {
    const char *message, *text, *topic;
  };
  const Case cases[] = {
      {"Empty.$QBHelp:IDH_MaskEmpty$", "Empty.", "QBHelp:IDH_MaskEmpty"},
      {"File /a$b.tif exists.$QBHelp:IDH_QB_OverWrite$", "File /a$b.tif exists.", "QBHelp:IDH_QB_OverWrite"},
      {"File /$a$/b.tif exists.$QBHelp:IDH_QB_OverWrite$", "File /$a$/b.tif exists.", "QBHelp:IDH_QB_OverWrite"},
      {"Cannot write /a$b.tif", "Cannot write /a$b.tif", ""},
      {"Cannot write /a/$b$", "Cannot write /a/$b$", ""},
      {"Cannot write /a/$b:c$", "Cannot write /a/$b:c$", ""},
      {"$QBHelp:IDH_MaskEmpty$ is a topic", "$QBHelp:IDH_MaskEmpty$ is a topic", ""},
      {"It costs 5$", "It costs 5$", ""},
      {"$", "$", ""},
      {"$$", "$$", ""},
      {"", "", ""},
  };
  for (const Case& c : cases) {
    const EventText parts = splitEventText(c.message);
    EXPECT_EQ(parts.text, c.text);
    EXPECT_EQ(parts.helpTopic, c.topic) << c.message;
  }
}

TEST(EventPolicy, CannotWriteNamesFileAndCause) {
  struct Case {
    const char *path, *cause, *want;
  };
  const Case cases[] = {
      {"/a/$b$.tif", "no space left", "Cannot write to /a/$b$.tif: no space left"},
      {"/a/b.tif", "The file /a/b.tif is read-only.", "The file /a/b.tif is read-only."},  // names it already
      {"", "", "Cannot write to the output file"},
  };
  const TempFolder folder;
  HostOptions options = folder.options();
  HostMessage last;
  options.onMessage = [&](const HostMessage& message) {
    last = message;
    return message.answer;
  };
  const auto events = New_HostApp(options).as<IEvents>();
  for (const Case& c : cases) {
    events->Subject(c.path, c.cause);
    EXPECT_EQ(events->Event(kEventCannotWrite, nullptr, 7), 7);
    EXPECT_EQ(last.text, c.want);
    EXPECT_EQ(last.path, c.path);
    EXPECT_EQ(last.event, kEventCannotWrite);
  }
  events->Message(12, "Next", 0, 7);
  EXPECT_EQ(last.text, "Next");  // the subject was of one event alone
}

}  // namespace
}  // namespace quillbay
