#include "control/scanner_connection.h"

#include "control/outside_call.h"
#include "control/page_lists.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {
constexpr double kMinWidthMm = 110.0, kMinHeightMm = 55.0;
}

bool ScannerConnection::connect(CSharedScanParams& params, const PanelHost& host, IQuillbaySink* station) {
  if (!host.clearRasters(ClearFor::Connection, false) || !openCurrent(params, host)) return false;
  if (const auto ex = query<IQuillbayUnitEx>(m_unit.get())) ex->SetStationSink(station);
  ScanValues& v = params.quiet();
  v.helpTopic = destinationTopic(v.scannerName, v.mode);
  if (const auto sinks = KxPtr<IConnectionPoint<IScanSink>>::adopt(m_unit->GetScanSinks())) {
    sinks->Subscribe(m_sink.get());
  }
  v.minWidth = kMinWidthMm;
  v.minHeight = kMinHeightMm;
  learn(params);
  return true;
}

void ScannerConnection::learn(CSharedScanParams& params) const {
  ScanValues& v = params.quiet();
  v.bedWidth = m_unit->GetMaxWidth();
  v.centring = m_unit->GetCentring();
  // More than black and white, that is: a scanner may offer grey alone.
  v.scannerHasColor = m_unit->HasMode(kModeGrey) || m_unit->HasMode(kModePalette) || m_unit->HasMode(kModeRgb);
}

void ScannerConnection::initialiseManager(IApp* app) {
  m_manager = query<IScanManager>(app);
  if (!m_manager) m_manager = new_IScanManagerEx(app, 1);
  const auto root = query<IParam>(app);
  const auto settings =
      root ? KxPtr<IParam>::adopt(root->GetSubStore(section_name::ScannerSource, 1)) : KxPtr<IParam>{};
  const auto interior = query<IAppInterior>(app);
  m_manager->Initialise(interior ? fio::folderOf(interior->GetModulePath()) : std::string(), settings.get(), 0);
}

bool ScannerConnection::openCurrent(CSharedScanParams& params, const PanelHost& host) {
  IApp* app = params.app();
  initialiseManager(app);
  while (true) {
    const auto scanner = KxPtr<IScan>::adopt(callOutside(m_life, [&] { return m_manager->GetCurrent(); }));
    if (!scanner) return false;
    m_unit = query<IQuillbayUnit>(scanner.get());
    m_name = scanner->GetName();
    if (m_unit) {
      params.quiet().scannerName = m_manager->GetScannerName(scanner.get());
      return true;
    }
    if (const auto faults = query<IUnitFault>(scanner.get())) {
      if (const auto events = query<IEvents>(app)) {
        events->Subject(scanner->GetName().c_str(), faults->GetFault().text.c_str());
      }
    }
    host.message(EventKind::Information,
                 formatText(Supp_Translate("Scanner %s is not ready or is not supported$QBHelp:IDH_ScanError$"),
                            {scanner->GetName()}),
                 EventButtons::Ok);
    if (!callOutside(m_life, [&] { return m_manager->Choose(1); })) return false;
  }
}

void ScannerConnection::disconnect() {
  if (!m_unit) return;
  if (const auto ex = query<IQuillbayUnitEx>(m_unit.get())) ex->SetStationSink(nullptr);
  if (const auto sinks = KxPtr<IConnectionPoint<IScanSink>>::adopt(m_unit->GetScanSinks())) {
    sinks->Unsubscribe(m_sink.get());
  }
}

void ScannerConnection::remember() const {
  if (m_manager) m_manager->Remember();
}

int ScannerConnection::command(UnitCommand code) const {
  return callOutside(m_life, [&] { return m_unit->Command(m_sink.get(), static_cast<int>(code)); });
}

bool ScannerConnection::isLoaded() const {
  return callOutside(m_life, [&] { return m_unit->Command(nullptr, static_cast<int>(UnitCommand::IsLoaded)); }) !=
         0;
}

bool ScannerConnection::take(IParam* request) const {
  return callOutside(m_life, [&] { return m_unit->Scan(m_sink.get(), request); }) != 0;
}

UnitFault ScannerConnection::fault() const {
  const auto faults = query<IUnitFault>(m_unit.get());
  return faults ? faults->GetFault() : UnitFault{};
}

bool ScannerConnection::hasFeeder() const {
  const auto media = query<IUnitMedia>(m_unit.get());
  return !media || media->HasFeeder() != 0;
}

bool ScannerConnection::isFlatbed() const {
  const auto media = query<IUnitMedia>(m_unit.get());
  return media && media->GetSource() == UnitSource::Flatbed;
}

bool ScannerConnection::takeDirectMode(CSharedScanParams& params) const {
  if (!m_unit || !m_unit->HasMode(kModeDirect)) return false;
  params.set(scan_key::CurrMode, kModeDirect);
  params.quiet().colorSpace = colorSpaceOfMode(kModeDirect);
  params.quiet().autoAnswer = 0;
  params.set(scan_key::ScanType, kAreaFixedWidth);
  return true;
}

}  // namespace quillbay
