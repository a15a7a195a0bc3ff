#include "host/std_papers.h"

#include <algorithm>
#include <array>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

struct Paper {
  const char* name;
  double width, height;
};
// ISO 216, millimetres.
constexpr std::array kIso{
    Paper{"A0", 841, 1189}, Paper{"A1", 594, 841}, Paper{"A2", 420, 594}, Paper{"A3", 297, 420},
    Paper{"A4", 210, 297},  Paper{"A5", 148, 210}, Paper{"A6", 105, 148}, Paper{"A7", 74, 105},
    Paper{"A8", 52, 74},    Paper{"A9", 37, 52},   Paper{"A10", 26, 37},  Paper{"B0", 1000, 1414},
    Paper{"B1", 707, 1000}, Paper{"B2", 500, 707}, Paper{"B3", 353, 500}, Paper{"B4", 250, 353},
    Paper{"B5", 176, 250},  Paper{"B6", 125, 176}, Paper{"B7", 88, 125},  Paper{"B8", 62, 88},
    Paper{"B9", 44, 62},    Paper{"B10", 31, 44},
};
// ANSI/ASME Y14.1 and the architects' series, inches.
constexpr std::array kInchPapers{
    Paper{"ANSI A", 8.5, 11}, Paper{"ANSI B", 11, 17}, Paper{"ANSI C", 17, 22},  Paper{"ANSI D", 22, 34},
    Paper{"ANSI E", 34, 44},  Paper{"ARCH A", 9, 12},  Paper{"ARCH B", 12, 18},  Paper{"ARCH C", 18, 24},
    Paper{"ARCH D", 24, 36},  Paper{"ARCH E", 36, 48}, Paper{"ARCH E1", 30, 42},
};

KxPtr<IParam> subStore(IParam* set, std::string_view name) {
  return KxPtr<IParam>::adopt(set->GetSubStore(name, 1));
}

/// A paper's name as one step of a path: delimiters would open a sub-store of their own.
std::string storeName(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '\\' || c == '/'; }, '_');
  return name;
}

void addPaper(IParam* papers, const Paper& paper, const char* units) {
  const auto entry = subStore(papers, storeName(paper.name));
  entry->SetValue(paper_key::Used, 1);
  entry->SetValue(paper_key::Name, paper.name);
  entry->SetValue(paper_key::Size, tagRPOINT{paper.width, paper.height});
  entry->SetValue(paper_key::Units, units);
}

/// Takes an own paper over; false when it is none.
bool addOwn(IParam* papers, IParam* own, const std::string& name) {
  const auto source = KxPtr<IParam>::adopt(own->GetSubStore(name, 0));
  if (!source) return false;
  const std::string shown = paramString(source.get(), paper_key::Name, name);
  const CKxVariant size = paramValue(source.get(), paper_key::Size);
  if (size.isEmpty() && paramInt(source.get(), paper_key::Used, 1) == 0) {  // hides one of ours
    papers->RemoveSubStore(storeName(shown));
    return true;
  }
  const auto* point = size.get<tagRPOINT>();
  const std::string units = paramString(source.get(), paper_key::Units, "mm");
  if (!point || !(point->x > 0) || !(point->y > 0)) return false;
  if (!sameKey(units, "mm") && !sameKey(units, "inch")) return false;
  addPaper(papers, {shown.c_str(), point->x, point->y}, sameKey(units, "mm") ? "mm" : "inch");
  subStore(papers, storeName(shown))->SetValue(paper_key::Used, paramInt(source.get(), paper_key::Used, 1));
  return true;
}

}  // namespace

class CStdPapers final : public CKxUnknownImpl<IStdPapersParam> {
 public:
  explicit CStdPapers(IParam* own) {
    for (const Paper& paper : kIso) addPaper(m_papers.get(), paper, "mm");
    for (const Paper& paper : kInchPapers) addPaper(m_papers.get(), paper, "inch");
    if (!own) return;
    for (const std::string& name : own->GetSubStores()) {
      if (addOwn(m_papers.get(), own, name)) continue;
      logLine(LogLevel::Warning, "quillbay.host",
              formatText("The paper %s of the settings is left out: it needs a Size above 0, in Units mm or inch.",
                         {name}));
    }
  }
  IParam* GetPapers() override { return KxPtr(m_papers).detach(); }

 private:
  const KxPtr<IParam> m_papers = new_MemParam();
};

KxPtr<IStdPapersParam> new_StdPapers(IParam* own) { return KxPtr<IStdPapersParam>::adopt(new CStdPapers(own)); }

}  // namespace quillbay
