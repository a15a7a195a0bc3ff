#pragma once
#include <QObject>
#include <memory>
#include <optional>
#include <variant>

#include "quillbay/choosers.h"
#include "tools/tool_list.h"
#include "tools/typed_point.h"

class QKeyEvent;

namespace desktop {

class DocumentView;
class RubberLink;

/// A complete shape in the view's document: millimetres, y up.
using DrawnShape = std::variant<quillbay::CRPoint, quillbay::CRLine, quillbay::CRPolygon, quillbay::CRCircle,
                                quillbay::CRRect, quillbay::CRFrame>;

/// A page of the view (0: the one that is being scanned) and its top left corner.
struct DrawnPage {
  int id = 0;
  quillbay::CRPoint corner;
};

/// Runs one tool at a time on the view: draws with a chooser of the library, and takes the keys over the view that
/// move and fix points. A tool that measures starts anew after each shape, until it is stopped. User-interface
/// thread.
class RunningTool : public QObject {
  Q_OBJECT
 public:
  /// Both outlive this.
  RunningTool(quillbay::IApp* app, DocumentView* view, QObject* parent);
  ~RunningTool() override;

  /// Ends the one before. False when the view cannot be drawn on.
  bool start(const Tool& tool);
  void stop();
  [[nodiscard]] bool isRunning() const { return m_choose.get() != nullptr; }
  /// The one that runs or ran last.
  [[nodiscard]] const Tool& tool() const { return m_tool; }
  /// What a person is told: what to do next, and the measures so far.
  [[nodiscard]] QString text(int part) const;
  /// What a person who types a place counts from.
  [[nodiscard]] TypedBasis basis() const;
  /// The page under the first point, else under the pointer; nothing beside the pages.
  [[nodiscard]] std::optional<DrawnPage> page() const;

  void fix(const quillbay::CRPoint& at);
  /// A key over the view or from the empty field. False when it means nothing.
  bool key(int key, Qt::KeyboardModifiers held);

 signals:
  /// It started, goes on or ended: texts and state are other ones.
  void changed();
  /// The shape is complete; the page as `page`.
  void drawn(const desktop::DrawnShape& shape, std::optional<desktop::DrawnPage> page);
  /// The first point of a tool that changes pages lies beside them: it was taken back.
  void missedPages();
  /// Text was typed over the view.
  void typed(const QString& text);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  friend class RubberLink;
  bool choose();
  void release();
  void moved();
  void fixed(int index, const quillbay::CRPoint& at);
  void takenBack(int count);
  void finished();
  void cancelled();
  void later(void (RunningTool::*step)());
  void complete();
  void refusePoint();
  [[nodiscard]] QString angleWords(int part) const;
  void finishAngle();
  [[nodiscard]] std::optional<DrawnShape> shape() const;
  void noteEnd();
  [[nodiscard]] std::optional<quillbay::CRPoint> lastEnd() const;
  [[nodiscard]] bool isOpenEnded() const;
  bool finishOpenEnded();
  bool takeKey(const QKeyEvent& event);
  void moveBy(int dx, int dy);
  [[nodiscard]] quillbay::CRPoint current() const;
  [[nodiscard]] std::optional<DrawnPage> pageUnder(const quillbay::CRPoint& at) const;

  quillbay::KxPtr<quillbay::IApp> m_app;
  DocumentView* m_view;
  std::unique_ptr<RubberLink> m_link;
  quillbay::KxPtr<quillbay::IChoose> m_choose;
  Tool m_tool{};
  int m_runs = 0;  // of choosers: a step that was left for later is about its own
  std::optional<quillbay::CRPoint> m_first;
  std::optional<DrawnShape> m_shape;
  std::optional<DrawnPage> m_page;
  std::optional<quillbay::CRPoint> m_end;  // of the length that was measured last
  std::optional<DrawnPage> m_endPage;
  bool m_byKeys = false;  // the current point was moved by keys
};

}  // namespace desktop
