// What runs beside a scanner's thread: for the thread sanitizer, which sees both sides of it.
#include <gtest/gtest.h>

#include <QtWidgets>
#include <atomic>
#include <thread>
#include <vector>

#include "preview/dash_clock.h"
#include "preview/view_sync.h"
#include "stores/preview_stor.h"
#include "stores/scan_buffer.h"
#include "stores/simple_stor.h"
#include "stores/view_stor.h"

namespace quillbay::test {
namespace {

constexpr std::uint8_t kTone = 90;

KxPtr<IScanBuffer> stripe(std::int32_t width, std::int32_t lines) {
  const auto buffer =
      KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(254, {width, lines}, KxColorSpace::Grey, nullptr));
  const std::vector<std::uint8_t> line(static_cast<std::size_t>(width), kTone);
  for (std::int32_t i = 0; i < lines; ++i) buffer->AddLine(0, line.data());
  return KxPtr<IScanBuffer>::share(buffer.get());
}

TEST(PreviewThreads, TheViewPaintsBesideArrivingStripes) {
  QWidget host;
  host.resize(400, 200);
  const auto port = new_ViewPort(nullptr, &host);
  port->GetWindow()->resize(400, 200);
  host.show();
  const auto params = CSharedScanParams::acquire(nullptr, &makeEmptyStore);
  bool scanning = false;
  const auto sync = KxPtr<CViewSync>::adopt(new CViewSync(params.get(), [&] { return scanning; }));
  sync->Attach(0, port.as<IKxView>().get());
  sync->SetArea({0, 0, 400, 600}, 0);
  const auto shown = [&] { return port->GetWindow()->grab().toImage(); };
  for (const bool isPage : {false, true}) {
    scanning = isPage;
    if (isPage) {
      params->viewStore = KxPtr<ISStripStor>::adopt(
          new CViewStor(CViewStor::Raster::Own, KxPtr<CPreviewStor>::adopt(new CPreviewStor(800))));
    }
    const auto store = params->viewStore;
    std::atomic<bool> done{false};
    std::thread scanner([&] {
      for (int i = 0; i < 60; ++i) store->AddStripe(stripe(1000, 40).get());
      done = true;
    });
    while (!done) EXPECT_FALSE(shown().isNull());
    scanner.join();
    EXPECT_EQ(shown().pixelColor(200, 100).red(), kTone);
    store->Reset();
  }
}

TEST(PreviewThreads, TheDashesCountUntilTheyAreStopped) {
  std::atomic<int> last{0};
  DashClock clock([&](int phase) { last = phase; });
  clock.Start(0, 0);
  while (last < 2) std::this_thread::yield();
  clock.Suspend();
  clock.Stop();
  const int stopped = last;
  clock.Start(0, 0);
  while (last == stopped) std::this_thread::yield();
  clock.Stop();
}

}  // namespace
}  // namespace quillbay::test
