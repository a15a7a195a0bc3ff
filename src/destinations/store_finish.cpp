#include "destinations/store_finish.h"

#include "platform/base_services.h"

namespace quillbay {

std::string finishFileStore(const KxPtr<ISStripStor>& store, std::int32_t leastLines, const std::string& file) {
  try {
    const WaitCursor wait;
    const int finished = store->Finish(nullptr, leastLines, 1);
    const auto outcome = store.as<IStoreOutcome>();
    if (!outcome) return {};
    if (finished || outcome->GetLines() != 0 || !outcome->GetError().empty()) return outcome->GetError();
    return formatText(Supp_Translate("The page has no lines; %s was not written."), {file});
  } catch (const CXException& e) {
    return e.what();
  }
}

}  // namespace quillbay
