#include "net/spool_record.h"

#include "core/store_file.h"
#include "core/store_json.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

std::string textOf(const ParamTree& tree, std::string_view key) {
  const CKxVariant* value = tree.findValue(key);
  const auto* text = value ? value->get<std::string>() : nullptr;
  return text ? *text : std::string();
}

int numberOf(const ParamTree& tree, std::string_view key) {
  const CKxVariant* value = tree.findValue(key);
  return value ? value->toInt() : 0;
}

}  // namespace

void writeRecord(const std::string& folder, const SpoolRecord& record) {
  ParamTree tree;
  tree.setValue("File", record.handOff.file);
  tree.setValue("HotFolder", record.handOff.hotFolder);
  tree.setValue("MountPoint", record.handOff.mountPoint);
  tree.setValue("Client", record.handOff.client);
  tree.setValue("MayReplace", record.handOff.mayReplace ? 1 : 0);
  tree.setValue("Stage", static_cast<int>(record.stage));
  tree.setValue("As", record.as);
  tree.setValue("Page", record.image);
  if (!record.stuck.empty()) tree.setValue("Stuck", record.stuck);
  writeStoreFile(folder + "/" + kRecordFile, toJson(tree));
}

std::optional<SpoolRecord> readRecord(const std::string& folder, std::string* why) {
  try {
    const auto bytes = readStoreFile(folder + "/" + kRecordFile);
    if (!bytes) return std::nullopt;
    const ParamTree tree = fromJson(*bytes);
    SpoolRecord record;
    record.handOff = {textOf(tree, "File"), textOf(tree, "HotFolder"), textOf(tree, "MountPoint"),
                      textOf(tree, "Client"), numberOf(tree, "MayReplace") != 0};
    const int stage = numberOf(tree, "Stage");
    record.stage = stage == 1 ? SpoolRecord::Publishing : stage == 2 ? SpoolRecord::Handing : SpoolRecord::Queued;
    record.as = textOf(tree, "As");
    record.image = textOf(tree, "Page");
    record.stuck = textOf(tree, "Stuck");
    if (!record.image.empty() && !record.handOff.hotFolder.empty() && !record.handOff.file.empty()) return record;
    *why = Supp_Translate("its description is incomplete");
  } catch (const CXException& e) {
    *why = e.what();
  }
  return std::nullopt;
}

}  // namespace quillbay
