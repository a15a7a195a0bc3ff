#pragma once
#include <QImage>
#include <QObject>
#include <QRect>
#include <QThreadPool>
#include <atomic>
#include <memory>

#include "quillbay/raster.h"

namespace desktop {

/// Shared between who asked for a picture and the thread that makes it: set to give it up.
using CancelFlag = std::shared_ptr<std::atomic<bool>>;

/// Draws the part of `raster` that falls into `clip` of `image` (32 bits, opaque), through the raster's own
/// drawing. Any thread. False when it was given up or the raster cannot be drawn.
bool drawRaster(quillbay::IRStor* raster, QImage& image, const QRect& clip, const quillbay::CRDirectTfm& tfm,
                const CancelFlag& cancel);

/// Makes pictures of rasters on a thread of its own; results come on the user-interface thread. What still runs
/// when it goes is given up and waited for.
class PageImages : public QObject {
  Q_OBJECT
 public:
  explicit PageImages(QObject* parent = nullptr);
  ~PageImages() override;

  /// Asks for the whole of a page in small; its longer side gets `longest` pixels at most.
  void requestOverview(int id, quillbay::KxPtr<quillbay::IRStor> raster, int longest);
  /// Gives a reference up on the thread: freeing a raster of gigabytes takes a while.
  void letGo(quillbay::KxPtr<quillbay::IRStor> raster);

 signals:
  /// A null picture when none could be made.
  void overviewReady(int id, const QImage& image);

 private:
  void makeOverview(int id, quillbay::IRStor& raster, int longest);
  QThreadPool m_thread;
  CancelFlag m_cancel;
};

}  // namespace desktop
