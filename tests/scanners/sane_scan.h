#pragma once
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "recording_sink.h"
#include "scanners/sane/sane_unit.h"
#include "support/sane_config.h"

namespace quillbay::testing {

/// Long enough for any machine: only a scan that hangs reaches it.
inline constexpr std::chrono::seconds kHang{30};

/// A sink that can be waited for.
class WaitingSink : public RecordingSink {
 public:
  WaitingSink() {
    onEnded = [this](int) {
      const std::lock_guard lock(m_mutex);
      m_isEnded = true;
      m_changed.notify_all();
    };
  }
  int ScanStarted(KxColorSpace cs, std::int64_t w, std::int64_t lines, std::uint32_t d) override {
    const std::lock_guard lock(m_mutex);
    m_isStarted = true;
    m_changed.notify_all();
    return RecordingSink::ScanStarted(cs, w, lines, d);
  }
  int QueryContinue() override {
    const std::lock_guard lock(m_mutex);
    ++m_questions;
    m_changed.notify_all();
    return goOn ? goOn() : 1;
  }
  bool waitForStart() {
    return wait([this] { return m_isStarted; });
  }
  bool waitForEnd() {
    return wait([this] { return m_isEnded; });
  }
  /// Until the unit is about to read for the `n`th time.
  bool waitForReads(int n) {
    return wait([this, n] { return m_questions >= n; });
  }

  std::function<int()> goOn;

 private:
  template <class Condition>
  bool wait(Condition condition) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kHang, condition);
  }
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_isStarted = false, m_isEnded = false;
  int m_questions = 0;
};

using Options = std::vector<std::pair<std::string, std::string>>;

/// A scan request in millimetres.
struct Request {
  int mode = 5;
  int dpi = 50;
  tagRRECT rect{0, 0, 37, 41};
  bool batch = false;
  double length = 0;
  int scanType = 2;

  [[nodiscard]] KxPtr<IParam> params() const {
    KxPtr<IParam> p = new_MemParam();
    p->SetValue("MODE", mode);
    p->SetValue("ImageDPI", dpi);
    p->SetValue("RECT", rect);
    p->SetValue("SCAN_TYPE", scanType);
    p->SetValue("batchmode", batch ? 1 : 0);
    if (length > 0) p->SetValue("m_Edit", length);
    return p;
  }
};

/// Settings as a manager keeps them of a scanner.
inline void remember(IParam& settings, const char* device, const char* model) {
  settings.SetValue("Device", device);
  settings.SetValue("Vendor", "Noname");
  settings.SetValue("Model", model);
  settings.SetValue("Type", "virtual device");
  settings.SetValue("Name", "my scanner");
}

/// A SANE device opened by itself.
class SaneScanner {
 public:
  explicit SaneScanner(const std::string& device = "test:0")
      : m_scan(newSaneScan(nullptr, device, "", &openFault)) {
    unit = m_scan.as<IQuillbayUnit>();
    // The driver keeps the options of its devices from one opening to the next.
    if (unit && device == "test:0")
      set({{"source", "Flatbed"},
           {"test-picture", "Color pattern"},
           {"hand-scanner", "no"},
           {"three-pass", "no"},
           {"three-pass-order", "RGB"},
           {"read-limit", "no"},
           {"read-delay", "no"},
           {"non-blocking", "no"},
           {"select-fd", "no"},
           {"read-return-value", "Default"},
           {"fuzzy-parameters", "no"},
           {"ppl-loss", "0"}});
  }
  void set(const Options& options) {
    for (const auto& [name, value] : options) {
      std::string why;
      EXPECT_EQ(m_scan.as<IUnitOptions>()->SetOption(name, value, &why), 1) << name << "=" << value << ": " << why;
    }
  }
  [[nodiscard]] bool start(const Request& request, IScanSink* sink) const {
    return unit->Scan(sink, request.params().get()) && unit->Command(sink, 0);
  }
  /// Scans a page to its end.
  [[nodiscard]] bool scan(const Request& request, WaitingSink* sink) const {
    return start(request, sink) && sink->waitForEnd();
  }
  [[nodiscard]] UnitFault fault() const { return m_scan.as<IUnitFault>()->GetFault(); }
  [[nodiscard]] IScan* get() const { return m_scan.get(); }
  [[nodiscard]] KxPtr<IUnitOptions> options() const { return m_scan.as<IUnitOptions>(); }

  UnitFault openFault;
  KxPtr<IQuillbayUnit> unit;

 private:
  KxPtr<IScan> m_scan;
};

/// A picture: rows of 8-bit samples, 1 or 3 a pixel. Bitonal ones are 0 for black.
struct Picture {
  std::int64_t width = 0, height = 0;
  int channels = 1;
  std::vector<std::uint8_t> bytes;
  bool operator==(const Picture&) const = default;
};

Picture pictureOf(const WaitingSink& sink);
/// Reads a PBM, PGM or PPM file (P4-P6); 16-bit samples by their high byte.
Picture readPnm(const std::string& bytes);
/// What `scanimage` delivers.
Picture scanimage(const std::string& arguments);
/// Says where two pictures differ first.
::testing::AssertionResult same(const Picture& ours, const Picture& theirs);

}  // namespace quillbay::testing
