#include "document/save_plan.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <algorithm>
#include <map>

namespace desktop {

namespace {

QString planText(const char* english) { return QCoreApplication::translate("SavePlan", english); }

/// A file's pages that the document has.
struct Group {
  SavePlan::File file;
  bool isWanted = false, isChanged = false, isReordered = false;
  int lastPlace = -1;

  void add(const Page& page) {
    file.ids.push_back(page.id);
    if (!page.isSaved()) isChanged = true;
    if (page.savedWriting != page.source->writing) return;  // it has no place in the file as it is now
    if (page.place < lastPlace) isReordered = true;
    lastPlace = std::max(lastPlace, page.place);
  }
  [[nodiscard]] bool needsSaving() const { return isChanged || isReordered || file.source->closed > 0; }
};

/// The files of pages, in the order of their first ones.
class Groups {
 public:
  Group& of(const PageSourcePtr& source) {
    const auto [at, isNew] = m_index.try_emplace(source.get(), m_groups.size());
    if (isNew) m_groups.push_back({{source, {}}});
    return m_groups[at->second];
  }
  [[nodiscard]] std::vector<Group>& all() { return m_groups; }

 private:
  std::vector<Group> m_groups;
  std::map<const PageSource*, std::size_t> m_index;
};

template <class Wanted>
SavePlan plan(const std::vector<Page>& pages, Wanted isWanted) {
  SavePlan plan;
  Groups groups;
  for (const Page& page : pages) {
    if (page.file().isEmpty()) {
      if (isWanted(page.id)) plan.loose.push_back(page.id);
      continue;
    }
    Group& group = groups.of(page.source);
    group.add(page);
    group.isWanted = group.isWanted || isWanted(page.id);
  }
  for (Group& group : groups.all()) {
    if (group.isWanted && group.needsSaving()) plan.files.push_back(std::move(group.file));
  }
  return plan;
}

}  // namespace

SavePlan planSave(const std::vector<Page>& pages) {
  return plan(pages, [](int) { return true; });
}

SavePlan planSave(const std::vector<Page>& pages, const std::vector<int>& ids) {
  return plan(pages, [&](int id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); });
}

std::vector<PageSourcePtr> reorderedFiles(const std::vector<Page>& pages) {
  Groups groups;
  for (const Page& page : pages) {
    if (!page.file().isEmpty()) groups.of(page.source).add(page);
  }
  std::vector<PageSourcePtr> files;
  for (const Group& group : groups.all()) {
    if (group.isReordered) files.push_back(group.file.source);
  }
  return files;
}

SaveRisk riskOfReplacing(const QString& file, const FileStamp& known, int left) {
  const FileStamp now = stampOf(file);
  if (!now.isKnown()) return {};  // there is nothing that could be lost
  return {pagesInFile(file), left, known.isKnown() && known != now};
}

QString riskText(const QString& file, const SaveRisk& risk) {
  const QString name = QFileInfo(file).fileName();
  QStringList sentences;
  if (risk.isChanged) {
    sentences +=
        planText("Another program changed %1 after it was opened. Saving replaces those changes.").arg(name);
  }
  if (risk.losesPages()) {
    sentences += planText("%1 has %2 pages; saving would keep only %3.").arg(name).arg(risk.held).arg(risk.left);
  }
  return sentences.join("\n\n");
}

QString riskAnswer(const SaveRisk& risk) {
  if (!risk.losesPages()) return planText("&Save");
  return risk.left == 1 ? planText("&Save 1 page") : planText("&Save %1 pages").arg(risk.left);
}

}  // namespace desktop
