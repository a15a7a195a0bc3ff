#pragma once
#include <QWidget>

#include "quillbay/app.h"

namespace quillbay {

/// Keeps where the preview's window stands in the profile of `app`, which may be null.
void savePreviewWindow(IApp* app, const QWidget& window);
/// Shows the window where it stood, on a screen that is there.
void restorePreviewWindow(IApp* app, QWidget& window);

}  // namespace quillbay
