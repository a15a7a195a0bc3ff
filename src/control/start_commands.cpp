#include "control/start_commands.h"

#include "control/command_ids.h"

namespace quillbay {

namespace {
constexpr StartCommand kStarts[] = {{command::kScan, StartKind::Scan, RunKind::Scan},
                                    {command::kBatch, StartKind::Batch, RunKind::Batch},
                                    {command::kPrescan, StartKind::Prescan, RunKind::Prescan},
                                    {command::kAreaPrescan, StartKind::AreaPrescan, RunKind::AreaPrescan}};
}  // namespace

const StartCommand* startOf(int id) noexcept {
  if (id == command::kPreviewTimer) id = command::kAreaPrescan;
  for (const StartCommand& c : kStarts) {
    if (c.id == id) return &c;
  }
  return nullptr;
}

const StartCommand* startOf(StartKind start) noexcept {
  for (const StartCommand& c : kStarts) {
    if (c.start == start) return &c;
  }
  return nullptr;
}

}  // namespace quillbay
