#include "control/screen_width.h"

#include <QGuiApplication>
#include <QScreen>

namespace quillbay {

std::int32_t screenWidth() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  return screen ? qRound(screen->size().width() * screen->devicePixelRatio()) : 0;
}

}  // namespace quillbay
