#pragma once
#include <array>
#include <memory>
#include <vector>

#include "analysis/pal_detector.h"
#include "control/page_lists.h"
#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/scan_page.h"

class QStackedWidget;

namespace quillbay {

class CPostProc;
class PanelStore;

/// A panel's settings pages, those that a mode has, and what all of them together hold. User-interface thread only.
class PanelPages {
 public:
  /// `controller` and the window that the pages are made for outlive them.
  PanelPages(IPanelController& controller, KxPtr<CSharedScanParams> params)
      : m_controller(controller), m_params(std::move(params)) {}

  /// Makes the pages that the unit and the destination have.
  void create(QStackedWidget* place);
  void destroy();

  /// The pages of the current mode, in the order of their tabs.
  [[nodiscard]] const std::vector<PageRole>& current() const { return of(m_params->values().currMode); }
  [[nodiscard]] const std::vector<PageRole>& of(int mode) const;
  [[nodiscard]] std::vector<IUIScanPage*> windowsOf(int mode) const;
  [[nodiscard]] std::vector<IUIScanPage*> all() const;
  [[nodiscard]] IUIScanPage* page(PageRole role) const { return m_pages[static_cast<std::size_t>(role)].get(); }

  void load(const PanelStore& store) const;
  void save(const PanelStore& store) const;
  /// The settings of the current mode's pages over which `params` are laid.
  void apply(IParam* params) const;
  /// Lets the current mode's pages save into `out`. False when one finds its values not acceptable; it has told the
  /// user why.
  [[nodiscard]] bool collect(IParam* out) const;
  /// Removes from a page's values what belongs to one document and to the unit alone.
  static void removeComputed(IParam* values);
  void enable(bool enable) const;
  /// The detector of the palette page; null when the unit has no palette mode.
  [[nodiscard]] const KxPtr<CPalDetector>& paletteDetector() const noexcept { return m_paletteDetector; }
  /// Null where the destination has none.
  [[nodiscard]] CPostProc* postProcessing() const noexcept { return m_postProcessing; }

 private:
  [[nodiscard]] IUIScanPage* makeBwPage(int mode) const;

  struct Releaser {
    void operator()(IUIScanPage* p) const { p->Release(); }
  };

  IPanelController& m_controller;
  KxPtr<CSharedScanParams> m_params;
  std::array<std::unique_ptr<IUIScanPage, Releaser>, kPageRoles> m_pages;
  CPostProc* m_postProcessing = nullptr;  // one of them
  PageLists m_lists;
  KxPtr<CPalDetector> m_paletteDetector;
};

}  // namespace quillbay
