/// The plain rules of the preview page: its window's placement, its buttons, areas.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "preview/first_frame.h"
#include "preview/preview_commands.h"
#include "preview/window_placement.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

TEST(WindowPlacement, ComesBackWholeOrNotAtAll) {
  const WindowPlacement saved{2, 3, {1, 2}, {-8, -8}, {10, 20, 650, 500}};
  const auto section = new_MemParam();
  savePlacement(section.get(), saved);
  EXPECT_EQ(loadPlacement(section.get()), saved);
  section->SetValue(placement_key::ShowCommand, 0);
  EXPECT_EQ(loadPlacement(section.get())->showCommand, 1);
  for (const char* key : {placement_key::Flags, placement_key::ShowCommand, placement_key::Minimised,
                          placement_key::Maximised, placement_key::Normal}) {
    const auto part = new_MemParam();
    Param_CopyTo(section.get(), part.get());
    part->Remove(key);
    EXPECT_FALSE(loadPlacement(part.get())) << key;
    part->SetValue(key, "text");
    EXPECT_FALSE(loadPlacement(part.get()) && key != placement_key::Flags && key != placement_key::ShowCommand)
        << key;
  }
  EXPECT_FALSE(loadPlacement(nullptr));
  savePlacement(nullptr, saved);
}

TEST(WindowPlacement, AWindowOffTheScreensComesBack) {
  const std::vector<tagRRECT> screens{{0, 0, 1366, 768}, {1366, 0, 3286, 1080}};
  struct Case {
    const char* what;
    int show;
    tagRRECT normal;
    WindowShow expected;
  };
  for (const Case& c : {Case{"inside", 1, {10, 10, 500, 400}, WindowShow::Normal},
                        Case{"on the second screen", 1, {2000, 900, 2500, 1300}, WindowShow::Normal},
                        Case{"a corner shows", 1, {-500, -400, 3, 3}, WindowShow::Normal},
                        Case{"only the edge shows", 1, {-500, -400, 2, 2}, WindowShow::Maximised},
                        Case{"below", 1, {10, 766, 500, 1100}, WindowShow::Maximised},
                        Case{"right of all", 1, {3284, 0, 3800, 400}, WindowShow::Maximised},
                        Case{"minimised, off", 2, {-900, 0, -300, 400}, WindowShow::Minimised},
                        Case{"maximised, off", 3, {-900, 0, -300, 400}, WindowShow::Maximised}}) {
    EXPECT_EQ(shownOn({0, c.show, {}, {}, c.normal}, screens), c.expected) << c.what;
  }
  EXPECT_EQ(shownOn({0, 1, {}, {}, {0, 0, 9, 9}}, {}), WindowShow::Maximised) << "no screen";
}

TEST(PreviewCommands, FollowPictureModesAndPlace) {
  namespace id = preview_command;
  struct Case {
    const char* what;
    PreviewCondition now;
    std::vector<int> enabled, checked;
  };
  // controllerAllows, rectValid, hasPicture, drawsArea, drawsFragment, showsFragment, updatingDisabled, docked
  const std::vector<Case> cases{
      {"nothing yet", {true, false, false, false, false, false, false, true}, {id::DisableUpdating, id::Float}, {}},
      {"a picture without an area", {true, false, true}, {id::DisableUpdating, id::Float}, {}},
      {"a preview",
       {true, true, true},
       {id::NewArea, id::NewFragment, id::ScanFragment, id::DisableUpdating, id::Float},
       {}},
      {"drawing",
       {true, true, true, true},
       {id::NewArea, id::NewFragment, id::ScanFragment, id::DisableUpdating, id::Float},
       {id::NewArea}},
      {"a fragment",
       {true, true, true, false, false, true, true},
       {id::NewArea, id::NewFragment, id::AreaFromFragment, id::ScanFragment, id::DisableUpdating, id::Float},
       {id::NewFragment, id::DisableUpdating}},
      {"floating",
       {true, true, true, false, false, false, false, false},
       {id::Prescan, id::AreaPrescan, id::Stop, id::NewArea, id::NewFragment, id::ScanFragment, id::DisableUpdating,
        id::Dock},
       {}},
      {"busy",
       {false, true, true, false, false, true, false, true},
       {id::DisableUpdating, id::Float},
       {id::NewFragment}},
  };
  for (const Case& c : cases) {
    for (const int command : id::kAll) {
      SCOPED_TRACE(std::string(c.what) + ", " + std::to_string(command));
      const auto has = [&](const std::vector<int>& list) {
        return std::find(list.begin(), list.end(), command) != list.end();
      };
      const PreviewButton button = buttonOf(command, c.now);
      EXPECT_EQ(button.enabled, has(c.enabled));
      EXPECT_EQ(button.checked, has(c.checked));
      const bool ofWindow =
          command == id::Prescan || command == id::AreaPrescan || command == id::Stop || command == id::Dock;
      EXPECT_EQ(button.shown, command == id::Float ? c.now.docked : !ofWindow || !c.now.docked);
    }
  }
}

TEST(PreviewCommands, AreaOfAFragmentAndTheFirstFrame) {
  const tagRRECT fragment{30, 40, 230, 190};
  EXPECT_EQ(areaOfFragment(fragment, kAlwaysCentres), fragment);
  EXPECT_EQ(areaOfFragment(fragment, 0), fragment);
  EXPECT_EQ(areaOfFragment(fragment, kNeverCentres), (tagRRECT{0, 0, 200, 150}));
  EXPECT_EQ(firstFrame({100, 20, 400, 500}, 0.25, 110, 55), (tagRRECT{175, 20, 325, 75}));
  EXPECT_EQ(firstFrame({0, 0, 100, 100}, 0.25, 110, 55), (tagRRECT{-5, 0, 105, 55}));
  EXPECT_EQ(firstFrame({0, 0, 800, 100}, 2, 110, 55), (tagRRECT{200, 0, 600, 800}));

  ScanValues v;
  v.lastScanArea = v.rcPreview = fragment;
  EXPECT_TRUE(isFrameScanned(v));
  v.rcPreview.bottom += 0.002;
  EXPECT_FALSE(isFrameScanned(v));
}

}  // namespace
}  // namespace quillbay
