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
  bool more = false;  // seldom used on a large scanner
};
// ISO 216, millimetres.
constexpr std::array kIso{
    Paper{"A0", 841, 1189},       Paper{"A1", 594, 841},       Paper{"A2", 420, 594},
    Paper{"A3", 297, 420},        Paper{"A4", 210, 297},       Paper{"A5", 148, 210},
    Paper{"A6", 105, 148},        Paper{"A7", 74, 105},        Paper{"A8", 52, 74, true},
    Paper{"A9", 37, 52, true},    Paper{"A10", 26, 37, true},  Paper{"B0", 1000, 1414, true},
    Paper{"B1", 707, 1000, true}, Paper{"B2", 500, 707, true}, Paper{"B3", 353, 500, true},
    Paper{"B4", 250, 353, true},  Paper{"B5", 176, 250, true}, Paper{"B6", 125, 176, true},
    Paper{"B7", 88, 125, true},   Paper{"B8", 62, 88, true},   Paper{"B9", 44, 62, true},
    Paper{"B10", 31, 44, true},
};
// ANSI/ASME Y14.1, the architects' series and the papers of offices, inches. New ones stand at the end: settings of
// older programs know papers by their place.
constexpr std::array kInchPapers{
    Paper{"ANSI A", 8.5, 11}, Paper{"ANSI B", 11, 17},  Paper{"ANSI C", 17, 22},  Paper{"ANSI D", 22, 34},
    Paper{"ANSI E", 34, 44},  Paper{"ARCH A", 9, 12},   Paper{"ARCH B", 12, 18},  Paper{"ARCH C", 18, 24},
    Paper{"ARCH D", 24, 36},  Paper{"ARCH E", 36, 48},  Paper{"ARCH E1", 30, 42}, Paper{"Letter", 8.5, 11},
    Paper{"Legal", 8.5, 14},  Paper{"Tabloid", 11, 17},
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
  entry->SetValue(paper_key::More, paper.more ? 1 : 0);
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
  addPaper(papers, {shown.c_str(), point->x, point->y, paramInt(source.get(), paper_key::More) != 0},
           sameKey(units, "mm") ? "mm" : "inch");
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
      logLine(
          LogLevel::Warning, "quillbay.host",
          formatText(Supp_Translate(
                         "The paper %s in the settings is ignored: it needs a Size above 0, in Units mm or inch."),
                     {name}));
    }
  }
  IParam* GetPapers() override { return KxPtr(m_papers).detach(); }

 private:
  const KxPtr<IParam> m_papers = new_MemParam();
};

KxPtr<IStdPapersParam> new_StdPapers(IParam* own) { return KxPtr<IStdPapersParam>::adopt(new CStdPapers(own)); }

}  // namespace quillbay
