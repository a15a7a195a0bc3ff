// What the host offers around printing: kept options, options as text, rasters for a job, and what becomes of jobs.
#include <gtest/gtest.h>

#include <QtWidgets>
#include <condition_variable>
#include <mutex>

#include "quillbay/print_host.h"
#include "quillbay/print_templates.h"
#include "quillbay/storage.h"
#include "quillbay/tools.h"
#include "support/temp_dir.h"
#include "temp_folder.h"

namespace quillbay {
namespace {

TEST(PrintOptionsKept, LastFromRunToRunAndAreToldOf) {
  const TempFolder folder;
  struct Reactor {
    class Sink final : public TSinkImpl<IParamReactor, Reactor> {
     public:
      using TSinkImpl::TSinkImpl;
      void OnToolParams(std::string_view tool) override { owner()->tools.emplace_back(tool); }
    };
    Sink sink{this};
    std::vector<std::string> tools;
  };
  {
    const auto app = New_HostApp(folder.options());
    const auto provider = app.as<IParamProvider>();
    EXPECT_EQ(provider->GetToolParams("GammaEdit"), nullptr);
    Reactor reactor;
    reactor.sink.Subscribe(
        KxPtr<IConnectionPoint<IParamReactor>>::adopt(provider.as<IParamReactors>()->GetReactors()).get());
    const auto set = new_MemParam();
    set->SetValue(print_key::PrinterName, "plotter");
    set->SetValue(print_key::Percent, 70.5);
    ASSERT_EQ(provider->SetToolParams(tool_name::PrintOptions, set.get()), 1);
    set->Remove(print_key::Percent);
    ASSERT_EQ(provider->SetToolParams(tool_name::PrintOptions, set.get()), 1);
    set->SetValue(print_key::PrinterName, "changed later");
    EXPECT_EQ(reactor.tools, (std::vector<std::string>{"PrintOptions", "PrintOptions"}));
  }
  const auto app = New_HostApp(folder.options());
  const auto kept = KxPtr<IParam>::adopt(app.as<IParamProvider>()->GetToolParams(tool_name::PrintOptions));
  EXPECT_EQ(paramString(kept.get(), "PrinterName"), "plotter") << "a copy was kept";
  EXPECT_EQ(paramDouble(kept.get(), "PrintPercent", -1), -1) << "what a set lacks is not left over";
}

TEST(PrintOptionText, TakesWhatItLists) {
  struct Case {
    const char *name, *value, *key;
    double want;
  };
  const Case good[] = {
      {"scaling", "fit", print_key::Scaling, 2},
      {"scaling", "true", print_key::Scaling, 0},
      {"scaling", "70%", print_key::Percent, 70},
      {"Turn", "AUTO", print_key::Turn, 2},
      {"place", "left", print_key::Place, 1},
      {"margins", "1 in", print_key::MarginTop, 25.4},
      {"color", "bw", print_key::Color, 2},
      {"halftone", "diffusion", print_key::Halftone, 2},
      {"resolution", "auto", print_key::Resolution, 0},
      {"resolution", "600", print_key::Resolution, 600},
      {"quality", "high", print_key::Quality, 5},
      {"tile", "yes", print_key::Tiled, 1},
      {"overlap", "12.5", print_key::Overlap, 12.5},
      {"pieces", "1500", print_key::PieceLength, 1500},
  };
  for (const Case& c : good) {
    SCOPED_TRACE(std::string(c.name) + "=" + c.value);
    const auto set = new_MemParam();
    std::string why;
    EXPECT_EQ(SetPrintOption(set.get(), c.name, c.value, &why), 1) << why;
    EXPECT_DOUBLE_EQ(paramDouble(set.get(), c.key, -1), c.want);
  }
  const std::pair<const char*, const char*> bad[] = {
      {"scaling", "0"},    {"scaling", "1001"}, {"scaling", "big"},    {"margins", "-1"}, {"overlap", "wide"},
      {"resolution", "0"}, {"quality", "best"}, {"crop-marks", "may"}, {"paper", "A0"}};
  for (const auto& [name, value] : bad) {
    SCOPED_TRACE(std::string(name) + "=" + value);
    const auto set = new_MemParam();
    std::string why;
    EXPECT_EQ(SetPrintOption(set.get(), name, value, &why), 0);
    EXPECT_FALSE(why.empty());
    EXPECT_TRUE(set->GetKeys().empty());
  }
}

/// Collects what it is given; its fate is what a test says.
class CollectingJob final : public CKxUnknownImpl<IPrintingJob, IPrintOutcome> {
 public:
  int Start(const char*, IParam*) override { return 1; }
  int PrintStripe(std::int64_t line, IScanBuffer* stripe, IPrintProgress* progress) override {
    KxSize size;
    stripe->GetSize(&size);
    EXPECT_EQ(line, static_cast<std::int64_t>(lines.size()));
    for (std::int32_t i = 0; i < size.height; ++i) {
      const auto* bytes = stripe->GetLine(i);
      const std::size_t count = isRunList(stripe->GetColorSpace())
                                    ? (runCount(reinterpret_cast<const std::uint32_t*>(bytes)) * 2 + 1) * 4
                                    : fixedLineBytes(stripe->GetColorSpace(), size.width);
      lines.emplace_back(bytes, bytes + count);
    }
    return progress->Printed(static_cast<std::int64_t>(lines.size()));
  }
  int End(int) override { return 1; }
  std::string GetError() override { return {}; }
  std::string GetPrinter() override { return "plotter"; }
  std::int32_t GetJob() override { return 12; }
  std::string GetNote() override { return {}; }
  void Wake() override {}
  int Await(double, std::string* state) override {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return !fates.empty(); });
    now = fates.front();
    if (fates.size() > 1) fates.erase(fates.begin());
    *state = "the printer's reason";
    return now == PrintFate::Printed ? 1 : 0;
  }
  PrintFate GetFate() override { return now; }

