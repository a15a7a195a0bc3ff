#pragma once
#include <QString>
#include <vector>

#include "document/page.h"

namespace desktop {

/// What saving writes: a file is always written whole, with all its pages that the document has, in their order.
struct SavePlan {
  struct File {
    PageSourcePtr source;
    std::vector<int> ids;
  };
  std::vector<File> files;
  std::vector<int> loose;  ///< pages that are in no file: they need names
  [[nodiscard]] bool isEmpty() const { return files.empty() && loose.empty(); }
};

/// Everything in which the document differs from its files: pages that were changed, closed or moved.
[[nodiscard]] SavePlan planSave(const std::vector<Page>& pages);
/// The same of the files of these pages alone.
[[nodiscard]] SavePlan planSave(const std::vector<Page>& pages, const std::vector<int>& ids);

/// Files whose pages stand in another order in the document.
[[nodiscard]] std::vector<PageSourcePtr> reorderedFiles(const std::vector<Page>& pages);

/// What its user must agree to before a file is replaced.
struct SaveRisk {
  int held = 0, left = 0;  ///< pages of the file now, and afterwards
  bool isChanged = false;  ///< another program has written it meanwhile
  [[nodiscard]] bool losesPages() const { return left < held; }
  [[nodiscard]] bool isNone() const { return !losesPages() && !isChanged; }
};

/// `known`: the file as the document knows it; unknown when it does not matter what became of it.
[[nodiscard]] SaveRisk riskOfReplacing(const QString& file, const FileStamp& known, int left);
/// The question about a risk, and the text of the button that agrees.
[[nodiscard]] QString riskText(const QString& file, const SaveRisk& risk);
[[nodiscard]] QString riskAnswer(const SaveRisk& risk);

}  // namespace desktop
