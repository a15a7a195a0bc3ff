#include "destinations/page_draft.h"

#include "analysis/sheet_outline.h"
#include "destinations/file_names.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

/// Names the page; a name that is new gets its folder.
void namePage(const PageDraft& draft, NamedPage& page) {
  ScanValues& values = page.names.values;
  const std::string prepared = values.outputFile;
  const OutputName name = nameAtStart(page.names, prepared, draft.isTaken);
  page.refused = name.refused ? name.why : std::string();
  if (name.refused) return;
  page.target.path = values.outputFile = name.path;
  values.counter = name.counter;
  values.useAutoCounter = name.useAutoCounter;
  // The user agreed to replace the prepared name only.
  page.target.mayReplace = draft.mayReplace && (values.fileFate == kFateOverwrite || name.path == prepared);
  page.target.addsToFile = page.target.joinsPart && (name.path == prepared ? draft.addsToFile : name.exists);
  if (name.path == prepared && !draft.place) return;
  try {
    if (draft.place) {
      page.target.addsToFile = false;
      page.target.path = draft.place(name.path);
    } else {
      fio::createFolder(fio::folderOf(name.path));
    }
  } catch (const CXException& e) {
    page.refused = e.what();
  }
}

}  // namespace

NamedPage makePageTarget(const PageDraft& draft, const ScannedAs& scanned) {
  NamedPage page;
  page.names = draft.names;
  ScanValues& values = page.names.values;
  values.colorSpace = scanned.colorSpace;
  values.dpi = static_cast<std::int32_t>(scanned.dpi);
  page.target.joinsPart = values.multiPage != 0;
  page.target.isLast = draft.isLast;
  page.target.leastLines = leastPageLines(values);
  page.target.expectedLines = scanned.lines > 0 ? scanned.lines : draft.expectedLines;
  if (!draft.openPart.empty()) {
    page.target.path = draft.openPart;
    if (!draft.place) values.outputFile = draft.openPart;
    page.target.addsToFile = draft.addsToFile;
  } else if (!values.outputFile.empty()) {
    namePage(draft, page);
  }
  return page;
}

std::int32_t leastPageLines(const ScanValues& values) noexcept {
  if (values.scanType == kAreaAutoWidth || values.scanType == kAreaFixedWidth) return 0;
  const bool isStraightened = !values.customScanValid && values.skew != 0;
  const tagRRECT& area = values.customScanValid ? values.rcCustomScan : values.rcScan;
  const double height = isStraightened ? straightSheet(values, values.skew).height : area.height();
  const double lines = mmToPixels(height, values.dpi);
  return lines > 0 && lines < 2147483647.0 ? static_cast<std::int32_t>(lines) : 0;
}

}  // namespace quillbay
