#include "channels/module_probe.h"

#include <sys/stat.h>

#include <algorithm>

#include "core/helper_process.h"
#include "platform/base_services.h"
#include "platform/log_category.h"

namespace quillbay {

namespace {

constexpr const char* kProbeHelper = "quillbay-probe-formats";
constexpr const char* kWritesNothing = "it offers nothing that can be written";

/// The tab-separated fields of a line.
std::vector<std::string> fieldsOf(const std::string& line) {
  std::vector<std::string> fields;
  for (std::size_t from = 0; from <= line.size();) {
    const std::size_t to = std::min(line.find('\t', from), line.size());
    fields.push_back(line.substr(from, to - from));
    from = to + 1;
  }
  return fields;
}

std::int64_t numberOf(const std::string& text) {
  std::int64_t number = 0;
  return parseNumber(text, &number) ? number : 0;
}

FormatFacts readFacts(const std::vector<std::string>& fields) {
  FormatFacts facts;
  facts.name = fields[1];
  facts.colorSpaces = static_cast<std::uint32_t>(numberOf(fields[2]));
  facts.paged = fields[3] == "1";
  facts.saves = fields[4] == "1";
  facts.description = fields[5];
  facts.extensions.assign(fields.begin() + 6, fields.end());
  return facts;
}

void takeEnd(const std::vector<std::string>& fields, ModuleAnswer* answer) {
  if (fields[1] != "ok") {
    answer->state = ModuleState::Unusable;
    answer->why = fields.size() > 2 ? fields[2] : std::string();
    return;
  }
  const bool saves = std::any_of(answer->formats.begin(), answer->formats.end(),
                                 [](const FormatFacts& facts) { return facts.saves; });
  answer->state = saves ? ModuleState::Good : ModuleState::Nothing;
  if (!saves) answer->why = kWritesNothing;
}

/// Takes the helper's report on `asked`, in whose order it looks at them. Returns how many came to their end; the
/// one after them was begun when `*begun`.
std::size_t takeReport(const std::string& report, const std::vector<ModuleAnswer*>& asked, bool* begun) {
  std::size_t ended = 0;
  *begun = false;
  for (std::size_t at = 0; ended < asked.size();) {
    const std::size_t end = report.find('\n', at);
    if (end == std::string::npos) break;
    const auto fields = fieldsOf(report.substr(at, end - at));
    at = end + 1;
    if (fields[0] == "begin") {
      *begun = true;
      asked[ended]->formats.clear();  // of a report that was cut
    }
    if (fields[0] == "format" && fields.size() >= 7) asked[ended]->formats.push_back(readFacts(fields));
    if (fields[0] != "end" || fields.size() < 2) continue;
    takeEnd(fields, asked[ended++]);
    *begun = false;
  }
  return ended;
}

/// The verdict over one that the helper did not come back from.
void giveUpOn(ModuleAnswer* answer, const HelperEnd& end, std::chrono::milliseconds limit) {
  answer->formats.clear();
  answer->state = end.how == HelperEnd::How::TimedOut ? ModuleState::Hung : ModuleState::Crashed;
  answer->why = answer->state == ModuleState::Hung ? formatText("it did not answer within %s seconds",
                                                                {toText(static_cast<double>(limit.count()) / 1000)})
                                                   : formatText("it crashes when it is loaded (%s)", {end.why});
}

/// Asks about as many as one run of the helper gets to; the rest is left in `asked`.
bool askHelper(const std::string& helper, std::chrono::milliseconds limit, std::vector<ModuleAnswer*>* asked) {
  std::vector<std::string> files;
  files.reserve(asked->size());
  for (const ModuleAnswer* answer : *asked) files.push_back(answer->file);
  const HelperEnd end = runHelper(helper, files, limit);
  bool begun = false;
  std::size_t done = takeReport(end.output, *asked, &begun);
  // One that those before it left little time is asked again, as the first.
  const bool isCut = end.how == HelperEnd::How::TimedOut && done > 0;
  if (begun && done < asked->size() && !isCut) giveUpOn((*asked)[done++], end, limit);
  asked->erase(asked->begin(), asked->begin() + static_cast<std::ptrdiff_t>(done));
  if (done > 0) return true;
  logLine(
      LogLevel::Error, kChannelsLog,
      formatText("%s cannot examine the format modules: %s", {helper, end.why.empty() ? "it failed" : end.why}));
  return false;
}

const ModuleAnswer* findKnown(const std::vector<ModuleAnswer>& known, const ModuleAnswer& file) {
  const auto found = std::find_if(known.begin(), known.end(), [&](const ModuleAnswer& k) {
    return k.file == file.file && k.size == file.size && k.time == file.time && k.abi == file.abi;
  });
  const bool counts =
      found != known.end() && found->state != ModuleState::Unusable && found->state != ModuleState::Unasked;
  return counts ? &*found : nullptr;
}

}  // namespace

bool stampFile(ModuleAnswer* answer) {
  struct stat info {};
  if (stat(answer->file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  answer->size = info.st_size;
  answer->time = std::int64_t{info.st_mtim.tv_sec} * 1000000000 + info.st_mtim.tv_nsec;
  return true;
}

std::vector<ModuleAnswer> examineModules(const std::vector<std::string>& files,
                                         const std::vector<ModuleAnswer>& known, std::chrono::milliseconds limit,
                                         int* examined) {
  std::vector<ModuleAnswer> answers;
  for (const std::string& file : files) {
    ModuleAnswer answer;
    answer.file = file;
    answer.abi = QUILLBAY_FORMAT_ABI;
    if (!stampFile(&answer)) continue;
    const ModuleAnswer* kept = findKnown(known, answer);
    if (kept) answer = *kept;
    if (answer.state == ModuleState::Nothing) answer.why = kWritesNothing;
    answers.push_back(std::move(answer));
  }
  std::vector<ModuleAnswer*> asked;
  for (ModuleAnswer& answer : answers) {
    if (answer.state == ModuleState::Unasked) asked.push_back(&answer);
  }
  if (examined) *examined = static_cast<int>(asked.size());
  if (asked.empty()) return answers;
  const std::string helper = findHelper(kProbeHelper);
  if (helper.empty()) {
    logLine(LogLevel::Error, kChannelsLog,
            formatText("the program %s, which examines format modules, is missing: install it again or set "
                       "QUILLBAY_LIBEXEC to its folder",
                       {kProbeHelper}));
    return answers;
  }
  while (!asked.empty() && askHelper(helper, limit, &asked)) {
  }
  return answers;
}

}  // namespace quillbay
