#pragma once
class QWidget;

namespace quillbay {

/// Dispatches what waits for `page` and its controls, and paints. Keys, shortcuts, clicks and wheel steps for other
/// windows and controls wait until afterwards. For steps of work on the user-interface thread; `page` may be
/// destroyed in it.
void dispatchOwnEvents(QWidget* page);

}  // namespace quillbay
