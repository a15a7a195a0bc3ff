#include "destinations/run_output.h"

#include <utility>

#include "destinations/part_publisher.h"
#include "platform/base_services.h"

namespace quillbay {

void RunOutput::preparePage() {
  m_draft = {};
  m_page = {};
}

std::string RunOutput::joinPart() {
  m_draft.openPart = m_part.target.path;
  m_draft.addsToFile = m_part.target.addsToFile;
  return m_draft.openPart;
}

void RunOutput::addToPart() {
  if (m_page.target.isLast) return forgetPart();
  if (m_part.target.path.empty()) m_part = m_page;
  ++m_partPages;
}

void RunOutput::forgetPart() {
  m_part = {};
  m_partPages = 0;
}

RunFile RunOutput::publishPart(IEvents* events, std::string* why) {
  const NamedPage part = std::exchange(m_part, {});
  const std::int32_t pages = std::exchange(m_partPages, 0);
  const std::string& file = part.target.path;
  if (file.empty()) return {};
  // Pages that were added to an existing file went into it in place.
  if (part.target.addsToFile && !fio::exists(file + ".part")) return {RunFile::Fate::Published, file, pages};
  const PartFate fate = publishByRule(part, events);
  if (fate.why.empty()) return {RunFile::Fate::Published, fate.file, pages};
  *why = fate.why;
  return {RunFile::Fate::Failed, file + ".part", pages};
}

}  // namespace quillbay
