#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/rubber_bands.h"
#include "quillbay/choosers.h"
#include "quillbay/connection_point.h"
#include "quillbay/view_overlay.h"

namespace quillbay {

/// What a chooser is made with.
struct ChooseOrder {
  KxPtr<IApp> app;  ///< may be null
  KxPtr<IKxViewPort> view;
  std::string name;
  std::intptr_t value = 0;
  int id = 0;
  IKxUnknown* sink = nullptr;  ///< of the caller; may be null
};

/// What choosers of every kind do: bring a view's events to their rubber band, and what it tells to the caller.
///
/// While it handles an event it holds itself: a sink that is told may let go of the chooser.
class CChooseBase : public IChoose, protected IRubberSite {
 public:
  const char* GetName() override { return m_name.c_str(); }
  int GetId() override { return band().id(); }
  std::intptr_t GetValue() override { return m_value; }
  RubberState GetState() override { return band().state(); }
  int GetPointCount() override { return band().count(); }
  int GetPoint(int index, CRPoint* out) override;
  int GetLine(int index, CRLine* out) override;
  int GetRect(int index, CRRect* out) override;
  int GetCircle(int index, CRCircle* out) override;
  int Command(int command) override;
  int Close() override;
  int MoveTo(const CRPoint& at) override;
  int FixPoint(const CRPoint& at) override;
  int TakeBack() override;
  int Finish() override;
  int GetStatusText(int part, std::string* out) override;

  /// Once, before anything else: subscribes and runs. False when the view offers no connection points.
  bool open(const ChooseOrder& order);

 protected:
  [[nodiscard]] virtual RubberBand& band() = 0;
  /// Takes it off the view without a word to anybody: it is destroyed.
  void drop();

  void setPainted(bool painted) override;
  void redraw(const CRPolyVector& before, const CRPolyVector& now) override;
  [[nodiscard]] double pixel() const override;
  void setPolarOrigin(const CRPoint* at) override;
  void pointMoved(int index, const CRPoint& at) override;
  void pointFixed(int index, const CRPoint& at) override;
  void pointTakenBack(int index) override;
  void ended(RubberState state) override;
  void restarted() override { showCursor(); }

 private:
  /// A sink of the view that keeps the chooser while the view calls it.
  template <class I>
  class Sink : public TSinkImpl<I, CChooseBase> {
   public:
    using TSinkImpl<I, CChooseBase>::TSinkImpl;
    std::uint32_t AddRef() override { return this->owner()->AddRef(); }
    std::uint32_t Release() override { return this->owner()->Release(); }
  };
  class PaintReactor final : public Sink<IKxViewPaintReactor> {
   public:
    using Sink::Sink;
    int QueryInterface(const std::type_info& wanted, void** out) override;
    int ActiveChanged(IKxViewPort*, int) override { return 1; }
    int Paint(IKxViewPort*, IKxViewDC* dc, int) override;
    int Painted(IKxViewPort*) override { return 1; }
    int Closing(IKxViewPort*) override { return owner()->Close(); }
    int GetArea(IKxViewPort*, tagRRECT*) override { return 0; }

   private:
    class Mark final : public CKxUnknownImplStatic<IKxViewOverlay> {
    } m_mark;
  };
  class MouseReactor final : public Sink<IKxViewMouseReactor> {
   public:
    using Sink::Sink;
    int MouseLeave() override { return 1; }
    int MouseMove(int flags, const tagRPOINT& at) override;
    int LeftDown(int flags, const tagRPOINT& at) override;
    int LeftUp(int flags, const tagRPOINT& at) override;
    int LeftDoubleClick(int flags, const tagRPOINT& at) override;
    int RightDown(int flags, const tagRPOINT& at) override;
    int RightUp(int, const tagRPOINT&) override { return 1; }
    int RightDoubleClick(int flags, const tagRPOINT& at) override { return RightDown(flags, at); }
    int MiddleUp(int, const tagRPOINT&) override { return 1; }
  };
  class KeySink final : public Sink<IKxViewKeySink> {
   public:
    using Sink::Sink;
    int KeyDown(int key, std::uint32_t) override { return owner()->band().key(key) ? 1 : 0; }
    int KeyUp(int, std::uint32_t) override { return 0; }
  };

  [[nodiscard]] KxPtr<IChoose> held() { return KxPtr<IChoose>::share(this); }
  void paint(IKxViewDC& dc);
  [[nodiscard]] CRRect withMargin(const CRRect& area) const;
  void showCursor();
  void restoreCursor();

  KxPtr<IApp> m_app;
  KxPtr<IKxViewPort> m_view;
  std::string m_name;
  std::intptr_t m_value = 0;
  KxPtr<IToolCtxRubberSink> m_rubberSink;
  KxPtr<IToolCtxCursorSink> m_cursorSink;
  KxPtr<IToolCtxStatusBarSink> m_statusSink;
  bool m_isClosed = false;
  std::optional<int> m_cursorBefore;  // the view's, while ours shows
  int m_cursor = -1;
  std::vector<CRRect> m_places;  // kept from event to event
  CRPolyVector m_inClip;         // from paint to paint
  PaintReactor m_paint{this};
  MouseReactor m_mouse{this};
  KeySink m_keys{this};
};

/// The chooser of a kind: its rubber band, and the shape that comes of it.
template <class Band, class Shape>
class CIChoose final : public CKxUnknownImpl<CChooseBase, IChooseShape<Shape>> {
  using Base = CKxUnknownImpl<CChooseBase, IChooseShape<Shape>>;

 public:
  explicit CIChoose(int id) : m_band(id) { m_band.attach(this); }
  ~CIChoose() override {
    this->drop();
    m_band.attach(nullptr);
  }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (wanted != typeid(IChoose)) return Base::QueryInterface(wanted, out);
    this->AddRef();
    *out = static_cast<IChoose*>(this);
    return 1;
  }
  int GetShape(Shape* out) override { return out && m_band.get(out) ? 1 : 0; }
  /// The band before it runs.
  [[nodiscard]] Band& ownBand() noexcept { return m_band; }

 private:
  RubberBand& band() override { return m_band; }

  Band m_band;
};

}  // namespace quillbay
