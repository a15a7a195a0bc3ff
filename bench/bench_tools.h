#pragma once
/// What the measurements of the user interface share: clocks, medians, memory and the machine's load.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

namespace quillbay::bench {

inline double msOf(clockid_t clock) {
  timespec t{};
  clock_gettime(clock, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

/// Milliseconds of the wall, of this thread on a core and of all threads of the process together. On a busy machine
/// the wall counts what other programs take; the thread's time does not.
struct Times {
  double wall = 0, thread = 0, process = 0;
};

inline Times now() {
  return {msOf(CLOCK_MONOTONIC), msOf(CLOCK_THREAD_CPUTIME_ID), msOf(CLOCK_PROCESS_CPUTIME_ID)};
}

inline Times since(const Times& start) {
  const Times t = now();
  return {t.wall - start.wall, t.thread - start.thread, t.process - start.process};
}

inline double median(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

/// Many runs of one thing.
class Series {
 public:
  void add(const Times& t) { m_runs.push_back(t); }
  void add(const Series& other) { m_runs.insert(m_runs.end(), other.m_runs.begin(), other.m_runs.end()); }
  [[nodiscard]] std::size_t count() const { return m_runs.size(); }
  [[nodiscard]] double median(double Times::*which) const { return bench::median(all(which)); }
  [[nodiscard]] double worst(double Times::*which) const {
    const auto v = all(which);
    return v.empty() ? 0 : *std::max_element(v.begin(), v.end());
  }

 private:
  [[nodiscard]] std::vector<double> all(double Times::*which) const {
    std::vector<double> v;
    for (const Times& t : m_runs) v.push_back(t.*which);
    return v;
  }
  std::vector<Times> m_runs;
};

/// A line of /proc/self/status, in MiB.
inline double memoryMib(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(key, 0) == 0) return std::atof(line.c_str() + key.size() + 1) / 1024;
  }
  return 0;
}

/// The most memory that no file backs, of the moments at which it was looked at.
class PeakMemory {
 public:
  void look() { m_most = std::max(m_most, memoryMib("RssAnon:")); }
  [[nodiscard]] double mib() const { return m_most; }

 private:
  double m_most = 0;
};

/// The machine's load as the system tells it: who reads a figure has to know what else ran.
inline std::string load() {
  double l[3] = {};
  if (getloadavg(l, 3) < 1) return "unknown";
  char text[32];
  std::snprintf(text, sizeof(text), "%.1f", l[0]);
  return text;
}

/// A figure beside its aim, for the table at the end of all measurements. `own` is the part of it that the thread
/// itself took; 0: not known.
inline void aim(const std::string& what, double value, const char* unit, double limit, double own = 0) {
  std::printf("aim  %-58s %7.1f %-3s  below %4.0f  %-6s", what.c_str(), value, unit, limit,
              value < limit ? "met" : "MISSED");
  if (own > 0) std::printf("  its thread %.1f", own);
  std::printf("\n");
  std::fflush(stdout);
}

/// The same for a figure that is to be at least as large.
inline void aimAtLeast(const std::string& what, double value, const char* unit, double limit) {
  std::printf("aim  %-58s %7.2f %-4s above %4.1f  %-6s\n", what.c_str(), value, unit, limit,
              value >= limit ? "met" : "MISSED");
  std::fflush(stdout);
}

}  // namespace quillbay::bench
