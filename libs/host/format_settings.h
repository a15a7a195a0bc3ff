#pragma once
#include <string>
#include <vector>

#include "channels/module_probe.h"
#include "host/io_params.h"
#include "quillbay/format_settings.h"

namespace quillbay {

/// What the settings know of modules from earlier runs.
[[nodiscard]] std::vector<ModuleAnswer> knownModules(IProfile* profile);

/// The settings of file formats in the host's profile: an entry for each format that a module offers, and what was
/// found out of the modules, so that a start with the same modules examines none. User-interface thread.
class CFormatSettings final : public CKxUnknownImpl<IFormatSettings> {
 public:
  /// Hands what is known of modules to their loader, which uses it when formats are first asked for.
  /// @param kept  where the answers are kept as well, for a profile that is not saved; null: nowhere
  CFormatSettings(KxPtr<IProfile> profile, KxPtr<CIOParams> options, KxPtr<IProfile> kept = {});
  IParam* GetSection(std::string_view name) override;
  int ShowOptions(std::string_view format, IParam* entry, QWidget* parent) override;
  void OptionsChanged() override;

 private:
  [[nodiscard]] KxPtr<IParam> section(std::string_view name) const;
  void keepAnswers() const;

  const KxPtr<IProfile> m_profile;
  const KxPtr<CIOParams> m_options;
  const KxPtr<IProfile> m_kept;
  bool m_isUpToDate = false;  // the modules' answers are in the profile
};

}  // namespace quillbay
