#include "destinations/net_names.h"

#include <memory>
#include <utility>

#include "destinations/macro_list.h"
#include "platform/base_services.h"

namespace quillbay {

ExistsTest netNameTest(KxPtr<IPageSpool> spool, bool asksFolder) {
  return [spool = std::move(spool), asksFolder](const std::string& file) {
    return spool->holds(file) || (asksFolder && (fio::exists(file) || fio::exists(handOffName(file))));
  };
}

NetName findNetName(const NameContext& context, const std::string& mountPoint, const KxPtr<IPageSpool>& spool) {
  NetName found;
  NameContext names = context;
  if (!names.macros) names.macros = MacroList::process(names.values);
  const std::string folder = fio::withDelimiter(fio::expandHome(names.values.dir));
  if (spool->isSilent(folder)) {  // not asked anew for each page of a batch
    found.folder.fate = HotFolderState::Away;
    found.folder.why = Supp_Translate("it does not answer");
  } else {
    found.folder = TryHotFolder(folder, mountPoint, kHotFolderLimitMs);
  }
  if (found.folder.fate == HotFolderState::Ready) {
    const auto name = std::make_shared<OutputName>();
    if (runWithin(kHotFolderLimitMs, [=] { *name = applyExistsRule(names, netNameTest(spool)); })) {
      found.name = *name;
      return found;
    }
    found.folder.fate = HotFolderState::Away;
    found.folder.why = Supp_Translate("it does not answer");
  }
  found.name = applyExistsRule(names, netNameTest(spool, false));
  return found;
}

}  // namespace quillbay
