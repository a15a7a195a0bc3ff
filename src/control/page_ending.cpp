#include "control/page_ending.h"

#include <exception>
#include <tuple>

#include "analysis/sheet_outline.h"
#include "control/outside_call.h"
#include "params/notify_guard.h"
#include "platform/base_services.h"

namespace quillbay {

bool PageEnding::begin(const ScanStarted& started) const {
  if (!started.plan || started.plan->kind != RunKind::Scan) return true;  // a preview's resolution is no setting
  const NotifyGuard guard;
  m_parts.quiet().dpi = static_cast<std::int32_t>(started.dpi);
  m_parts.quiet().colorSpace = started.colorSpace;
  if (auto* files = m_parts.files()) files->pageStarted(started.page);
  return started.page.refused.empty();
}

void PageEnding::unload() const {
  const int rewind = m_parts.values().rewind;
  if (rewind != 0 && rewind != 1) return;
  m_parts.scanner.command(rewind == 0 ? UnitCommand::UnloadForward : UnitCommand::UnloadBack);
}

bool PageEnding::release(const ScanStarted& page, bool cancelled, void (*done)(void*), void* dialog) {
  const bool isPiece = m_parts.run.burst() && !cancelled;  // the document stays in until its last one
  if (m_parts.run.batch() && !isPiece) {
    try {
      unload();
    } catch (const WindowGone&) {
      throw;
    } catch (const std::exception& e) {
      // The page is whole: it is kept, and the next one meets the fault.
      logLine(LogLevel::Error, "quillbay.control", std::string("unloading the document failed: ") + e.what());
    } catch (...) {
      logLine(LogLevel::Error, "quillbay.control", "unloading the document failed: an unknown error");
    }
  }
  const auto outcome = query<IStoreOutcome>(m_parts.params.destinationStore.get());
  if (cancelled || !outcome) return false;
  m_parts.run.writerBegins();
  const std::int32_t least = page.plan ? page.page.target.leastLines : leastPageLines(m_parts.values());
  outcome->BeginFinish(least, done, dialog);
  return true;
}

std::int64_t pageWidth(const ScanStarted& scan) {
  if (!scan.plan || scan.plan->kind != RunKind::Scan) return scan.width;
  const ScanValues& v = scan.plan->draft.names.values;
  const Sheet sheet = straightSheet(v, v.skew);
  return sheet.angle == 0 ? scan.width : roundHalfUp(mmToPixels(sheet.width, scan.dpi));
}

std::int64_t pageLines(const ScanStarted& scan) {
  if (!scan.plan || scan.plan->kind != RunKind::Scan || scan.lines <= 0) return scan.lines;
  const ScanValues& v = scan.plan->draft.names.values;
  const Sheet sheet = straightSheet(v, v.skew);
  if (sheet.angle == 0) return scan.lines;
  return static_cast<std::int64_t>(mmToPixels(sheet.height, scan.dpi));  // as `leastPageLines`
}

PageEnd PageEnding::handOver(const ScanStarted& page, bool cancelled, std::int64_t lines) {
  PageEnd end;
  end.cancelled = cancelled;
  CSharedScanParams& params = m_parts.params;
  const auto outcome = query<IStoreOutcome>(params.destinationStore.get());
  const bool failed = outcome && !outcome->GetError().empty();
  end.info.width = pageWidth(page);
  end.info.dpi = page.dpi;
  end.info.lines = outcome && !cancelled ? outcome->GetLines() : lines;
  if (outcome && !cancelled && !failed) {
    end.info.file = outcome->GetFile();
    end.info.published = outcome->IsPublished() != 0;
  }
  m_parts.quiet().batch = m_parts.run.batch() ? 1 : 0;
  if (cancelled && failed) tellStoreError();  // it would go with its store
  CScanTo* destination = m_parts.destination;
  end.taken = m_parts.host.call([&] { return destination->EndScan(cancelled ? 1 : 0); }) != 0 && !cancelled;
  end.failed = failed && !end.taken;
  if (const auto* files = m_parts.files(); files && end.taken)
    std::ignore = files->endedPage(&end.info.file, &end.info.published);
  if (failed && end.taken) {  // it got another name
    end.info.file = m_parts.values().outputFile;
    end.info.published = true;
  }
  if (failed) params.destinationStore->Reset();
  const bool keepsPalette = m_parts.run.fragment() || m_parts.values().bursting != 0;
  if (!keepsPalette) m_parts.steps.palette->Forget();
  return end;
}

void PageEnding::drop() {
  tellStoreError();
  CScanTo* destination = m_parts.destination;
  m_parts.host.call([&] { return destination->EndScan(1); });
  m_parts.params.viewStore->Reset();
}

void PageEnding::leaveDocument() {
  m_parts.params.destinationStore->Reset();
  m_parts.params.previewStore->Reset();
  m_parts.params.viewStore->Reset();
  m_parts.steps.palette->Forget();
  unload();
  m_parts.params.set(scan_key::BoundDetectDirty, 1);
}

void PageEnding::endRun() {
  std::exception_ptr broken;
  try {
    tellFaults();
  } catch (const WindowGone&) {
    throw;  // closing has named the file
  } catch (...) {
    broken = std::current_exception();  // the pages get their name all the same
  }
  endFile();
  if (broken) std::rethrow_exception(broken);
}

void PageEnding::tellFaults() {
  tellStoreError();
  const RunRecord& record = m_parts.run.record();
  const UnitFault fault = record.fault();
  if (record.isTold() || fault.text.empty()) return;
  m_parts.run.record().note(record.cause(), fault, true);  // once, whatever comes while the message is shown
  m_parts.host.message(EventKind::Information, fault.text, EventButtons::Ok);
}

void PageEnding::endFile() {
  auto* files = m_parts.files();
  if (!files || isPreview(m_parts.run.kind())) return;
  const RunFile file = m_parts.host.call([&] { return files->endRun(); });
  if (file.fate == RunFile::Fate::Failed) m_parts.run.record().note(EndCause::Output, {}, true);
  if (file.fate == RunFile::Fate::Published) {
    m_parts.host.call([&] { m_parts.host.listeners().published(file.file, file.pages); });
  }
}

void PageEnding::tellStoreError() {
  const auto outcome = query<IStoreOutcome>(m_parts.params.destinationStore.get());
  const std::string error = outcome ? outcome->GetError() : std::string();
  if (error.empty()) return;
  m_parts.run.record().note(EndCause::Output, {}, true);
  m_parts.params.destinationStore->Reset();  // first: what comes while the message is shown does not tell it again
  m_parts.host.message(EventKind::Information, error, EventButtons::Ok);
}

}  // namespace quillbay
