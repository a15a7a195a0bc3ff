#include <atomic>
#include <future>
#include <mutex>

#include "printing/print_fixture.h"
#include "printing/printers.h"

namespace quillbay::test {
namespace {

/// Stripes without an end: more than a connection's buffers take.
class EndlessPage {
 public:
  /// Pushes until the job refuses.
  void printOn(PrintJob& job, IPrintProgress* progress = nullptr) {
    while (job.push(m_page.stripes[m_next++ % m_page.stripes.size()].get(), progress)) {
    }
  }
  [[nodiscard]] const NoisePage& page() const { return m_page; }

 private:
  NoisePage m_page{KxColorSpace::Rgb, 1100, 1000, 100, 100};
  std::size_t m_next = 0;
};

Options endless(const std::string& printer) {
  return Options(printer).with(print_key::Media, "roll_current_300x0mm");
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class PrintFaults : public PrinterTest {
 protected:
  static JobPatience impatient() {
    JobPatience p;
    p.ask = {1, 0.5, 0.5};
    p.silence = 0.5;
    p.askAgain = 0.1;
    return p;
  }
};

TEST_F(PrintFaults, RefusalsNameThePrinterAndTheCause) {
  IppPrinter printer, documents("", "application/pdf,image/jpeg");
  const NoisePage page(KxColorSpace::Grey, 2000, 2000);
  const std::string nobody = "ipp://localhost:" + std::to_string(freePort()) + "/ipp/print";
  struct {
    Options options;
    std::vector<std::string> words;
  } cases[] = {
      {Options(nobody), {nobody}},
      {Options("ipp://"), {"ipp://"}},
      {Options(documents.uri()), {"Plotter", "image/pwg-raster", "image/urf", "application/pdf"}},
      {Options(printer.uri(), &page).with(print_key::Media, "iso_a4_210x297mm"), {"508 x 508", "210 x 297", "A4"}},
      {Options(printer.uri(), &page).with(print_key::Media, "iso_a3_297x420mm"), {"iso_a3_297x420mm"}},
  };
  for (const auto& c : cases) {
    PrintJob job(impatient());
    EXPECT_FALSE(job.start("Test", c.options.set.get()));
    for (const std::string& word : c.words) EXPECT_TRUE(contains(job.error(), word)) << job.error();
    EXPECT_FALSE(job.push(page.stripes[0].get(), nullptr));
    EXPECT_FALSE(job.end(true));
  }
}

TEST_F(PrintFaults, APrinterThatDiesInTheMiddleEndsTheJobAndTheNextOneWorks) {
  IppPrinter printer, next;
  EndlessPage endlessPage;
  PrintJob job(impatient());
  ASSERT_TRUE(job.start("Test", endless(printer.uri()).set.get())) << job.error();
  // The printer dies when the job is known to be under way.
  struct Killer : IPrintProgress {
    ChildProcess& process;
    explicit Killer(ChildProcess& p) : process(p) {}
    int Printed(std::int64_t lines) override {
      if (lines > 4000) process.end(SIGKILL);
      return 1;
    }
  } killer(printer.process());
  endlessPage.printOn(job, &killer);
  EXPECT_FALSE(job.end(true));
  EXPECT_TRUE(contains(job.error(), printer.uri())) << job.error();
  const NoisePage page(KxColorSpace::Grey, 200, 100);
  PrintJob second;
  EXPECT_EQ(printPage(second, page, Options(next.uri(), &page)), "");
}

TEST_F(PrintFaults, AnAbandonedPageIsCancelledAtThePrinter) {
  IppPrinter printer;
  const NoisePage page(KxColorSpace::Rgb, 1000, 500);
  PrintJob job;
  ASSERT_TRUE(job.start("Test", endless(printer.uri()).set.get())) << job.error();
  // Until the printer has a job to cancel.
  for (std::size_t i = 0; job.job() == 0; ++i) ASSERT_TRUE(job.push(page.stripes[i % 50].get(), nullptr));
  EXPECT_TRUE(job.end(false));
  JobSignals jobSignals;
  std::string state;
  PrintFate fate = PrintFate::Working;
  for (int i = 0; i < 2000 && fate == PrintFate::Working; ++i) {
    fate = askJobFate(printer.uri(), job.job(), {}, jobSignals, &state);
  }
  EXPECT_TRUE(fate == PrintFate::Cancelled || fate == PrintFate::Aborted) << static_cast<int>(fate) << state;
  const NoisePage whole(KxColorSpace::Grey, 200, 100);
  PrintJob second;
  EXPECT_EQ(printPage(second, whole, Options(printer.uri(), &whole)), "");
}

TEST_F(PrintFaults, WhatWaitsForAPrinterIsWoken) {
  IppPrinter printer;
  for (const bool byProgress : {false, true}) {
    PrintJob job;
    ASSERT_TRUE(job.start("Test", endless(printer.uri()).set.get())) << job.error();
    printer.process().send(SIGSTOP);
    struct Counter : IPrintProgress {
      std::atomic<int> ticks{0};
      int most = 0;
      int Printed(std::int64_t) override { return ++ticks < most ? 1 : 0; }
    } counter;
    counter.most = byProgress ? 60 : 1 << 30;
    EndlessPage page;
    auto pushed = std::async(std::launch::async, [&] { page.printOn(job, &counter); });
    if (!byProgress) job.wake();
    pushed.get();
    // The printer lives, or the job would wait for its answer to the cancellation.
    printer.process().send(SIGCONT);
    EXPECT_TRUE(job.end(false));
    EXPECT_TRUE(contains(job.error(), "cancelled")) << job.error();
  }
}

TEST_F(PrintFaults, APrinterThatAnswersNothingIsGivenUp) {
  IppPrinter printer;
  PrintJob job(impatient());
  ASSERT_TRUE(job.start("Test", endless(printer.uri()).set.get())) << job.error();
  EndlessPage page;
  struct Stopper : IPrintProgress {
    ChildProcess& process;
    explicit Stopper(ChildProcess& p) : process(p) {}
    int Printed(std::int64_t lines) override {
      if (lines > 4000) process.send(SIGSTOP);
      return 1;
    }
  } stopper(printer.process());
  page.printOn(job, &stopper);
  EXPECT_FALSE(job.end(true));
  EXPECT_TRUE(contains(job.error(), printer.uri())) << job.error();
}

TEST_F(PrintFaults, AJobThatThePrinterAbortsIsToldWithItsReason) {
  const TempDir folder;
  writeFile(folder.file("fail"), "#!/bin/sh\necho 'ERROR: The ink is dry.' >&2\nexit 1\n");
  ::chmod(folder.file("fail").c_str(), 0755);
  IppPrinter printer(kPlotter, "image/pwg-raster", folder.file("fail"));
  const NoisePage page(KxColorSpace::Grey, 200, 100);
  PrintJob job;
  const std::string outcome = printPage(job, page, Options(printer.uri(), &page));
  EXPECT_TRUE(contains(outcome, "fate 3")) << outcome;
  EXPECT_TRUE(contains(outcome, "ink is dry") || contains(outcome, "aborted")) << outcome;
}

TEST_F(PrintFaults, AJobWithoutAStripeMakesNothing) {
  IppPrinter printer;
  PrintJob job;
  ASSERT_TRUE(job.start("Test", Options(printer.uri()).set.get())) << job.error();
  EXPECT_TRUE(job.end(true)) << job.error();
  EXPECT_EQ(job.job(), 0);
  EXPECT_FALSE(job.end(true)) << "a job is ended once";
}

/// A server that takes connections and says nothing.
TEST_F(PrintFaults, AListIsNotWaitedForByItsOwner) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(::listen(fd, 8), 0);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  const std::string name = "ipp://localhost:" + std::to_string(ntohs(address.sin_port)) + "/ipp/print";
  std::atomic<bool> called{false};
  {
    PrinterList list;
    list.describe(name, [&](PrinterInfo, const std::string&) { called = true; });
  }
  EXPECT_FALSE(called) << "nobody answered, and the list did not wait";
  ::close(fd);
}

}  // namespace
}  // namespace quillbay::test
