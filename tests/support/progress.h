#pragma once
#include <utility>

#include "quillbay/raster.h"

namespace quillbay::test {

/// Notes the positions that it is told, and cancels from a number of questions or from a position on.
class Progress final : public CKxUnknownImplStatic<IProgress> {
 public:
  static constexpr int kNever = 1 << 30;
  explicit Progress(int questions = kNever, int positions = kNever)
      : m_questions(questions), m_positions(positions) {}
  void SetText(const char*) override {}
  void Step() override {}
  int SetPosition(int to) override {
    rises = rises && to >= position;
    return std::exchange(position, to);
  }
  void Reset() override {}
  int IsCancelled() override { return ++asked > m_questions || position >= m_positions ? 1 : 0; }

  int position = -1, asked = 0;
  bool rises = true;

 private:
  int m_questions, m_positions;
};

}  // namespace quillbay::test
