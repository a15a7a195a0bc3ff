#include "control/panel_toolbar.h"

#include <gtest/gtest.h>

#include "control/command_ids.h"

namespace quillbay {
namespace {

TEST(PanelCommands, AreOnWhereTheyDoSomething) {
  using Ids = std::vector<int>;
  const Ids all{command::kScan,        command::kBatch,        command::kPrescan,
                command::kAreaPrescan, command::kStop,         command::kStopAfterPage,
                command::kEject,       command::kSwitchLayout, command::kHelp};
  struct Case {
    const char* why;
    PanelState state;
    Ids off, hidden;
  };
  const Case cases[] = {
      {"idle", {.hasPreview = true, .hasView = true}, {command::kStop, command::kStopAfterPage}, {}},
      {"a page runs",
       {.busy = true, .hasPreview = true, .hasView = true},
       {command::kScan, command::kBatch, command::kPrescan, command::kAreaPrescan, command::kEject},
       {}},
      {"it is the last one",
       {.busy = true, .stopsAfterPage = true, .hasPreview = true, .hasView = true},
       {command::kScan, command::kBatch, command::kPrescan, command::kAreaPrescan, command::kStopAfterPage,
        command::kEject},
       {}},
      {"without preview, view and pages",
       {.hasPages = false},
       {command::kStop, command::kStopAfterPage, command::kSwitchLayout},
       {command::kPrescan, command::kAreaPrescan}},
      {"the scanner's own settings",
       {.direct = true, .hasPreview = true, .hasView = true},
       {command::kStop, command::kStopAfterPage},
       {command::kPrescan, command::kAreaPrescan, command::kStop, command::kEject}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    Ids off, hidden;
    for (const int id : all) {
      if (!isCommandEnabled(id, c.state)) off.push_back(id);
      if (!isCommandShown(id, c.state)) hidden.push_back(id);
    }
    EXPECT_EQ(off, c.off);
    EXPECT_EQ(hidden, c.hidden);
  }
}

}  // namespace
}  // namespace quillbay
