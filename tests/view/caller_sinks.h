#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

#include "quillbay/choosers.h"

namespace quillbay::test {

inline std::string placeText(const CRPoint& at) {
  std::ostringstream text;
  text << at.x << ',' << at.y;
  return text.str();
}

/// Writes down what it is told; offers the sinks that the test wants.
class CallerSinks final
    : public CKxUnknownImplStatic<IToolCtxRubberSink, IToolCtxCursorSink, IToolCtxStatusBarSink> {
 public:
  int QueryInterface(const std::type_info& wanted, void** out) override {
    return offers ? CKxUnknownImplStatic::QueryInterface(wanted, out) : 0;
  }
  int note(IChoose* choose, const std::string& what) {
    EXPECT_NE(choose, nullptr);
    log += (log.empty() ? "" : "; ") + what;
    if (meanwhile) meanwhile(what);
    return 1;
  }
  int PointMoved(IChoose* c, int i, const CRPoint& at) override {
    return note(c, "moved " + std::to_string(i) + ' ' + placeText(at));
  }
  int PointFixed(IChoose* c, int i, const CRPoint& at) override {
    return note(c, "fixed " + std::to_string(i) + ' ' + placeText(at));
  }
  int PointTakenBack(IChoose* c, int i) override { return note(c, "back " + std::to_string(i)); }
  int Finished(IChoose* c) override { return note(c, "finished"); }
  int Cancelled(IChoose* c) override { return note(c, "cancelled"); }
  int GetCursor(IChoose*, int reserved) override { return reserved == 0 ? cursor : -1; }
  int GetText(IChoose*, int part, std::string* out) override {
    *out = part == 0 ? first : second;
    return !out->empty();
  }
  [[nodiscard]] IKxUnknown* base() { return static_cast<IToolCtxRubberSink*>(this); }
  std::string log, first, second;
  int cursor = -1;
  bool offers = true;
  std::function<void(const std::string&)> meanwhile;
};

}  // namespace quillbay::test
