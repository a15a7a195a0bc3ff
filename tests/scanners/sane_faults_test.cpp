// A SANE device that fails, is stopped, or runs out of paper; the scan after it works.
#include "sane_scan.h"

namespace quillbay::testing {
namespace {

// A page long enough that it only ends when it is stopped.
const Request kLongPage{7, 1200, {0, 0, 500, 1000}};
const Options kSlowReads{{"read-delay", "yes"}, {"read-delay-duration", "200000"}};

void expectWorks(SaneScanner& scanner, const Request& request = {}) {
  WaitingSink sink;
  ASSERT_TRUE(scanner.scan(request, &sink)) << scanner.fault().text;
  EXPECT_EQ(sink.ended, std::vector<int>{1}) << scanner.fault().text;
  EXPECT_GT(sink.lineCount, 0);
  EXPECT_EQ(scanner.fault().code, UnitFaultCode::None);
}

TEST(SaneFaults, SourcesAndKeysThatTheDeviceOffers) {
  SaneScanner scanner;
  const auto media = scanner.unit.as<IUnitMedia>();
  std::vector<UnitSource> sources;
  EXPECT_EQ(media->GetSources(&sources), 2);
  EXPECT_EQ(sources, (std::vector{UnitSource::Flatbed, UnitSource::Feeder}));
  EXPECT_EQ(media->HasFeeder(), 0);
  std::string why;
  EXPECT_EQ(media->SetSource(UnitSource::Feeder, &why), 1) << why;
  EXPECT_EQ(media->GetSource(), UnitSource::Feeder);
  EXPECT_NE(media->HasFeeder(), 0);
  EXPECT_EQ(media->SetSource(UnitSource::Duplex, &why), 0);
  EXPECT_NE(why.find("flatbed; feeder"), std::string::npos) << why;

  UnitKeyRange range;
  const auto ranges = scanner.unit.as<IUnitKeyRanges>();
  EXPECT_EQ(ranges->GetKeyRange("level4", &range), 1);
  EXPECT_EQ(range.most, 255);
  EXPECT_EQ(ranges->GetKeyRange("BACKGROUNDSUPP4", &range), 1);
  EXPECT_EQ(range.most, 100);
  for (const char* unknown : {"LEVEL5", "BLUR8", "BACKGROUNDSUPP0", "SCAN_HUE"})
    EXPECT_EQ(ranges->GetKeyRange(unknown, &range), 0);

  // The feeder that was chosen counts for who opens the device next.
  const auto kept = new_MemParam();
  scanner.options()->SaveOptions(kept.get());
  media->SetSource(UnitSource::Flatbed, nullptr);
  scanner.options()->LoadOptions(kept.get());
  EXPECT_EQ(media->GetSource(), UnitSource::Feeder);
  for (const UnitOption& o : scanner.options()->GetOptions()) {
    if (o.name == "resolution") {
      EXPECT_TRUE(o.followsRequest && o.least == 1 && o.most == 9600) << o.range;
    }
    if (o.name == "hand-scanner") {
      EXPECT_TRUE(o.type == UnitOptionType::Switch && o.group == "Scan Mode") << o.group;
    }
  }
}

TEST(SaneFaults, ADeviceWithoutASourceIsAFlatbedUntilItRunsEmpty) {
  SaneScanner scanner("pnm:0");
  const auto media = scanner.unit.as<IUnitMedia>();
  EXPECT_EQ(media->HasFeeder(), 0);
  std::vector<UnitSource> sources;
  EXPECT_EQ(media->GetSources(&sources), 1);
  const auto picture = saneConfig.folder() / "page.pgm";
  std::ofstream(picture) << "P5\n1 1\n255\nx";
  scanner.set({{"filename", picture.string()}, {"status", "no"}, {"status-nodocs", "yes"}});
  WaitingSink sink;
  EXPECT_TRUE(scanner.scan({5, 100}, &sink)) << scanner.fault().text;
  EXPECT_EQ(scanner.fault().code, UnitFaultCode::NoDocuments) << scanner.fault().text;
  EXPECT_NE(media->HasFeeder(), 0);
  EXPECT_EQ(media->GetSource(), UnitSource::Feeder);
  scanner.set({{"status", "yes"}, {"status-nodocs", "no"}});  // the driver keeps them
}

TEST(SaneFaults, EveryStatusHasItsOwnMessage) {
  struct Case {
    const char* status;
    UnitFaultCode code;
    const char* says;
  };
  const Case cases[] = {
      {"SANE_STATUS_UNSUPPORTED", UnitFaultCode::Unsupported, "does not support"},
      {"SANE_STATUS_CANCELLED", UnitFaultCode::Cancelled, "cancelled"},
      {"SANE_STATUS_DEVICE_BUSY", UnitFaultCode::Busy, "busy"},
      {"SANE_STATUS_INVAL", UnitFaultCode::Invalid, "refused"},
      {"SANE_STATUS_EOF", UnitFaultCode::InputOutput, "ended before"},
      {"SANE_STATUS_JAMMED", UnitFaultCode::Jammed, "jammed"},
      {"SANE_STATUS_NO_DOCS", UnitFaultCode::NoDocuments, "empty"},
      {"SANE_STATUS_COVER_OPEN", UnitFaultCode::CoverOpen, "cover"},
      {"SANE_STATUS_IO_ERROR", UnitFaultCode::InputOutput, "cable"},
      {"SANE_STATUS_NO_MEM", UnitFaultCode::NoMemory, "memory"},
      {"SANE_STATUS_ACCESS_DENIED", UnitFaultCode::AccessDenied, "group"},
  };
  SaneScanner scanner;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.status);
    scanner.set({{"read-return-value", c.status}});
    WaitingSink sink;
    ASSERT_TRUE(scanner.scan({}, &sink));
    EXPECT_EQ(sink.started, 1);
    EXPECT_EQ(sink.ended, std::vector<int>{2});
    EXPECT_EQ(scanner.fault().code, c.code);
    EXPECT_NE(scanner.fault().text.find(c.says), std::string::npos) << scanner.fault().text;
    EXPECT_NE(scanner.fault().text.find("test:0"), std::string::npos) << scanner.fault().text;
    scanner.set({{"read-return-value", "Default"}});
    expectWorks(scanner);
  }
}

