#include "printing/page_printing.h"

#include <QCoreApplication>

#include "quillbay/tools.h"

#include "window/guarded.h"

namespace desktop {

using quillbay::IPrintingJob;
using quillbay::IPrintOutcome;
using quillbay::KxPtr;
using quillbay::query;

namespace {

QString tr(const char* text) { return QCoreApplication::translate("PagePrinting", text); }

QString errorOf(const KxPtr<IPrintingJob>& job) {
  const auto outcome = job.as<IPrintOutcome>();
  const QString why = outcome ? QString::fromStdString(outcome->GetError()) : QString();
  return why.isEmpty() ? tr("The printer did not accept the job.") : why;
}

}  // namespace

KxPtr<IPrintingJob> PagePrinting::start(const Page& page, quillbay::IParam* options, QString* why) const {
  const auto factory = query<quillbay::IToolsFactory>(m_app);
  const auto tool = factory
                        ? KxPtr<quillbay::IKxUnknown>::adopt(factory->MakeTool(quillbay::tool_name::RunPrinting))
                        : KxPtr<quillbay::IKxUnknown>{};
  auto job = tool.as<IPrintingJob>();
  if (!job) {
    *why = tr("This program cannot print.");
    return {};
  }
  const auto ofPage = quillbay::new_MemParam();
  quillbay::Param_CopyTo(options, ofPage.get());
  quillbay::DescribePage(page.raster.get(), ofPage.get());
  if (job->Start(page.name.toStdString().c_str(), ofPage.get())) return job;
  *why = errorOf(job);
  return {};
}

bool PagePrinting::print(const Page& page, int which, int count, quillbay::IParam* options, QString* why) {
  why->clear();
  m_sent.clear();
  const auto job = start(page, options, why);
  if (!job) return false;
  const auto outcome = job.as<IPrintOutcome>();
  SideProgress progress;
  // A job that waits for its printer hears of nothing else.
  progress.onCancel = [&] {
    if (outcome) outcome->Wake();
  };
  progress.begin(count > 1 ? tr("Printing %1 (%2 of %3)...").arg(page.name).arg(which).arg(count)
                           : tr("Printing %1...").arg(page.name),
                 page.raster->GetHeight());
  bool isPrinted = false;
  guarded(page.name, why, [&] {
    workBeside(m_window, progress, [&] {
      const bool hasAll = quillbay::PrintRaster(job.get(), page.raster.get(), &progress) != 0;
      isPrinted = job->End(hasAll ? 1 : 0) != 0 && hasAll;
    });
    return true;
  });
  if (progress.IsCancelled()) {
    why->clear();
    return false;
  }
  if (!isPrinted) {
    if (why->isEmpty()) *why = errorOf(job);
    return false;
  }
  if (outcome) {
    if (outcome->GetJob() != 0)
      m_sent = tr("Job %1 on %2").arg(outcome->GetJob()).arg(QString::fromStdString(outcome->GetPrinter()));
    const QString note = QString::fromStdString(outcome->GetNote());
    if (!note.isEmpty()) m_sent += (m_sent.isEmpty() ? QString() : QStringLiteral(": ")) + note;
  }
  if (const auto watch = query<quillbay::IPrintWatch>(m_app)) watch->Watch(job.get());
  return true;
}

}  // namespace desktop
