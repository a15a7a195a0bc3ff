#pragma once
#include <QPointer>
#include <QToolButton>
#include <QWidget>
#include <array>

#include "quillbay/app.h"
#include "quillbay/tools.h"

namespace quillbay {

/// What the tools of our host have in common: a window in a page, and what the user is picking for. The window may
/// be destroyed with the page; the tool then answers 0.
class ToolBase : public CKxUnknownImpl<IPanelTool> {
 public:
  QWidget* Create(QWidget* parent, IToolSite* site) final;
  int Place(const KxRect& area) final;
  int Apply() override { return m_window ? 1 : 0; }
  int Picked(KXRGBQUAD color) final;
  int PickEnded() final;
  void Close() final;

 protected:
  /// `events` shows messages, and may be null.
  explicit ToolBase(KxPtr<IEvents> events) : m_events(std::move(events)) {}
  enum class Pick { None, Black, White };

  /// Fills the window.
  virtual void build(QWidget* window) = 0;
  /// The user chose a colour. False when it cannot be taken.
  virtual bool take(Pick what, KXRGBQUAD color) = 0;

  /// A button of the window.
  [[nodiscard]] static QToolButton* makeButton(QWidget* parent, const char* text, const char* tip);
  /// The button that lets the user choose a point; it is down until one is chosen.
  [[nodiscard]] QToolButton* makePickButton(QWidget* parent, Pick what);
  [[nodiscard]] QWidget* window() const { return m_window; }
  [[nodiscard]] IToolSite* site() const { return m_window ? m_site : nullptr; }
  void changed();
  void message(const std::string& text) const;

 private:
  void pick(Pick what);
  void showPick(Pick what) const;

  KxPtr<IEvents> m_events;
  QPointer<QWidget> m_window;
  IToolSite* m_site = nullptr;
  Pick m_pick = Pick::None;
  std::array<QPointer<QToolButton>, 2> m_pickButtons;  // for black, for white
};

/// A text of the tools through the one translation function.
[[nodiscard]] QString toolText(const char* english);

}  // namespace quillbay
