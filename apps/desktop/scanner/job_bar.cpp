#include "scanner/job_bar.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "window/wheel_guard.h"

namespace desktop {

using quillbay::query;
using quillbay::UnitSource;

QString sourceName(UnitSource source) {
  switch (source) {
    case UnitSource::Flatbed: return JobBar::tr("Flatbed");
    case UnitSource::Feeder: return JobBar::tr("Feeder");
    case UnitSource::Duplex: break;
  }
  return JobBar::tr("Feeder, both sides");
}

std::vector<UnitSource> sourcesOf(quillbay::IScan* scanner) {
  std::vector<UnitSource> sources;
  const auto media = scanner ? query<quillbay::IUnitMedia>(scanner) : nullptr;
  if (media) media->GetSources(&sources);
  return sources;
}

JobBar::JobBar(QWidget* parent)
    : QWidget(parent),
      m_sourceLabel(new QLabel(tr("Source"))),
      m_source(new QComboBox),
      m_files(new QPushButton(tr("Files..."))),
      m_device(new QPushButton(tr("Scanner..."))) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(6, 2, 6, 2);
  m_sourceLabel->setBuddy(m_source);
  new WheelGuard(m_source);
  m_source->setToolTip(tr("Where documents come from"));
  m_files->setAccessibleName(tr("File settings"));
  m_files->setToolTip(tr("The save page: formats, one file for all pages, and the counter"));
  m_device->setAccessibleName(tr("Scanner settings"));
  m_device->setToolTip(tr("Settings of the scanner"));
  row->addWidget(m_sourceLabel);
  row->addWidget(m_source, 1);
  row->addStretch();
  row->addWidget(m_files);
  row->addWidget(m_device);
  connect(m_source, &QComboBox::activated, this,
          [this] { emit sourceChosen(static_cast<UnitSource>(m_source->currentData().toInt())); });
  connect(m_files, &QPushButton::clicked, this, &JobBar::filesAsked);
  connect(m_device, &QPushButton::clicked, this, &JobBar::deviceAsked);
}

void JobBar::showFiles(bool shown) {
  m_showsFiles = shown;
  m_files->setVisible(shown);
}

void JobBar::showScanner(quillbay::IScan* scanner) {
  m_source->clear();
  const std::vector<UnitSource> sources = sourcesOf(scanner);
  for (const UnitSource source : sources) m_source->addItem(sourceName(source), static_cast<int>(source));
  if (const auto media = scanner ? query<quillbay::IUnitMedia>(scanner) : nullptr)
    m_source->setCurrentIndex(m_source->findData(static_cast<int>(media->GetSource())));
  m_sourceLabel->setVisible(sources.size() > 1);
  m_source->setVisible(sources.size() > 1);
  m_device->setVisible(scanner && query<quillbay::IUnitOptions>(scanner));
  setVisible(scanner != nullptr);
}

}  // namespace desktop
