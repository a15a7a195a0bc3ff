#pragma once
#include <string>

#include "quillbay/app.h"

namespace quillbay {

/// Where a panel's settings live: the host's profile, section "Quillbay2.0", one sub-store for each scanner, in it
/// "page%d" for each page and "MainDlg" for the destination and the layout. Without a profile: memory.
class PanelStore {
 public:
  PanelStore(IApp* app, const std::string& scannerName);
  [[nodiscard]] KxPtr<IParam> page(int number) const;
  [[nodiscard]] KxPtr<IParam> mainDialog() const;
  /// Writes the profile. Returns 1, or 0 when the host could not (it has said why).
  int flush();

 private:
  [[nodiscard]] KxPtr<IParam> sub(const std::string& name) const;
  KxPtr<IProfile> m_profile;
  KxPtr<IParam> m_scanner;
};

}  // namespace quillbay
