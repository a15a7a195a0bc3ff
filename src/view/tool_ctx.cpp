#include "view/tool_ctx.h"

#include <new>
#include <string>

#include "platform/base_services.h"
#include "view/choose.h"

namespace quillbay {

CToolCtx::CToolCtx(IApp* app, IKxViewPort* view)
    : m_app(KxPtr<IApp>::share(app)), m_view(KxPtr<IKxViewPort>::share(view)) {}

int CToolCtx::QueryInterface(const std::type_info& wanted, void** out) {
  if (wanted != typeid(IToolCtx)) return CKxUnknownImpl::QueryInterface(wanted, out);
  AddRef();
  *out = static_cast<IToolCtx*>(this);
  return 1;
}

/// `kind` is the name with a place for the identifier; null: a chooser without a name. `start` is entered as the
/// first point.
template <class Band, class Shape>
IChoose* CToolCtx::make(const char* kind, std::intptr_t value, int id, IKxUnknown* sink, const CRPoint* start) {
  if (!m_view || !m_view->GetWindow()) return nullptr;
  try {
    const std::string name = kind ? formatText(kind, {std::to_string(id)}) : std::string();
    const auto chooser = KxPtr<CIChoose<Band, Shape>>::adopt(new CIChoose<Band, Shape>(id));
    if (start) {
      chooser->ownBand().enter(*start);
      chooser->ownBand().setKeepPoints(true);
    }
    if (!chooser->open({m_app, m_view, name, value, id, sink})) return nullptr;
    return KxPtr<IChoose>::share(chooser.get()).detach();
  } catch (const std::bad_alloc&) {
    logLine(LogLevel::Error, "quillbay.view", "no memory for a chooser");
    return nullptr;
  }
}

IChoose* CToolCtx::ChoosePoint(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberPoint, CRPoint>(nullptr, value, id, sink);
}

IChoose* CToolCtx::ChoosePointFrom(std::intptr_t value, const CRPoint& start, int id, IKxUnknown* sink) {
  return make<CRubberLine, CRPoint>(nullptr, value, id, sink, &start);
}

IChoose* CToolCtx::ChooseLine(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberLine, CRLine>("ChooseLine-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChooseFrame(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberRect, CRRect>("ChooseFrame-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChooseFence(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberPolyGone, CRPolygon>("ChooseFence-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChoosePolygon(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberPolyGoneClosed, CRPolygon>("ChoosePolygon-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChooseFreehand(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberFreeHandClosed, CRPolygon>("ChooseFreehand-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChoosePolyhand(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberPolyHandClosed, CRPolygon>("ChoosePolyhand-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChooseFrameEx(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberBaseFrame, CRFrame>("ChooseFrameEx-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChooseCircleByRadius(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberCircle, CRCircle>("ChooseCircleByRadius-ID:%d", value, id, sink);
}

IChoose* CToolCtx::ChooseCircleByDiameter(std::intptr_t value, int id, IKxUnknown* sink) {
  return make<CRubberCircleByDiameter, CRCircle>("ChooseCircleByDiameter-ID:%d", value, id, sink);
}

KxPtr<IToolCtx> new_ToolCtx(IApp* app, IKxViewPort* view) {
  if (!view) return {};
  return KxPtr<IToolCtx>::adopt(new CToolCtx(app, view));
}

}  // namespace quillbay
