#pragma once
#include <QPointer>
#include <memory>
#include <utility>
#include <vector>

#include "entry/scan_picture.h"
#include "platform/dock_bar.h"
#include "quillbay/control.h"
#include "quillbay/quillbay.h"
#include "widgets/dialog.h"
#include "widgets/tool_icons.h"

class QAction;
class QScrollArea;
class QSplitter;
class QToolBar;

namespace quillbay {

/// What a docking bar holds: a toolbar, the panel and a view port that shows the page being scanned. The panel gets
/// the room that it needs and scrolls where there is less; the view gets the rest, below it or beside it.
class CMHolder final : public CDialog {
 public:
  CMHolder(IApp* app, QWidget* parent);
  /// Tells the host, ends the panel's scan and lets the panel go.
  ~CMHolder() override;

  /// The view of the holder's view port.
  [[nodiscard]] IKxView* view() const noexcept { return m_view.get(); }
  /// The window that the panel is made for.
  [[nodiscard]] CWnd* panelPlace() const noexcept { return m_place; }
  /// Takes in the panel that was made for `panelPlace`, with its sink.
  void takePanel(HWND panel, KxPtr<IQuillbaySink> sink);
  /// The host that is asked before the holder closes and told when it is destroyed; may be null.
  void holdScript(IScriptCmdSink* script) { m_script = KxPtr<IScriptCmdSink>::share(script); }

  bool OnCommand(int id, int code, std::int64_t value) override;
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void customEvent(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  /// Tells the picture what the panel scans.
  class Events final : public CKxUnknownImplStatic<IQuillbayEvents> {
   public:
    explicit Events(CMHolder* holder) : m_holder(holder) {}
    void OnStarted(const ScanStartInfo& info) override {
      m_pageRuns = info.kind == StartKind::Scan;
      if (m_pageRuns) m_holder->m_picture->begin(info);
      if (info.kind == StartKind::AreaPrescan) m_holder->m_picture->clear();
    }
    void OnLines(std::int64_t) override {
      if (m_pageRuns) m_holder->growPicture();
    }
    void OnPageFinished(const PageInfo&) override { m_holder->growPicture(); }
    void OnPublished(const std::string&, std::int32_t) override {}
    void OnMessage(const std::string&) override {}
    void OnEnded(EndCause, const UnitFault&, std::int32_t) override {
      if (std::exchange(m_pageRuns, false)) m_holder->m_picture->end();
    }

   private:
    CMHolder* m_holder;
    bool m_pageRuns = false;
  };
  class ZoomSink final : public TSinkImpl<IKxViewZoomSink, CMHolder> {
   public:
    using TSinkImpl::TSinkImpl;
    int TransformChanging(IKxViewPort*, const CRTfm&) override { return 1; }
    int TransformChanged(IKxViewPort*, const CRTfm&, const CRTfm&) override;
    int Resized(IKxViewPort*, const KxSize&) override { return 1; }
  };

  void createToolbar(IApp* app);
  void createPlaces();
  void drawIcons();
  void zoom(ToolIcon how);
  void updateZoom();
  void showView(bool show);
  void keepRasters(bool keep);
  void layOut();
  [[nodiscard]] QSize panelRoom() const;
  void growPicture();
  bool killCommand();
  [[nodiscard]] BarAnswer mayClose();

  KxPtr<IApp> m_app;
  KxPtr<IScriptCmdSink> m_script;
  KxPtr<IQuillbaySink> m_sink;
  KxPtr<IKxViewPort> m_port;
  KxPtr<IKxView> m_view;
  std::unique_ptr<ScanPicture> m_picture;
  Events m_events{this};
  ZoomSink m_zoomSink{this};
  struct ViewAction {
    ToolIcon icon;
    QAction* action;
  };
  std::vector<ViewAction> m_actions;
  QToolBar* m_toolbar = nullptr;
  QSplitter* m_split = nullptr;
  QScrollArea* m_scroll = nullptr;
  QPointer<QWidget> m_place;  // in the scroll area, with the panel in it
  QPointer<QWidget> m_panel;
  int m_panelHeight = 0;   // the most that the panel has needed in its present layout
  bool m_divided = false;  // the user has moved the line between panel and view
  bool m_asking = false;   // the host is being asked whether the holder may close
};

}  // namespace quillbay
