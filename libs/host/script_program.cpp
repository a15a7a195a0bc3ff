#include "host/script_program.h"

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "host/program_run.h"
#include "platform/base_services.h"
#include "quillbay/formats.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

constexpr const char* kScratch = "/var/tmp";  // pages are large; /tmp may be memory
constexpr int kMostLimit = 86400;             // seconds

/// A folder that only this user can read, removed with all that is in it.
class WorkFolder {
 public:
  WorkFolder() {
    const char* base = std::getenv("TMPDIR");
    m_path = std::string(base && *base == '/' ? base : kScratch) + "/quillbay-run-XXXXXX";
    if (mkdtemp(m_path.data())) return;
    const int error = errno;
    throw CXFileException(
        formatText(Supp_Translate("The folder %s cannot be made: %s"), {m_path, fio::errorText(error)}), m_path,
        error);
  }
  ~WorkFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
    if (error) logLine(LogLevel::Warning, "quillbay.script", m_path + " is left: " + error.message());
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  [[nodiscard]] std::string file(const std::string& name) const { return m_path + "/" + name; }
  [[nodiscard]] const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

/// Lets a program's wait be seen and cancelled.
class Waiting {
 public:
  explicit Waiting(IProgress* progress) : m_progress(progress) {}
  [[nodiscard]] bool isCancelled() const {
    if (!m_progress) return false;
    m_progress->Step();
    return m_progress->IsCancelled() != 0;
  }

 private:
  IProgress* m_progress;
};

std::string withoutExtension(const std::string& path) {
  return path.substr(0, path.size() - fio::extensionOf(path).size());
}

std::string withErrors(const std::string& text, const std::string& errors) {
  return errors.empty() ? text : text + ": " + errors;
}

/// Throws unless the program ended well.
void checkEnd(const ScriptStep& step, const ProgramEnd& end, int limit) {
  const std::string& program = step.program.words.front();
  const std::string code = toText(std::int64_t{end.code});
  switch (end.kind) {
    case ProgramEnd::Kind::Cancelled: return;
    case ProgramEnd::Kind::TimedOut:
      throw CXException(
          withErrors(formatText(Supp_Translate("%s was ended: it took longer than %s seconds (LIMIT)"),
                                {program, toText(std::int64_t{limit})}),
                     end.errorText));
    case ProgramEnd::Kind::Signalled:
      throw CXException(
          withErrors(formatText(Supp_Translate("%s was ended by signal %s"), {program, code}), end.errorText));
    case ProgramEnd::Kind::Exited:
      if (end.code == 0) return;
      throw CXException(
          withErrors(formatText(Supp_Translate("%s ended with exit status %s"), {program, code}), end.errorText));
  }
}

std::vector<KxPtr<IRStor>> readOutput(const ScriptStep& step, const std::string& file, const ProgramWork& work) {
  const std::string& program = step.program.words.front();
  if (!fio::exists(file)) throw CXException(formatText(Supp_Translate("%s wrote no file %o"), {program}));
  std::vector<KxPtr<IRStor>> pages;
  int count = 0;
  try {
    count = CountRasterPages(file);
    const int wanted = work.isOnePage ? std::min(count, 1) : count;
    for (int page = 0; page < wanted; ++page) pages.push_back(LoadRasterFile(file, page, nullptr));
  } catch (const CXException& e) {
    throw CXException(
        formatText(Supp_Translate("what %s wrote to the file %o cannot be read: %s"), {program, e.what()}));
  }
  if (pages.empty()) throw CXException(formatText(Supp_Translate("%s wrote no page"), {program}));
  if (work.isOnePage && count != 1) {
    throw CXException(
        formatText(Supp_Translate("%s wrote %s pages in place of one"), {program, toText(std::int64_t{count})}));
  }
  return pages;
}

std::vector<std::string> filledWords(const ScriptStep& step, const ProgramWork& work, const std::string& input,
                                     const std::string& output) {
  std::vector<std::string> words;
  words.reserve(step.program.words.size());
  for (const std::string& word : step.program.words) {
    words.push_back(fillPlaces(word, [&](char place) {
      if (place == 'i') return input;
      return place == 'o' ? output : withoutExtension(work.file);
    }));
  }
  return words;
}

}  // namespace

ProgramPolicy programPolicyOf(IProfile* profile) {
  ProgramPolicy policy;
  const auto scripts = KxPtr<IParam>::adopt(profile->GetSection(section_name::Scripts, 0));
  policy.allowed = paramInt(scripts.get(), script_key::AllowPrograms) != 0;
  policy.limit = std::clamp(paramInt(scripts.get(), script_key::ProgramTimeLimit, policy.limit), 1, kMostLimit);
  return policy;
}

std::string programsNotAllowed(const std::string& program) {
  return formatText(
      Supp_Translate("the script runs the program %s, and scripts may not run programs. Run only scripts that you "
                     "trust. To allow it: menu \"Page\", \"Allow scripts to run programs\"; on the command line "
                     "--allow-programs"),
      {program});
}

std::vector<KxPtr<IRStor>> runProgramStep(const ScriptStep& step, const ProgramPolicy& policy,
                                          const ProgramWork& work, IProgress* progress,
                                          const std::function<void(const std::string&)>& log) {
  const ScriptProgram& program = step.program;
  // A name without a folder would be in the work folder, which goes with what is in it.
  if (program.uses('b') && !work.file.starts_with('/'))
    throw CXException(Supp_Translate("%b is the page's file without its extension; this page has no file"));
  const WorkFolder folder;
  const std::string input = folder.file("page." + program.in), output = folder.file("result." + program.out);
  if (program.uses('i') && !SaveRasterFile(nullptr, work.rasters, input, false, nullptr)) return {};
  const int limit = program.limit > 0 ? program.limit : policy.limit;
  const Waiting waiting(progress);
  ProgramCall call;
  call.words = filledWords(step, work, input, output);
  call.folder = folder.path();
  call.limit = std::chrono::seconds(limit);
  call.isCancelled = [&] { return waiting.isCancelled(); };
  const ProgramEnd end = runProgramFile(call);
  for (std::string_view rest = end.errorText; !rest.empty();) {
    const auto line = rest.substr(0, rest.find('\n'));
    log("    " + fio::fileNameOf(program.words.front()) + ": " + std::string(line));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  }
  if (end.kind == ProgramEnd::Kind::Cancelled) return {};
  checkEnd(step, end, limit);
  return program.uses('o') ? readOutput(step, output, work) : work.rasters;
}

}  // namespace quillbay