TEST(SaneFaults, StopsWhileAReadBlocks) {
  SaneScanner scanner;
  scanner.set(kSlowReads);
  for (const int command : {1, 2}) {
    WaitingSink sink;
    sink.keep = false;
    ASSERT_TRUE(scanner.start(kLongPage, &sink));
    ASSERT_TRUE(sink.waitForReads(3));
    EXPECT_EQ(scanner.unit->Command(nullptr, command), 1);
    ASSERT_TRUE(sink.waitForEnd());
    EXPECT_EQ(sink.ended, std::vector<int>{2});
    EXPECT_EQ(scanner.fault().code, UnitFaultCode::Cancelled);
  }
  scanner.set({{"read-delay", "no"}});
  expectWorks(scanner);
}

TEST(SaneFaults, APageThatBreaksOffHandsOnTheLinesThatItHas) {
  SaneScanner scanner;
  scanner.set({{"read-delay", "yes"},
               {"read-delay-duration", "20000"},
               {"read-limit", "yes"},
               {"read-limit-size", "4096"}});
  // Grey lines go into the stripe as they are; adaptive black and white holds lines back.
  for (const int mode : {5, 1}) {
    SCOPED_TRACE(mode);
    WaitingSink sink;
    ASSERT_TRUE(scanner.start({mode, 100, {0, 0, 100, 1000}}, &sink));
    ASSERT_TRUE(sink.waitForReads(12));
    scanner.unit->Command(nullptr, 1);
    ASSERT_TRUE(sink.waitForEnd());
    EXPECT_EQ(sink.ended, std::vector<int>{2});
    EXPECT_GT(sink.lineCount, 20);  // 394 pixels a line
    EXPECT_LT(sink.lineCount, 3937);
  }
  scanner.set({{"read-delay", "no"}, {"read-limit", "no"}});
}

