#pragma once
#include "quillbay/control.h"

namespace quillbay {

/// How much a cause weighs: what a run ended of is the weightiest that was noted.
[[nodiscard]] int weightOf(EndCause cause) noexcept;

/// What there is to tell of one run: how many pages and documents it has made, and why it ends.
class RunRecord {
 public:
  /// A new run. `wanted` documents; 0: until none comes.
  void begin(int wanted);

  /// A weightier cause takes the place of a lighter one. `told`: the user was shown why.
  void note(EndCause cause, const UnitFault& fault, bool told);
  [[nodiscard]] EndCause cause() const noexcept { return m_cause; }
  [[nodiscard]] bool isTold() const noexcept { return m_isTold; }
  [[nodiscard]] const UnitFault& fault() const noexcept { return m_fault; }

  void addPage() noexcept { ++m_pages; }
  void addDocument() noexcept { ++m_documents; }
  /// Pages that were handed over.
  [[nodiscard]] std::int32_t pages() const noexcept { return m_pages; }
  [[nodiscard]] std::int32_t documents() const noexcept { return m_documents; }
  /// Whether the document that runs is the last one that was asked for.
  [[nodiscard]] bool isLastWanted() const noexcept { return m_wanted > 0 && m_documents + 1 >= m_wanted; }
  [[nodiscard]] bool hasAllWanted() const noexcept { return m_wanted > 0 && m_documents >= m_wanted; }

 private:
  EndCause m_cause = EndCause::Done;
  bool m_isTold = true;
  UnitFault m_fault;
  std::int32_t m_pages = 0, m_documents = 0;
  int m_wanted = 0;
};

}  // namespace quillbay
