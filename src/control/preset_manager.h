#pragma once
#include <QPointer>
#include <QWidget>
#include <optional>

#include "params/shared_scan_params.h"
#include "platform/change_params.h"
#include "platform/panel_controller.h"
#include "platform/preset_manager.h"
#include "quillbay/connection_point.h"
#include "quillbay/presets.h"

namespace quillbay {

/// A panel's presets, over those of its host's profile. Which one is chosen is broadcast as `key::PresetsChanged`.
/// Its calls that ask the user run event loops: it and `controller` outlive them (`IPanelController::Guarded`).
class CPResetManager final : public IPresetManager {
 public:
  /// Dialogs belong to the window that holds `panel`.
  CPResetManager(IPanelController& controller, QWidget* panel, KxPtr<CSharedScanParams> params);

  std::vector<Preset> List(int page) override;
  int GetChosen(std::int32_t* id) override;
  int Create(int page) override;
  int Apply(std::int32_t id, int page) override;
  int Reset(int page) override;
  int Export(std::int32_t id) override;
  int Import() override;
  int Delete(std::int32_t id) override;
  int OnMenuCommand(int page, std::int32_t command) override;
  void OnParamChanged(std::string_view key) override;

  /// The values of the current mode's pages.
  [[nodiscard]] quillbay::Preset takeCurrent() const;
  /// The settings changed in a way that is not broadcast.
  void forgetChosen();

 private:
  class CIChangeParams final : public TSinkImpl<IChangeParams, CPResetManager> {
   public:
    using TSinkImpl::TSinkImpl;
    /// In the first pass: who shows the chosen preset in the second finds it forgotten.
    int OnParamChanging(const char* key) override { return owner()->OnParamChanged(key), 1; }
    int OnParamChanged(const char*) override { return 1; }
  };

  [[nodiscard]] std::vector<IUIScanPage*> candidates(int page) const;
  [[nodiscard]] quillbay::Preset take(const std::vector<std::int32_t>& pages) const;
  struct Loaded {
    int pages = 0;
    std::string notes;  ///< what they could not take over
  };
  Loaded loadPages(const quillbay::Preset* preset, int page);
  /// Whether a preset may take the place of the one of that number, if there is one.
  [[nodiscard]] bool mayReplace(const std::string& name);
  void setChosen(std::optional<std::int32_t> id);
  [[nodiscard]] QWidget* dialogParent() const;

  IPanelController& m_controller;
  const QPointer<QWidget> m_panel;
  KxPtr<CSharedScanParams> m_params;
  std::optional<std::int32_t> m_chosen;
  int m_applying = 0;  // the pages load: what they change is the preset's
  CIChangeParams m_changes{this};
};

}  // namespace quillbay
