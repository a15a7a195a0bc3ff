#include "scanners/sane/device_lister.h"

#include "core/helper_process.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kHelper = "quillbay-list-scanners";

void parseLines(const std::string& text, std::vector<ScannerEntry>* out) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    if (end == std::string::npos) return;  // cut off: the helper did not get to its end
    std::string fields[4];
    std::size_t from = at;
    for (std::string& field : fields) {
      const std::size_t to = std::min(text.find('\t', from), end);
      field = text.substr(from, to - from);
      from = std::min(to + 1, end);
    }
    if (!fields[0].empty()) out->push_back({fields[0], fields[1], fields[2], fields[3]});
    at = end + 1;
  }
}

std::string describeEnd(const HelperEnd& end, std::chrono::milliseconds limit) {
  switch (end.how) {
    case HelperEnd::How::NotStarted: return formatText("%s: %s", {kHelper, end.why});
    case HelperEnd::How::Crashed:
      return formatText(Supp_Translate("the search for scanners crashed in a scanner driver (%s)"), {end.why});
    case HelperEnd::How::TimedOut:
      return formatText(Supp_Translate("the search for scanners was cancelled after %s seconds; "
                                       "a scanner whose name is known can be opened directly"),
                        {toText(static_cast<double>(limit.count()) / 1000)});
    default: return Supp_Translate("the search for scanners failed: the scanner drivers (SANE) cannot be used");
  }
}

}  // namespace

bool listSaneDevices(const std::string& programFolder, std::chrono::milliseconds limit,
                     std::vector<ScannerEntry>* out, std::string* why, const std::string& unlisted,
                     const std::function<bool()>& stopped) {
  const std::string path = findHelper(kHelper, programFolder);
  if (path.empty()) {
    *why = formatText(Supp_Translate("the program %s, which looks for scanners, is missing: install it again or "
                                     "set QUILLBAY_LIBEXEC to its folder"),
                      {kHelper});
    return false;
  }
  std::vector<std::string> arguments;
  if (!unlisted.empty()) arguments.push_back(unlisted);
  const HelperEnd end = runHelper(path, arguments, limit, stopped);
  parseLines(end.output, out);
  if (end.how == HelperEnd::How::Done) return true;
  *why = describeEnd(end, limit);
  return false;
}

}  // namespace quillbay