  std::vector<std::vector<std::uint8_t>> lines;
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<PrintFate> fates;
  std::atomic<PrintFate> now{PrintFate::Working};
};

TEST(PrintRaster, HandsAllLinesOver) {
  for (const KxColorSpace space :
       {KxColorSpace::Grey, KxColorSpace::Rgb, KxColorSpace::Palette, KxColorSpace::Bitonal}) {
    SCOPED_TRACE(static_cast<int>(space));
    constexpr std::int32_t kWidth = 700, kHeight = 5000;
    const auto raster = new_IRStor(space, kWidth, kHeight, 200);
    const auto writer = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
    std::vector<std::vector<std::uint8_t>> wanted;
    for (std::int32_t y = 0; y < kHeight; ++y) {
      std::vector<std::uint8_t> line(fixedLineBytes(space, kWidth));
      for (std::size_t i = 0; i < line.size(); ++i)
        line[i] = static_cast<std::uint8_t>(i * 7 + static_cast<std::size_t>(y) * 3);
      if (isRunList(space)) {
        const auto first = static_cast<std::uint32_t>(y % 600);
        const std::uint32_t runs[] = {first, first + 20, RunEnd};
        line.assign(reinterpret_cast<const std::uint8_t*>(runs), reinterpret_cast<const std::uint8_t*>(runs + 3));
        line.resize(16);
      }
      ASSERT_EQ(writer->WriteLine(y, 0, kWidth, line.data()), 1);
      if (isRunList(space)) line.resize(12);
      wanted.push_back(line);
    }
    const auto options = new_MemParam();
    DescribePage(raster.get(), options.get());
    EXPECT_EQ(paramInt(options.get(), "PageLines"), kHeight);
    const auto job = KxPtr<CollectingJob>::adopt(new CollectingJob);
    EXPECT_EQ(PrintRaster(job.get(), raster.get(), nullptr), 1);
    EXPECT_TRUE(job->lines == wanted);
  }
}

