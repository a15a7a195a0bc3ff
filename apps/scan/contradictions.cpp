#include "contradictions.h"

#include <array>

namespace {

using Test = bool (*)(const ScanOptions&);

bool batches(const ScanOptions& o) { return o.batch.has_value(); }
bool recovers(const ScanOptions& o) { return o.action == ScanOptions::Action::Recover; }
bool namesFile(const ScanOptions& o) { return !o.output.empty(); }
bool setsEdges(const ScanOptions& o) {
  return o.area.starts_with("custom") || o.area.starts_with("auto-width") || o.area.starts_with("fixed-width");
}

/// An option, by what is set when it is given.
struct Given {
  const char* name;
  Test test;
};

constexpr Given kOutput{"--output", namesFile};
constexpr Given kStdout{"-o -", [](const ScanOptions& o) { return o.output == "-"; }};
constexpr Given kDir{"--dir", [](const ScanOptions& o) { return !o.dir.empty(); }};
constexpr Given kMask{"--mask", [](const ScanOptions& o) { return !o.mask.empty(); }};
constexpr Given kMultipage{"--multipage", [](const ScanOptions& o) { return o.multipage; }};
constexpr Given kOverwrite{"--overwrite", [](const ScanOptions& o) { return o.overwrite; }};
constexpr Given kIncrement{"--increment", [](const ScanOptions& o) { return o.increment; }};
constexpr Given kBatch{"--batch", batches};
constexpr Given kPrompt{"--batch-prompt", [](const ScanOptions& o) { return o.batchPrompt; }};
constexpr Given kDelay{"--batch-delay", [](const ScanOptions& o) { return o.batchDelay.has_value(); }};
constexpr Given kBursting{"--bursting", [](const ScanOptions& o) { return o.bursting; }};
constexpr Given kJson{"--json", [](const ScanOptions& o) { return o.json; }};
constexpr Given kRecover{"--recover", recovers};
constexpr Given kDryRun{"--dry-run", [](const ScanOptions& o) { return o.action == ScanOptions::Action::DryRun; }};

struct Pair {
  Given one, other;
  const char* advice;
};

constexpr std::array kPairs{
    Pair{kOverwrite, kIncrement, "choose what happens to a file in the way"},
    Pair{kOverwrite, kMultipage, "pages are added to an existing file; delete it first"},
    Pair{kIncrement, kMultipage, "pages are added to an existing file; choose another name"},
    Pair{kOutput, kDir, "--output names folder and file"},
    Pair{kOutput, kMask, "--output names folder and file"},
    Pair{kStdout, kBatch, "standard output takes one page"},
    Pair{kStdout, kBursting, "standard output takes one page"},
    Pair{kStdout, kMultipage, "standard output takes one page"},
    Pair{kStdout, kOverwrite, "standard output is no file"},
    Pair{kStdout, kIncrement, "standard output is no file"},
    Pair{kStdout, kDryRun, "standard output has no name"},
    Pair{kStdout, kRecover, "give the recovered file a name"},
    Pair{kStdout, kJson, "both write to standard output"},
    Pair{kPrompt, kDelay, "wait for the person or for the time"},
    Pair{{"--quiet", [](const ScanOptions& o) { return o.quiet; }},
         {"--verbose", [](const ScanOptions& o) { return o.verbose > 0; }},
         "choose one"},
    Pair{{"--portrait", [](const ScanOptions& o) { return o.portrait == true; }},
         {"--area with edges or a width", setsEdges},
         "only a paper has an orientation"},
    Pair{{"--landscape", [](const ScanOptions& o) { return o.portrait == false; }},
         {"--area with edges or a width", setsEdges},
         "only a paper has an orientation"},
    Pair{kRecover, kDir, "use --output"},
    Pair{kRecover, kMask, "use --output"},
    Pair{kRecover, kMultipage, "nothing is scanned"},
    Pair{kRecover, kBatch, "nothing is scanned"},
    Pair{kRecover, {"--device", [](const ScanOptions& o) { return !o.device.empty(); }}, "nothing is scanned"},
    Pair{kRecover, {"--format", [](const ScanOptions& o) { return !o.format.empty(); }}, "pages stay as they are"},
};

}  // namespace

std::string contradiction(const ScanOptions& o) {
  for (const Pair& pair : kPairs) {
    if (!pair.one.test(o) || !pair.other.test(o)) continue;
    return std::string(pair.one.name) + " and " + pair.other.name + " exclude each other: " + pair.advice;
  }
  for (const Given& given : {kPrompt, kDelay}) {
    if (given.test(o) && !batches(o)) return std::string(given.name) + " needs --batch";
  }
  return {};
}
