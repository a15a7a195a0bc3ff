#include "pages/paper_list.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

/// Millimetres in one of the paper's unit; 0 when the host does not know it.
double factorOf(IStyleManager* styles, const std::string& unit) {
  if (!styles) return sameKey(unit, "mm") ? 1.0 : 0.0;
  const auto linear = KxPtr<ILinearUnit>::adopt(styles->GetLinearUnit(unit.c_str()));
  return linear ? linear->GetFactor() : 0.0;
}

}  // namespace

std::vector<PaperRecord> loadPapers(IApp* app) {
  std::vector<PaperRecord> papers;
  const auto list = query<IStdPapersParam>(app);
  const auto root = list ? KxPtr<IParam>::adopt(list->GetPapers()) : KxPtr<IParam>{};
  if (!root) return papers;
  const auto styles = query<IStyleManager>(app);
  for (const std::string& id : root->GetSubStores()) {
    const auto paper = KxPtr<IParam>::adopt(root->GetSubStore(id, 0));
    if (!paper || paramInt(paper.get(), paper_key::Used) == 0) continue;
    const CKxVariant value = paramValue(paper.get(), paper_key::Size);
    const auto* size = value.get<tagRPOINT>();
    const double factor = factorOf(styles.get(), paramString(paper.get(), paper_key::Units));
    const std::string name = paramString(paper.get(), paper_key::Name);
    if (!size || name.empty() || !(size->x > 0) || !(size->y > 0) || !(factor > 0)) {
      logLine(LogLevel::Warning, "quillbay.pages", "standard paper \"" + id + "\" has no name, size or known unit");
      continue;
    }
    papers.push_back({name, {size->x * factor, size->y * factor}, paramInt(paper.get(), paper_key::More) != 0});
  }
  return papers;
}

const PaperRecord* findPaper(const std::vector<PaperRecord>& papers, std::string_view name) noexcept {
  const auto found =
      std::find_if(papers.begin(), papers.end(), [&](const PaperRecord& p) { return sameKey(p.name, name); });
  return found == papers.end() ? nullptr : &*found;
}

}  // namespace quillbay