TEST(PrintWatch, TellsHowAJobEnds) {
  struct Case {
    std::vector<PrintFate> fates;
    const char* says;
    std::size_t messages, notes;
  };
  const Case cases[] = {
      {{PrintFate::Working, PrintFate::Printed}, "was printed", 0, 1},
      {{PrintFate::Aborted}, "given up", 1, 0},
      {{PrintFate::Held, PrintFate::Printed}, "was printed", 1, 1},
      {{PrintFate::Cancelled}, "cancelled", 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.says);
    const TempFolder folder;
    HostOptions options = folder.options();
    std::vector<std::string> messages, notes;
    options.onMessage = [&](const HostMessage& message) {
      messages.push_back(message.text);
      return message.answer;
    };
    options.onNote = [&](const std::string&, const std::string& text) { notes.push_back(text); };
    const auto app = New_HostApp(options);
    const auto watch = app.as<IPrintWatch>();
    const auto job = KxPtr<CollectingJob>::adopt(new CollectingJob);
    watch->Watch(job.get());
    EXPECT_EQ(watch->Count(), 1);
    {
      const std::lock_guard lock(job->mutex);
      job->fates = c.fates;
      job->changed.notify_all();
    }
    while (watch->Count() > 0) QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    ASSERT_EQ(messages.size(), c.messages);
    ASSERT_EQ(notes.size(), c.notes);
    const std::string last = c.notes ? notes.back() : messages.back();
    EXPECT_NE(last.find(c.says), std::string::npos) << last;
    EXPECT_NE(last.find("12"), std::string::npos);
    if (c.messages) {
      EXPECT_NE(messages.back().find("the printer's reason"), std::string::npos);
    }
  }
}

TEST(PrintOptionsPage, KeepsEveryValueAlsoWhatAPrinterDoesNotHave) {
  const TempFolder folder;
  const auto app = New_HostApp(folder.options());
  struct Site final : IToolSite {
    void ToolChanged() override { ++changes; }
    int GetPicture(ToolPicture*) override { return 0; }
    int Pick() override { return 0; }
    void EndPick() override {}
    int changes = 0;
  } site;
  QWidget parent;
  const auto tool =
      query<IPanelTool>(KxPtr<IKxUnknown>::adopt(app.as<IToolsFactory>()->MakeTool(tool_name::PrintOptions)).get());
  ASSERT_TRUE(tool);
  QWidget* page = tool->Create(&parent, &site);
  ASSERT_TRUE(page);
  const std::tuple<const char*, CKxVariant> values[] = {{print_key::AutoDetect, 0},
                                                        {print_key::PrinterName, "ipp://127.0.0.1:1/gone"},
                                                        {print_key::Media, "iso_4a0_1682x2378mm"},
                                                        {print_key::Scaling, 1},
                                                        {print_key::Percent, 33},
                                                        {print_key::Turn, 2},
                                                        {print_key::Place, 2},
                                                        {print_key::MarginLeft, 1.5},
                                                        {print_key::MarginBottom, 4.0},
                                                        {print_key::Color, 2},
                                                        {print_key::Halftone, 1},
                                                        {print_key::Resolution, 1234},
                                                        {print_key::Quality, 5},
                                                        {print_key::Copies, 7},
                                                        {print_key::Tiled, 1},
                                                        {print_key::Overlap, 12.5},
                                                        {print_key::CropMarks, 1},
                                                        {print_key::PieceLength, 900.0}};
  const auto set = new_MemParam();
  for (const auto& [key, value] : values) set->SetValue(key, value);
  ASSERT_EQ(tool->Load(set.get()), 1);
  EXPECT_EQ(site.changes, 0) << "loading is no change by the user";
  const auto saved = new_MemParam();
  ASSERT_EQ(tool->Save(saved.get()), 1);
  for (const auto& [key, value] : values) {
    const CKxVariant kept = paramValue(saved.get(), key);
    if (const auto* text = value.get<std::string>()) {
      EXPECT_EQ(paramString(saved.get(), key), *text) << key;
    } else {
      EXPECT_DOUBLE_EQ(kept.toDouble(-1), value.toDouble()) << key;
    }
  }
  page->findChild<QSpinBox*>(QStringLiteral("copies"))->setValue(3);
  EXPECT_EQ(site.changes, 1);
  EXPECT_EQ(tool->Apply(), 1) << "an address need not be in the list";
  tool->Close();
  EXPECT_EQ(tool->Save(saved.get()), 0);
}

}  // namespace
}  // namespace quillbay
