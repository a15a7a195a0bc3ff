#include "control/scan_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "analysis/scan_rectangle.h"

namespace quillbay {
namespace {

TEST(ScanRectangle, IsWidenedCentredAndKeptOnTheBed) {
  struct Case {
    const char* why;
    ScanRectangleInput in;
    tagRRECT want;
  };
  const Case cases[] = {
      {"ten per cent more grows to both sides", {{100, 0, 850, 297}, 10, 900, 110, false}, {62.5, 0, 887.5, 297}},
      {"centred on the bed", {{100, 0, 850, 297}, 10, 900, 110, true}, {37.5, 0, 862.5, 297}},
      {"a fragment is not centred", {{100, 0, 850, 297}, 10, 900, 110, true, true}, {62.5, 0, 887.5, 297}},
      {"a found area is not centred", {{100, 0, 850, 297}, 10, 900, 110, true, false, true}, {62.5, 0, 887.5, 297}},
      {"too narrow becomes the minimum", {{400, 5, 450, 9}, 0, 900, 110, false}, {370, 5, 480, 9}},
      {"narrow at the left edge stays on the bed", {{0, 0, 50, 9}, 0, 900, 110, false}, {0, 0, 110, 9}},
      {"narrow at the right edge stays on the bed", {{880, 0, 900, 9}, 0, 900, 110, false}, {790, 0, 900, 9}},
      {"wider than the bed becomes the bed", {{0, 0, 1000, 9}, 0, 900, 110, false}, {0, 0, 900, 9}},
      {"within a hair of the bed becomes the bed", {{0, 0, 899.9995, 9}, 0, 900, 110, false}, {0, 0, 900, 9}},
      {"a bed narrower than the minimum wins", {{0, 0, 60, 9}, 0, 80, 110, false}, {0, 0, 80, 9}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const tagRRECT got = computeScanRectangle(c.in);
    EXPECT_NEAR(got.left, c.want.left, 1e-9);
    EXPECT_NEAR(got.right, c.want.right, 1e-9);
    EXPECT_EQ(got.top, c.want.top);
    EXPECT_EQ(got.bottom, c.want.bottom);
  }
}

TEST(ScanRectangle, AutoWidthAndFixedWidthLeaveTheLengthToTheScanner) {
  for (const std::int32_t type : {kAreaAuto, kAreaAutoWidth, kAreaFixedWidth, kAreaCustom, kAreaPaper}) {
    const bool open = type == kAreaAutoWidth || type == kAreaFixedWidth;
    const tagRRECT scanned = applyLengthRule({1, 2, 3, 4}, type);
    EXPECT_EQ(scanned.bottom, open ? 2 : 4) << type;
    EXPECT_EQ(boxOfSheet(scanned, {1.5, 2, 2.5, 4}), (tagRRECT{1, 2, 3, 4})) << "straightening needs the length";
  }
}

const UnitFault kCancelled{UnitFaultCode::Cancelled, "stopped"}, kJam{UnitFaultCode::Jammed, "a jam"},
    kEmpty{UnitFaultCode::NoDocuments, "no documents"};
constexpr tagRRECT kArea{0, 0, 254, 127}, kSecond{0, 127, 254, 254};

/// One event, as a word of a table.
struct Event {
  const char* name;
  std::function<Actions(ScanRun&)> happens;
};

Event start(RunKind kind, int wanted = 1) {
  return {"start", [=](ScanRun& r) { return r.start(kind, wanted); }};
}
Event loaded() {
  return {"a document is loaded", [](ScanRun& r) { return r.documentLoaded(); }};
}
Event prepared(bool bursting = false, bool fragment = false) {
  return {"prepared", [=](ScanRun& r) { return r.prepared({bursting, fragment, kArea, 250}); }};
}
Event search() {
  return {"a search for the area", [](ScanRun& r) {
            EXPECT_TRUE(r.beginSearch(RunState::Detecting));
            return Actions{};
          }};
}
Event refused(EndCause cause, UnitFault fault = {}) {
  return {"refused", [=](ScanRun& r) { return r.refused(cause, fault, true); }};
}
Event ends(int status, bool empty = false, UnitFault fault = {}) {
  return {"the unit ends", [=](ScanRun& r) { return r.unitEnded(status, empty, fault); }};
}
Event page(bool taken, bool cancelled = false) {
  return {"the page is handled", [=](ScanRun& r) { return r.pageHandled({cancelled, taken, false, {}}); }};
}
Event piece(double limit = 0) {
  return {"next piece",
          [=](ScanRun& r) { return r.nextPiece(r.pieceArea().bottom > 0 ? r.pieceArea() : kArea, limit); }};
}
Event burstEnds() {
  return {"the burst ends", [](ScanRun& r) { return r.endBurst(); }};
}
Event document(bool hasFeeder = true) {
  return {"next document", [=](ScanRun& r) { return r.nextDocument(hasFeeder); }};
}
Event answered(bool ok) {
  return {"the user answers", [=](ScanRun& r) { return r.documentAnswered(ok); }};
}
Event stop() {
  return {"stop", [](ScanRun& r) { return r.stop(); }};
}
Event stopAfterPage() {
  return {"stop after this page", [](ScanRun& r) { return r.stopAfterPage(); }};
}
Event breaks() {
  return {"something breaks", [](ScanRun& r) { return r.failed(); }};
}
Event closes() {
  return {"the panel closes", [](ScanRun& r) { return r.closed(); }};
}
Event ended() {
  return {"ended", [](ScanRun& r) { return r.ended(); }};
}

/// A row of the table: what happens, the actions of the last event, and what the run is then.
void check(const char* why, const std::vector<Event>& events, const Actions& last, RunState state,
           EndCause cause = EndCause::Done, int pages = 0, int documents = 0) {
  SCOPED_TRACE(why);
  ScanRun run;
  Actions got;
  for (const Event& e : events) got = e.happens(run);
  EXPECT_EQ(nameOf(run.state()), nameOf(state));
  EXPECT_EQ(run.record().cause(), cause);
  EXPECT_EQ(run.record().pages(), pages);
  EXPECT_EQ(run.record().documents(), documents);
  std::vector<std::pair<int, int>> gotCodes, wantedCodes;
  for (const Action& a : got) gotCodes.emplace_back(static_cast<int>(a.what), a.value);
  for (const Action& a : last) wantedCodes.emplace_back(static_cast<int>(a.what), a.value);
  EXPECT_EQ(gotCodes, wantedCodes);
}

using K = RunKind;
using S = RunState;
const Actions kEnd{{Do::ForgetFragment}, {Do::End}};
const Actions kPageAndEnd{{Do::ForgetFragment}, {Do::TellPage}, {Do::ForgetFragment}, {Do::End}};

TEST(ScanRun, APageAndWhatEndsIt) {
  check("a start", {start(K::Scan)}, {{Do::ShowState}, {Do::Prepare}}, S::Preparing);
  check("nothing refused", {start(K::Scan), prepared()}, {{Do::ShowState}, {Do::StartUnit}}, S::Scanning);
  check("a whole page", {start(K::Scan), prepared(), ends(1)}, {{Do::EndPageLater, 0}}, S::Finishing);
  check("it is taken", {start(K::Scan), prepared(), ends(1), page(true)}, kPageAndEnd, S::Ending, EndCause::Done, 1,
        1);
  check("the run is over", {start(K::Scan), prepared(), ends(1), page(true), ended()},
        {{Do::ShowState}, {Do::TellEnded}}, S::Idle, EndCause::Done, 1, 1);
  check("nobody takes it", {start(K::Scan), prepared(), ends(1), page(false)},
        {{Do::ForgetFragment}, {Do::ForgetFragment}, {Do::End}}, S::Ending, EndCause::Output);
  check("a host refuses", {start(K::Scan), refused(EndCause::Refused)}, kEnd, S::Ending, EndCause::Refused);
  check("the unit refuses", {start(K::Scan), prepared(), refused(EndCause::Device, kJam)}, kEnd, S::Ending,
        EndCause::Device);
  check("stopped while a printer holds the page", {start(K::Scan), prepared(), ends(1), stop()},
        {{Do::StopUnit}, {Do::StopPrinting}}, S::Finishing);
  check("a jam", {start(K::Scan), prepared(), ends(2, false, kJam)}, {{Do::EndPageLater, 1}}, S::Finishing,
        EndCause::Device);
  check("a jam before a line", {start(K::Scan), prepared(), ends(2, true, kJam)}, kEnd, S::Ending,
        EndCause::Device);
  check("nothing came", {start(K::Scan), prepared(), ends(1, true)}, kEnd, S::Ending, EndCause::Media);
  check("a page in the store", {start(K::Fragment)}, {{Do::ShowState}, {Do::EndPageLater, 0}}, S::Finishing);
  check("it is no document of a batch", {start(K::Fragment), page(true)}, kPageAndEnd, S::Ending, EndCause::Done,
        1);
  check("a preview", {start(K::Prescan), prepared()}, {{Do::ShowState}, {Do::StartUnit}}, S::Prescanning);
  check("its end", {start(K::Prescan), prepared(), ends(1, true)}, {{Do::End}, {Do::RestartPreview}}, S::Ending);
  check("it jams", {start(K::Prescan), prepared(), ends(2, true, kJam)}, {{Do::End}}, S::Ending, EndCause::Device);
  check("the preview of a part", {start(K::AreaPrescan), prepared(), ends(1, true)}, {{Do::End}}, S::Ending);
}

TEST(ScanRun, EveryStateButIdleRefusesAStart) {
  const std::vector<std::vector<Event>> ways = {
      {start(K::Scan)},
      {start(K::Batch)},
      {start(K::Scan), prepared()},
      {start(K::Scan), prepared(), ends(1)},
      {start(K::Batch, 0), loaded(), prepared(), ends(1), page(true)},
      {start(K::Batch, 0), loaded(), prepared(), ends(1), page(true), document(false)},
      {start(K::Prescan), prepared()},
      {start(K::AreaPrescan), prepared()},
      {start(K::Scan), stop(), prepared()},
      {search()},
  };
  for (const auto& way : ways) {
    ScanRun run;
    for (const Event& e : way) static_cast<void>(e.happens(run));
    const RunState before = run.state();
    SCOPED_TRACE(nameOf(before));
    for (const K kind : {K::Scan, K::Batch, K::Fragment, K::Prescan}) EXPECT_TRUE(run.start(kind, 1).empty());
    EXPECT_EQ(run.start(K::AreaPrescan, 1), Actions{{Do::RestartPreview}}) << "it is still wanted";
    EXPECT_EQ(nameOf(run.state()), nameOf(before));
  }
}

TEST(ScanRun, ABatchGoesFromDocumentToDocument) {
  const std::vector<Event> first = {start(K::Batch, 2), loaded(), prepared(), ends(1), page(true)};
  const auto then = [&](std::vector<Event> more) {
    std::vector<Event> all = first;
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  const Actions stopped{{Do::StopUnit}, {Do::ForgetFragment}, {Do::End}};
  check("a page follows", first, {{Do::ForgetFragment}, {Do::TellPage}, {Do::NextDocumentLater}}, S::Between,
        EndCause::Done, 1, 1);
  check("a feeder", then({document()}), {{Do::LeaveDocument}, {Do::WaitForDocument}}, S::Waiting, EndCause::Done, 1,
        1);
  check("none: the user is asked", then({document(false)}), {{Do::LeaveDocument}, {Do::AskForDocument}}, S::Asking,
        EndCause::Done, 1, 1);
  check("OK", then({document(false), answered(true)}), {{Do::WaitForDocument}}, S::Waiting, EndCause::Done, 1, 1);
  check("Cancel", then({document(false), answered(false)}), kEnd, S::Ending, EndCause::Done, 1, 1);
  check("an answer that comes too late", then({document(false), stop(), answered(true)}), {}, S::Ending,
        EndCause::Stopped, 1, 1);
  check("all that were wanted", then({document(), loaded(), prepared(), ends(1), page(true)}),
        {{Do::ForgetFragment}, {Do::TellPage}, {Do::StopUnit}, {Do::ForgetFragment}, {Do::End}}, S::Ending,
        EndCause::Done, 2, 2);
  check("stop while waiting", then({document(), stop()}), stopped, S::Ending, EndCause::Stopped, 1, 1);
  check("stop between", then({stop()}), stopped, S::Ending, EndCause::Stopped, 1, 1);
  check("stop after this page", {start(K::Batch, 0), loaded(), prepared(), stopAfterPage(), ends(1), page(true)},
        {{Do::ForgetFragment}, {Do::TellPage}, {Do::StopUnit}, {Do::ForgetFragment}, {Do::End}}, S::Ending,
        EndCause::Done, 1, 1);
  check("the feeder ran empty in the middle", then({document(), loaded(), prepared(), ends(2, true, kEmpty)}), kEnd,
        S::Ending, EndCause::Media, 1, 1);
}

TEST(ScanRun, ABurstCutsADocumentToItsEnd) {
  const std::vector<Event> one = {start(K::Batch, 0), loaded(), prepared(true), ends(1), page(true)};
  const auto then = [&](std::vector<Event> more) {
    std::vector<Event> all = one;
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  const Actions home{{Do::MoveArea}, {Do::ForgetFragment}, {Do::End}};
  check("a piece follows", one, {{Do::ForgetFragment}, {Do::TellPage}, {Do::NextPieceLater}}, S::Between,
        EndCause::Done, 1, 0);
  check("it is prepared", then({piece()}), {{Do::MoveArea}, {Do::Prepare}}, S::Preparing, EndCause::Done, 1, 0);
  check("the bed ends", then({piece(127)}), {{Do::EndBurstLater}}, S::Between, EndCause::Done, 1, 0);
  check("a piece without lines", then({piece(), prepared(true), ends(1, true)}), {{Do::EndBurstLater}},
        S::Finishing, EndCause::Done, 1, 0);
  check("the next document", then({piece(), prepared(true), ends(1, true), burstEnds()}),
        {{Do::MoveArea}, {Do::NextDocumentLater}}, S::Between, EndCause::Done, 1, 1);
  check("its first piece is empty",
        then({piece(), prepared(true), ends(1, true), burstEnds(), document(), loaded(), prepared(true),
              ends(1, true), burstEnds()}),
        home, S::Ending, EndCause::Media, 1, 1);
  check("stopped", then({piece(), prepared(true), stop(), ends(2, false, kCancelled)}), {{Do::EndBurstLater}},
        S::Finishing, EndCause::Stopped, 1, 0);
  check("its open page is dropped",
        then({piece(), prepared(true), stop(), ends(2, false, kCancelled), burstEnds()}),
        {{Do::MoveArea}, {Do::DropPage}, {Do::ForgetFragment}, {Do::End}}, S::Ending, EndCause::Stopped, 1, 1);
  check("stop after this page", then({piece(), prepared(true), stopAfterPage(), ends(1), page(true)}),
        {{Do::ForgetFragment}, {Do::TellPage}, {Do::StopUnit}, {Do::MoveArea}, {Do::ForgetFragment}, {Do::End}},
        S::Ending, EndCause::Done, 2, 1);
  check("a refusal in the middle", then({piece(), refused(EndCause::Output)}), home, S::Ending, EndCause::Output, 1,
        0);
  check("the panel closes", then({piece(), prepared(true), closes()}),
        {{Do::MoveArea}, {Do::DropPage}, {Do::ForgetFragment}, {Do::End}}, S::Ending, EndCause::Stopped, 1, 0);
  ScanRun run;
  for (const Event& e : then({piece()})) static_cast<void>(e.happens(run));
  EXPECT_EQ(run.pieceArea(), kSecond);
  EXPECT_EQ(run.ownArea(), kArea) << "what is saved meanwhile";
  EXPECT_TRUE(run.goesOn());
}

TEST(ScanRun, AStopReachesWhateverRuns) {
  check("nothing runs", {stop()}, {{Do::StopUnit}}, S::Idle);
  check("while questions are asked", {start(K::Scan), stop(), prepared()}, kEnd, S::Ending, EndCause::Stopped);
  check("a refusal after it", {start(K::Scan), stop(), refused(EndCause::Media)}, kEnd, S::Ending,
        EndCause::Stopped);
  check("a page", {start(K::Scan), prepared(), stop()}, {{Do::StopUnit}, {Do::WakeStore}}, S::Scanning);
  check("a preview", {start(K::Prescan), prepared(), stop()}, {{Do::StopUnit}}, S::Prescanning);
  check("a search for the area", {start(K::Scan), search(), stop()}, {{Do::CancelSearch}}, S::Detecting);
  check("the device was through already", {start(K::Scan), prepared(), stop(), ends(1), page(true)}, kPageAndEnd,
        S::Ending, EndCause::Stopped, 1, 1);
  check("a failure of the device outranks it", {start(K::Scan), prepared(), stop(), ends(2, true, kJam)}, kEnd,
        S::Ending, EndCause::Device);
}

TEST(ScanRun, AFailureEndsTheRunAsRefused) {
  check("nothing runs", {breaks()}, {{Do::ShowState}}, S::Idle);
  check("before the paper moves", {start(K::Scan), breaks()}, kEnd, S::Ending, EndCause::Refused);
  check("while it moves: the device stops first", {start(K::Batch), loaded(), prepared(), breaks()},
        {{Do::StopUnit}, {Do::WakeStore}}, S::Scanning, EndCause::Refused);
  check("then its end comes", {start(K::Scan), prepared(), breaks(), ends(2, true, kCancelled)}, kEnd, S::Ending,
        EndCause::Refused);
  check("while the page is handed over", {start(K::Scan), prepared(), ends(1), breaks()},
        {{Do::DropPage}, {Do::ForgetFragment}, {Do::End}}, S::Ending, EndCause::Refused);
  check("while the end is told", {start(K::Scan), refused(EndCause::Media), breaks()}, {{Do::End}}, S::Ending,
        EndCause::Media);
}

TEST(RunRecord, TheWeightiestCauseIsWhatARunEndedOf) {
  const std::vector<EndCause> order = {EndCause::Done,    EndCause::Media,  EndCause::Stopped,
                                       EndCause::Refused, EndCause::Device, EndCause::Output};
  for (std::size_t a = 0; a < order.size(); ++a) {
    for (std::size_t b = 0; b < order.size(); ++b) {
      RunRecord record;
      record.note(order[a], {}, true);
      record.note(order[b], {}, true);
      EXPECT_EQ(record.cause(), order[std::max(a, b)]) << a << ' ' << b;
    }
  }
}

}  // namespace
}  // namespace quillbay
