#pragma once
#include <QImage>
#include <QPainter>
#include <functional>

#include "quillbay/view.h"

namespace quillbay {

/// The drawing object of a view port: over the painter of a paint, or over a transparent picture of its own.
class CViewDC final : public CKxUnknownImpl<IKxViewDC> {
 public:
  /// Over `painter`, which `end` takes away again.
  CViewDC(QPainter* painter, const CRTfm& tfm, const KxRect& clip, int mode)
      : m_painter(painter), m_tfm(tfm), m_clip(clip), m_mode(mode) {}
  /// Over a picture of `size` client pixels, which `done` gets when the object goes.
  CViewDC(const KxSize& size, double pixelRatio, const CRTfm& tfm, int mode, std::function<void(QImage)> done);
  ~CViewDC() override;

  QPainter* GetPainter() override { return m_painter; }
  CRTfm GetTransform() override { return m_tfm; }
  tagRRECT GetClip() override;
  KxRect GetClientClip() override { return m_clip; }
  int GetStretchMode() override { return m_mode; }
  int SetStretchMode(int mode) override;

  void setClip(const KxRect& clip) { m_clip = clip; }
  /// The paint is over.
  void end() { m_painter = nullptr; }

 private:
  QPainter* m_painter;
  CRTfm m_tfm;
  KxRect m_clip;
  int m_mode;
  QImage m_image;
  QPainter m_ownPainter;
  std::function<void(QImage)> m_done;
};

}  // namespace quillbay
