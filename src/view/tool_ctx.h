#pragma once
#include "quillbay/choosers.h"

namespace quillbay {

/// Makes choosers on one view.
class CToolCtx final : public CKxUnknownImpl<IToolCtxEx> {
 public:
  CToolCtx(IApp* app, IKxViewPort* view);
  int QueryInterface(const std::type_info& wanted, void** out) override;

  IChoose* ChoosePoint(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChoosePointFrom(std::intptr_t value, const CRPoint& start, int id, IKxUnknown* sink) override;
  IChoose* ChooseLine(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChooseFrame(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChooseFence(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChoosePolygon(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChooseFreehand(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChoosePolyhand(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChooseFrameEx(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChooseCircleByRadius(std::intptr_t value, int id, IKxUnknown* sink) override;
  IChoose* ChooseCircleByDiameter(std::intptr_t value, int id, IKxUnknown* sink) override;

 private:
  template <class Band, class Shape>
  IChoose* make(const char* kind, std::intptr_t value, int id, IKxUnknown* sink, const CRPoint* start = nullptr);

  KxPtr<IApp> m_app;
  KxPtr<IKxViewPort> m_view;
};

}  // namespace quillbay
