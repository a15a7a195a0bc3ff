#include "pages/error_files.h"

#include <QString>
#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {
bool isSameFolder(const std::string& a, const std::string& b) {
  return QString::fromStdString(a).compare(QString::fromStdString(b), Qt::CaseInsensitive) == 0;
}
}  // namespace

bool CErrorFiles::add(const std::string& file, IParam* parameters, bool isFlagged, const std::string& directory) {
  if (paramInt(parameters, script_key::DontProcessErrors) != 0) return false;
  if (m_listName.empty() || isFlagged) return false;
  const std::string name = fio::fileNameOf(file);
  const auto found = std::find_if(m_items.begin(), m_items.end(),
                                  [&](const ErrorItem& item) { return isSameFolder(item.directory, directory); });
  if (found == m_items.end()) {
    m_items.push_back({directory, name});
  } else {
    found->files += "," + name;
  }
  return true;
}

}  // namespace quillbay
