#pragma once
#include <condition_variable>
#include <mutex>
#include <string>

#include <gtest/gtest.h>

#include "quillbay/param.h"
#include "recording_sink.h"
#include "scanners/sim/sim_scan.h"

namespace quillbay::testing {

/// A simulated scanner with a sink that can be waited for.
class SimRig {
 public:
  explicit SimRig(const std::string& device)
      : m_scan(newSimScan(device, &why)), m_unit(m_scan.as<IQuillbayUnit>()) {
    EXPECT_TRUE(m_unit) << why;
    newRequest(5, 50);
  }
  IParam& newRequest(int mode, int dpi) {
    request = new_MemParam();
    request->SetValue("MODE", mode);
    request->SetValue("ImageDPI", dpi);
    return *request;
  }
  IParam& area(double left, double top, double right, double bottom) {
    request->SetValue("RECT", tagRRECT{left, top, right, bottom});
    return *request;
  }
  /// Arms and runs; answers what the unit answered.
  bool start(RecordingSink& sink) {
    {
      const std::lock_guard lock(m_mutex);
      m_status = 0;
    }
    sink.onEnded = [this](int status) {
      const std::lock_guard lock(m_mutex);
      m_status = status;
      m_changed.notify_all();
    };
    return m_unit->Scan(&sink, request.get()) != 0 && m_unit->Command(&sink, 0) != 0;
  }
  int wait() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_status != 0; });
    return m_status;
  }
  int scan(RecordingSink& sink) {
    EXPECT_TRUE(start(sink)) << fault().text;
    return wait();
  }
  [[nodiscard]] UnitFault fault() const { return m_scan.as<IUnitFault>()->GetFault(); }
  [[nodiscard]] IQuillbayUnit& unit() const { return *m_unit; }
  [[nodiscard]] IScan& object() const { return *m_scan; }
  int command(UnitCommand code) { return m_unit->Command(nullptr, static_cast<int>(code)); }

  std::string why;
  KxPtr<IParam> request;

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_status = 0;
  KxPtr<IScan> m_scan;  // ends before what its thread tells goes
  KxPtr<IQuillbayUnit> m_unit;
};

}  // namespace quillbay::testing