TEST(SaneFaults, StopsWhenTheSinkWantsIt) {
  SaneScanner scanner;
  for (const int stripes : {0, 3}) {
    WaitingSink sink;
    sink.keep = false;
    if (stripes)
      sink.onStripe = [&](IScanBuffer*) { return sink.stripes < stripes ? 1 : 0; };
    else
      sink.goOn = [] { return 0; };
    ASSERT_TRUE(scanner.scan(kLongPage, &sink));
    EXPECT_EQ(sink.ended, std::vector<int>{2});
    EXPECT_EQ(sink.stripes, stripes);
    EXPECT_EQ(scanner.fault().code, UnitFaultCode::Cancelled);
    expectWorks(scanner);
  }
}

TEST(SaneFaults, StoppedBeforeItsTurnOnTheSaneThread) {
  SaneScanner first, second("pnm:0");
  first.set(kSlowReads);
  WaitingSink running, waiting;
  running.keep = false;
  ASSERT_TRUE(first.start(kLongPage, &running));
  ASSERT_TRUE(running.waitForStart());
  ASSERT_TRUE(second.start({5, 75}, &waiting)) << second.fault().text;
  EXPECT_EQ(second.unit->Command(nullptr, 1), 1);
  EXPECT_EQ(first.unit->Command(nullptr, 1), 1);
  ASSERT_TRUE(waiting.waitForEnd());
  EXPECT_EQ(waiting.ended, std::vector<int>{2});
  EXPECT_EQ(waiting.started, 0);
  first.set({{"read-delay", "no"}});
  expectWorks(first);
}

TEST(SaneFaults, AnswersWhileAScanRunsAndKeepsSettingsForTheNext) {
  SaneScanner scanner;
  scanner.set(kSlowReads);
  WaitingSink sink;
  sink.keep = false;
  ASSERT_TRUE(scanner.start(kLongPage, &sink));
  ASSERT_TRUE(sink.waitForStart());
  std::vector<UnitResolution> resolutions;
  EXPECT_GT(scanner.unit->GetResolutions(&resolutions, 5), 5);
  EXPECT_EQ(scanner.unit->GetMaxWidth(), 2000);
  EXPECT_EQ(scanner.unit->Command(nullptr, 4), 1);
  EXPECT_GT(scanner.options()->GetOptions().size(), 10u);
  scanner.set({{"read-delay", "no"}, {"test-picture", "Solid white"}});
  WaitingSink next;
  EXPECT_EQ(scanner.unit->Scan(&next, Request{}.params().get()), 1);
  EXPECT_EQ(scanner.unit->Command(&next, 0), 0) << "one scan at a time";
  scanner.unit->Command(nullptr, 1);
  ASSERT_TRUE(sink.waitForEnd());
  ASSERT_EQ(scanner.unit->Command(&next, 0), 1);
  ASSERT_TRUE(next.waitForEnd());
  EXPECT_EQ(next.bytes, std::vector<std::uint8_t>(next.bytes.size(), 255));
}

TEST(SaneFaults, UnitGivenUpDuringAScan) {
  WaitingSink sink;
  sink.keep = false;
  {
    SaneScanner scanner;
    scanner.set(kSlowReads);
    ASSERT_TRUE(scanner.start(kLongPage, &sink));
    ASSERT_TRUE(sink.waitForStart());
  }
  EXPECT_EQ(sink.ended, std::vector<int>{2});
}

TEST(SaneFaults, FeederRunsEmptyAfterTenSheets) {
  SaneScanner scanner;
  scanner.set({{"source", "Automatic Document Feeder"}});
  Request page;
  page.batch = true;
  for (int round = 0; round < 2; ++round) {  // loaded again, it goes on
    int pages = 0;
    for (int status = 1; status == 1 && pages <= 10; ++pages) {
      WaitingSink sink;
      ASSERT_EQ(scanner.unit->Command(nullptr, 4), 1);
      ASSERT_TRUE(scanner.scan(page, &sink));
      ASSERT_EQ(sink.ended.size(), 1u);
      status = sink.ended[0];
      EXPECT_EQ(sink.started, status == 1 ? 1 : 0);
    }
    EXPECT_EQ(pages, 11);
    EXPECT_EQ(scanner.fault().code, UnitFaultCode::NoDocuments);
    EXPECT_EQ(scanner.unit->Command(nullptr, 4), 0) << "said once, until the next start tells";
  }
  scanner.set({{"source", "Flatbed"}});
  expectWorks(scanner);
}

