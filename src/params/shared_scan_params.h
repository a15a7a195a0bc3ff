#pragma once
#include <array>
#include <memory>
#include <vector>

#include "params/notify_guard.h"
#include "params/scan_key.h"
#include "params/scan_units.h"
#include "params/scan_values.h"
#include "platform/change_params.h"
#include "platform/picture.h"
#include "platform/strip_stor.h"
#include "quillbay/app.h"
#include "quillbay/connection_point.h"
#include "quillbay/raster.h"

namespace quillbay {

class CScanTo;

/// A standard paper; width and height in millimetres as the host lists it (portrait or landscape as it stands
/// there).
struct PaperRecord {
  std::string name;
  tagRSIZE size;
  bool more = false;  ///< in lists only when the user asks for more papers
};

/// The process-wide scan settings. Every write to a value with a key goes through `set`, which stores it and then
/// broadcasts the key to all subscribers; they read the new value from here.
///
/// Life: made by the first panel (`acquire`), shared by all of the process, gone with the last reference.
/// Threads: the user-interface thread (the one that made it) only. A scan's thread works on a copy of `values()`.
class CSharedScanParams final : public CKxUnknownImpl<IKxUnknown> {
 public:
  using StoreFactory = KxPtr<ISStripStor> (*)();

  /// The object of the process, made when there is none: then its three store slots are filled from `emptyStore`.
  [[nodiscard]] static KxPtr<CSharedScanParams> acquire(IApp* app, StoreFactory emptyStore);
  /// The values of that object, or null when there is none. Valid until the last panel is closed.
  [[nodiscard]] static const ScanValues* currentValues() noexcept;

  [[nodiscard]] const ScanValues& values() const noexcept { return m_values; }
  /// The values without a broadcast of their own.
  [[nodiscard]] ScanValues& quiet() noexcept { return m_values; }

  /// Stores the value and broadcasts its key.
  template <class T>
  void set(const ScanKey<T>& key, const std::type_identity_t<T>& value) {
    m_values.*key.member = value;
    stored(key.name);
    NotifyParam(key.name);
  }
  /// As `set`, only when the value differs.
  template <class T>
  void setIfChanged(const ScanKey<T>& key, const std::type_identity_t<T>& value) {
    if (!(m_values.*key.member == value)) set(key, value);
  }

  /// Broadcasts a key: every subscriber's `OnParamChanging` in the order they subscribed, then every subscriber's
  /// `OnParamChanged`. Returns 48 and does nothing while the notify guard is set, else 1. The guard stays set
  /// during both passes: a handler that sets another value must act on it itself.
  int NotifyParam(const char* key);
  [[nodiscard]] IConnectionPoint<IChangeParams>* connectionPoint() noexcept { return m_connections.get(); }

  [[nodiscard]] IApp* app() const noexcept { return m_app.get(); }
  /// Replaces the application and takes its linear units.
  void setApp(IApp* app);
  /// The unit switch; its unit follows `key::Units`.
  [[nodiscard]] CScanUnits& units() noexcept { return *m_units; }

  KxPtr<ISStripStor> destinationStore;  ///< a scan's stripes go here
  KxPtr<ISStripStor> previewStore;      ///< the whole-bed prescan
  KxPtr<ISStripStor> viewStore;         ///< what the host view shows
  KxPtr<IProgress> progress;            ///< the panel's status bar
  CScanTo* destination = nullptr;       ///< the active destination, owned by its panel
  const void* runs = nullptr;           ///< the panel whose run uses the stores; null: none
  std::vector<PaperRecord> papers;
  std::array<std::shared_ptr<const Picture>, 4> pictures;  ///< one per colour class

  /// Whether the calling thread is the one that made the object.
  [[nodiscard]] static bool onUserInterfaceThread() noexcept;

 private:
  CSharedScanParams(IApp* app, StoreFactory emptyStore);
  ~CSharedScanParams() override;
  void stored(const char* key);

  ScanValues m_values;
  KxPtr<IApp> m_app;
  KxPtr<CScanUnits> m_units;
  KxPtr<IConnectionPoint<IChangeParams>> m_connections;
};

}  // namespace quillbay
