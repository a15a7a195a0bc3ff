#pragma once
#include <QImage>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>
#include <variant>

#include "document/document.h"
#include "quillbay/app.h"
#include "quillbay/raster_edit.h"
#include "quillbay/shapes.h"

class QWidget;

namespace desktop {

class SideProgress;

/// A page and where its top left corner lies in the view: millimetres, y up.
struct ToolPage {
  int id = 0;
  quillbay::CRPoint topLeft;
};

/// A shape in the view: millimetres, y up.
using ViewShape = std::variant<quillbay::CRPolygon, quillbay::CRCircle, quillbay::CRRect, quillbay::CRFrame>;

/// A place in the view in pixels of the page, from its top left corner, y down.
[[nodiscard]] quillbay::CRPoint toPagePixels(const quillbay::CRPoint& at, const quillbay::CRPoint& topLeft,
                                             double dpi);
/// A shape likewise. A frame becomes one whose `origin` is its upper left corner.
[[nodiscard]] quillbay::RasterShape toPagePixels(const ViewShape& shape, const quillbay::CRPoint& topLeft,
                                                 double dpi);

/// What the tools of the view do to a page of the document, with a window that shows how far it is and can cancel.
/// Each change is one step to undo. What fails is told, and the page stays as it was. User-interface thread.
class PageTools : public QObject {
  Q_OBJECT
 public:
  /// What an erased part is filled with.
  enum class Ground { White, Around };

  /// All of it outlives this; `window` is the one that windows belong to. `app` gives the options of file formats.
  PageTools(quillbay::IApp* app, Document* document, QWidget* window);

  /// Erases the inside of a shape, or its outside (keeps the inside).
  bool erase(const ToolPage& page, const ViewShape& shape, quillbay::ShapePart part, Ground ground);
  /// Keeps what lies in a frame, upright.
  bool crop(const ToolPage& page, const ViewShape& frame);
  /// Turns the page so that a line along an edge is level or upright.
  bool straighten(const ToolPage& page, const quillbay::CRLine& edge);
  /// What lies in a frame as a picture with its resolution. One of more than `kMostCopied` pixels is made smaller
  /// when the user agrees. Null when it was cancelled, refused or failed.
  [[nodiscard]] QImage copyFrame(const ToolPage& page, const ViewShape& frame);
  /// What lies in a frame as a file, in the format of its name. Replaces another file only with `mayReplace`.
  bool saveFrame(const ToolPage& page, const ViewShape& frame, const QString& file, bool mayReplace);

  [[nodiscard]] bool isRunning() const { return m_running; }
  /// Gives up what runs.
  void cancel();

  /// Tells what failed and what to do. Without it nothing is told.
  std::function<void(const QString& text)> tell;
  /// Why pages may not be changed now (a scan or a command runs), as a sentence; empty: they may.
  std::function<QString()> refusal;
  /// Asks whether to do what a question warns of; `yes` is the text of the button that agrees. Without it: no.
  std::function<bool(const QString& question, const QString& yes)> agree;

  /// Pixels of the largest picture that is put on the clipboard: 200 MB of memory.
  static constexpr qint64 kMostCopied = 50'000'000;

 signals:
  /// A tool begins its work or has ended it.
  void runningChanged();

 private:
  using Make = std::function<quillbay::KxPtr<quillbay::IRStor>(quillbay::IRStor* source, SideProgress& progress)>;
  bool change(const Page& page, const QString& text, const QString& doing, const Make& make);
  bool run(const QString& name, const QString& doing, const std::function<void(SideProgress&)>& work);
  void say(const QString& text) const;
  [[nodiscard]] std::optional<Page> pageFor(int id) const;
  [[nodiscard]] bool agreesToShrink(qint64 pixels) const;

  quillbay::IApp* m_app;
  Document* m_document;
  QWidget* m_window;
  SideProgress* m_progress = nullptr;  // of what runs
  bool m_running = false;
};

}  // namespace desktop
