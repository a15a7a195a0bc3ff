#include "view/live_page.h"

#include <QFileInfo>
#include <algorithm>
#include <utility>

#include "window/program_settings.h"

namespace desktop {

namespace {
constexpr int kLiveLookMs = 40, kOverviewMs = 700, kLivePixels = 192;
constexpr int kUsuallyKept = 20, kUsuallyKeptMiB = 8192;
/// Height of a sheet of unknown length, by its width, until it gets longer; and how much longer it is thought then.
constexpr double kUsualAspect = 1.4142, kLonger = 1.5;
/// The same for one that is longer than it was said to be.
constexpr double kSlightlyLonger = 1.02;
constexpr double kLiveDpi = 100;
}  // namespace

LivePage::LivePage(Source source, Document* document, const ProgramSettings* settings, QObject* parent)
    : QObject(parent), m_source(std::move(source)), m_document(document), m_settings(settings) {
  m_timer.setInterval(kLiveLookMs);
  connect(&m_timer, &QTimer::timeout, this, &LivePage::look);
  connect(&m_images, &PageImages::overviewReady, this,
          [this](int number, const QImage& image) { number == m_info.page ? takeOverview(image) : void(); });
}

bool LivePage::keepsScanned(const ProgramSettings& settings) {
  return settings.number("KeepScannedPages", kUsuallyKept) > 0;
}

double LivePage::dpi() const {
  const std::uint32_t own = m_raster ? m_raster->GetResolution() : 0;
  return own > 0 ? own : m_info.dpi > 0 ? m_info.dpi : kLiveDpi;
}

std::int64_t LivePage::width() const { return m_raster ? m_raster->GetWidth() : m_info.width; }

QSizeF LivePage::sizeMm() const {
  return QSizeF(static_cast<double>(width()), static_cast<double>(m_room)) * (quillbay::kMmPerInch / dpi());
}

double LivePage::arrivedMm() const { return static_cast<double>(m_lines) * quillbay::kMmPerInch / dpi(); }

void LivePage::begin(const quillbay::ScanStartInfo& info) {
  end();
  m_info = info;
  m_running = true;
  m_room = info.expectedLines > 0 ? info.expectedLines : qRound64(static_cast<double>(info.width) * kUsualAspect);
  m_timer.start();
  emit began();
  look();
}

void LivePage::look() {
  if (!m_running) return;
  const bool first = !m_raster;
  if (first) m_raster = m_source();
  if (!m_raster) return;
  const std::int64_t lines = m_raster->GetHeight();
  if (lines == m_lines && !first) return;
  m_lines = lines;
  const bool longer = m_lines > m_room;
  if (longer) {
    const double more = m_info.expectedLines > 0 ? kSlightlyLonger : kLonger;
    m_room = std::max<std::int64_t>(m_lines, qRound64(static_cast<double>(m_room) * more));
  }
  if (first || longer) emit resized();
  emit grew();
  if (m_overviewAsked || (m_overviewAge.isValid() && m_overviewAge.elapsed() < kOverviewMs)) return;
  m_overviewAsked = true;
  m_images.requestOverview(m_info.page, m_raster, kLivePixels);
}

void LivePage::takeOverview(const QImage& image) {
  m_overviewAsked = false;
  m_overviewAge.start();
  if (!m_running) return;
  m_overview = image;
  emit overviewChanged();
}

void LivePage::stop() {
  m_timer.stop();
  m_running = false;
  m_lines = m_room = 0;
  m_overview = {};
  m_overviewAge.invalidate();
  m_overviewAsked = false;
  m_images.letGo(std::exchange(m_raster, {}));
}

void LivePage::become(int id) {
  if (!m_running) return;
  look();  // what came last
  const auto shown = m_raster;
  stop();
  emit became(id, shown);
}

void LivePage::end() {
  if (!m_running) return;
  stop();
  emit vanished();
}

/// Whether the picture holds all of the page: it may lack lines when its space ran out.
bool LivePage::isWhole(const quillbay::PageInfo& page) const {
  return m_raster && m_raster->GetHeight() >= page.lines && m_raster->GetWidth() == page.width;
}

QString LivePage::rescue(const QString& name) {
  if (!m_running) return {};
  look();
  if (!m_raster || m_raster->GetHeight() == 0) return {};
  const int id = m_document->add(m_raster, name);
  become(id);
  const Page* page = m_document->page(id);
  return page ? page->name : QString();
}

void LivePage::finish(const quillbay::PageInfo& page) {
  if (!m_running) return;
  look();
  const QString file = QString::fromStdString(page.file);
  const bool continues = !file.isEmpty() && file == m_lastFile && page.page > 1;
  m_pagesOfFile = continues ? m_pagesOfFile + 1 : 1;
  m_lastFile = file;
  if (!keepPage(page, file, continues)) {
    if (!file.isEmpty()) m_document->noteScanned(file, continues);  // a page that was there may be written over
    end();
  }
}

/// Whether a page that was written has joined the document.
bool LivePage::keepPage(const quillbay::PageInfo& page, const QString& file, bool continues) {
  if (file.isEmpty() || !keepsScanned(*m_settings)) return false;
  if (!isWhole(page)) {
    emit note(tr("%1 is written, but the page in the view is incomplete and was removed. Open the file to see it.")
                  .arg(file));
    return false;
  }
  const QString name = QFileInfo(file).fileName();
  const QString title = m_pagesOfFile > 1 ? tr("%1, page %2").arg(name).arg(m_pagesOfFile) : name;
  const int id = m_document->addScanned(m_raster, title, file, continues);
  become(id);
  m_kept.push_back(id);
  keepLast();
  return true;
}

/// Takes the oldest pages off the document that were scanned to files, by their count and by what they occupy.
void LivePage::keepLast() {
  std::erase_if(m_kept, [this](int id) { return !m_document->page(id); });
  const auto most = static_cast<std::size_t>(std::max(1, m_settings->number("KeepScannedPages", kUsuallyKept)));
  std::int64_t room = std::int64_t{m_settings->number("KeepScannedMiB", kUsuallyKeptMiB)} << 20;
  std::size_t stay = 0;  // of the latest ones
  for (auto id = m_kept.rbegin(); id != m_kept.rend() && stay < most; ++id, ++stay) {
    room -= m_document->page(*id)->raster->GetByteCount();
    if (room < 0 && stay > 0) break;
  }
  while (m_kept.size() > stay) {
    const int oldest = m_kept.front();
    m_kept.pop_front();
    const Page* page = m_document->page(oldest);
    if (!page || !page->isSaved()) continue;
    emit note(tr("%1 was removed from the view; it is saved. Pages in the view: %2").arg(page->name).arg(stay));
    m_document->remove(oldest);
  }
}

}  // namespace desktop