// A device of unknown length takes no area: a sheet in the feeder is read to its end, so that the next one follows;
// a page on the bed only as far as it is wanted.
TEST(SaneFaults, PagesThatAreCutFollowOneAnother) {
  SaneScanner scanner;
  scanner.set({{"hand-scanner", "yes"}});
  for (const char* source : {"Automatic Document Feeder", "Flatbed"}) {
    SCOPED_TRACE(source);
    scanner.set({{"source", source}});
    Request page{5, 100, {10, 0, 60, 50}};
    page.batch = true;
    for (int i = 0; i < 3; ++i) {
      WaitingSink sink;
      ASSERT_TRUE(scanner.scan(page, &sink)) << scanner.fault().text;
      EXPECT_EQ(sink.ended, std::vector<int>{1}) << scanner.fault().text;
      EXPECT_EQ(sink.width, 197);
      EXPECT_EQ(sink.lineCount, 197);
      EXPECT_EQ(sink.announced, -1) << "the sheet may end before";
    }
  }
  scanner.set({{"hand-scanner", "no"}});
  expectWorks(scanner);
}

TEST(SaneFaults, RefusesWhatTheDeviceDoesNotOffer) {
  struct Case {
    const char* why;
    Request request;
    const char* says;
  };
  const Case cases[] = {
      {"mode", {8, 50}, "mode 8"},
      {"resolution above the range", {5, 20000}, "1..9600"},
      {"area without width", {5, 50, {50, 0, 50, 50}}, "area"},
      {"area upside down", {5, 50, {0, 50, 50, 20}}, "area"},
  };
  SaneScanner scanner;
  WaitingSink sink;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_FALSE(scanner.start(c.request, &sink));
    EXPECT_NE(scanner.fault().text.find(c.says), std::string::npos) << scanner.fault().text;
  }
  EXPECT_EQ(scanner.unit->Command(&sink, 0), 0) << "nothing is armed";
  WaitingSink beyond;
  ASSERT_TRUE(scanner.scan({5, 50, {0, 2100, 50, 2200}}, &beyond));
  EXPECT_EQ(beyond.ended, std::vector<int>{2});
  EXPECT_EQ(beyond.started, 0);
  EXPECT_EQ(scanner.fault().code, UnitFaultCode::Invalid);

  SaneScanner picture("pnm:0");
  EXPECT_FALSE(picture.start({5, 60}, &sink));
  EXPECT_NE(picture.fault().text.find("75, 90, 100"), std::string::npos) << picture.fault().text;
}

TEST(SaneFaults, OptionsAreCheckedWhenTheyAreSet) {
  struct Case {
    const char *name, *value;
    const char* why;  // empty: taken
  };
  const Case cases[] = {
      {"source", "flatbed", ""},     {"source", "Slide", "Flatbed, Automatic Document Feeder"},
      {"three-pass", "on", ""},      {"three-pass", "perhaps", "no, yes"},
      {"ppl-loss", "129", "0..128"}, {"ppl-loss", "12x", "0..128"},
      {"depth", "7", "1, 8, 16"},    {"mode", "Gray", "scan mode"},
      {"br-x", "10", "scan mode"},   {"no-such", "1", "read-limit"},
  };
  SaneScanner scanner;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.name) + "=" + c.value);
    std::string why;
    EXPECT_EQ(scanner.options()->SetOption(c.name, c.value, &why), *c.why ? 0 : 1);
    EXPECT_NE(why.find(c.why), std::string::npos) << why;
  }
}

}  // namespace
}  // namespace quillbay::testing
