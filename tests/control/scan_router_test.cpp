#include "control/scan_router.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <new>

#include "destinations/file_names.h"
#include "stores/scan_to_file_stor.h"
#include "stores/simple_stor.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

TEST(ScanRouter, ANameThatChangesAtTheStartGetsItsFolderOrIsRefused) {
  struct Case {
    const char* why;
    std::uint32_t dpi;
    bool isFolderBlocked, refused;
    const char* path;
  };
  const Case cases[] = {{"as prepared", 100, false, false, "/100/page.tif"},
                        {"another resolution is another folder", 150, false, false, "/150/page.tif"},
                        {"the folder cannot be made", 150, true, true, "/150/page.tif"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const test::TempDir out;
    ScanRouter router(nullptr);
    const auto plan = std::make_shared<ScanPlan>();
    ScanValues& v = plan->draft.names.values;
    v.dir = out.path() + "/<DPI>";
    v.mask = "page";
    v.useAutoCounter = 0;
    v.dpi = 100;
    v.colorSpace = KxColorSpace::Grey;
    v.outputFile = buildOutputPath(plan->draft.names);
    std::filesystem::create_directory(out.path() + "/100");
    if (c.isFolderBlocked) std::filesystem::create_symlink("nowhere/at/all", out.path() + "/150");
    plan->destination = KxPtr<ISStripStor>::adopt(new CScanToFileStor(nullptr, nullptr));
    router.arm(plan);
    ASSERT_EQ(router.onStarted(KxColorSpace::Grey, 8, -1, c.dpi), 1);
    const ScanStarted started = router.takeStarted();
    EXPECT_EQ(started.page.target.path, out.path() + c.path);
    EXPECT_EQ(!started.page.refused.empty(), c.refused) << started.page.refused;
    EXPECT_EQ(std::filesystem::is_directory(out.path() + "/" + std::to_string(c.dpi)), !c.refused);
  }
}

class BrokenFlush final : public IStraightening {
 public:
  void Begin(const StraighteningBasis&) override {}
  KxPtr<IScanBuffer> Pass(IScanBuffer* stripe, std::int64_t) override {
    if (!stripe) throw std::bad_alloc();
    return KxPtr<IScanBuffer>::share(stripe);
  }
};

TEST(ScanRouter, APageThatLosesItsLastLinesEndsAsFailedAndIsTold) {
  for (const RunKind kind : {RunKind::Scan, RunKind::Prescan}) {
    SCOPED_TRACE(static_cast<int>(kind));
    ScanRouter router(nullptr);
    const auto plan = std::make_shared<ScanPlan>();
    plan->kind = kind;
    plan->destination = plan->view = makeEmptyStore();
    plan->straightening = std::make_shared<BrokenFlush>();
    ScanRun run;
    static_cast<void>(run.start(kind, 1));
    static_cast<void>(run.prepared({}));
    router.arm(plan);
    EXPECT_NO_THROW(router.onEnded(1));
    EXPECT_FALSE(router.isRunning());
    const auto end = router.takeEnd();
    ASSERT_TRUE(end);
    static_cast<void>(run.unitEnded(end->status, end->isEmpty, end->lost));
    EXPECT_EQ(run.record().cause(), EndCause::Device);
    EXPECT_FALSE(run.record().isTold());
    EXPECT_EQ(run.state(), RunState::Ending);
    static_cast<void>(run.ended());
    EXPECT_FALSE(run.isBusy());
  }
}

}  // namespace
}  // namespace quillbay
