#include "params/shared_scan_params.h"

#include "platform/base_services.h"

namespace quillbay {

namespace {
CSharedScanParams* s_instance = nullptr;  // user-interface thread only
constexpr int kMarkerValue = 6502;
thread_local int t_marker = 0;
constexpr int kGuardSet = 48;
}  // namespace

KxPtr<CSharedScanParams> CSharedScanParams::acquire(IApp* app, StoreFactory emptyStore) {
  if (s_instance) return KxPtr<CSharedScanParams>::share(s_instance);
  s_instance = new CSharedScanParams(app, emptyStore);
  return KxPtr<CSharedScanParams>::adopt(s_instance);
}

const ScanValues* CSharedScanParams::currentValues() noexcept {
  return s_instance ? &s_instance->m_values : nullptr;
}

CSharedScanParams::CSharedScanParams(IApp* app, StoreFactory emptyStore)
    : destinationStore(emptyStore()),
      previewStore(emptyStore()),
      viewStore(emptyStore()),
      m_units(KxPtr<CScanUnits>::adopt(new CScanUnits)),
      m_connections(KxPtr<IConnectionPoint<IChangeParams>>::adopt(new TConnectionPointImpl<IChangeParams>)) {
  t_marker = kMarkerValue;
  setApp(app);
}

CSharedScanParams::~CSharedScanParams() {
  s_instance = nullptr;
  t_marker = 0;
}

bool CSharedScanParams::onUserInterfaceThread() noexcept { return t_marker == kMarkerValue; }

void CSharedScanParams::setApp(IApp* app) {
  m_app = KxPtr<IApp>::share(app);
  if (const auto styles = query<IStyleManager>(app)) m_units->takeUnits(styles.get());
}

void CSharedScanParams::stored(const char* key) {
  if (sameKey(key, scan_key::Units.name)) m_units->select(m_values.units);
}

int CSharedScanParams::NotifyParam(const char* key) {
  if (NotifyGuard::isSet()) return kGuardSet;
  const NotifyGuard guard;
  const auto subscribers = m_connections->Enumerate();
  while (const auto sink = subscribers->Next()) sink->OnParamChanging(key);
  subscribers->Reset();
  while (const auto sink = subscribers->Next()) sink->OnParamChanged(key);
  return 1;
}

}  // namespace quillbay
