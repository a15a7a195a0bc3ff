#include "preview/preview_window.h"

#include <QGuiApplication>
#include <QScreen>
#include <vector>

#include "preview/window_placement.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr QSize kFirstSize{640, 560};

KxPtr<IParam> sectionOf(IApp* app, int create) {
  const auto profile = query<IProfile>(app);
  return profile ? KxPtr<IParam>::adopt(profile->GetSection(section_name::PreviewPlacement, create))
                 : KxPtr<IParam>{};
}

tagRRECT rectOf(const QRect& r) {
  return {static_cast<double>(r.x()), static_cast<double>(r.y()), static_cast<double>(r.x() + r.width()),
          static_cast<double>(r.y() + r.height())};
}

std::vector<tagRRECT> screens() {
  std::vector<tagRRECT> rects;
  for (const QScreen* screen : QGuiApplication::screens()) rects.push_back(rectOf(screen->geometry()));
  return rects;
}

}  // namespace

void savePreviewWindow(IApp* app, const QWidget& window) {
  const auto section = sectionOf(app, 1);
  WindowPlacement placement = loadPlacement(section.get()).value_or(WindowPlacement{});
  const bool isNormal = !window.isMaximized() && !window.isMinimized();
  const WindowShow show = window.isMinimized()   ? WindowShow::Minimised
                          : window.isMaximized() ? WindowShow::Maximised
                                                 : WindowShow::Normal;
  placement.showCommand = static_cast<int>(show);
  const QRect normal = isNormal ? window.geometry() : window.normalGeometry();
  if (normal.isValid()) placement.normal = rectOf(normal);
  savePlacement(section.get(), placement);
}

void restorePreviewWindow(IApp* app, QWidget& window) {
  const auto placement = loadPlacement(sectionOf(app, 0).get());
  if (!placement) {
    window.resize(kFirstSize);
    return window.showNormal();
  }
  const tagRRECT& r = placement->normal;
  window.setGeometry(QRect(qRound(r.left), qRound(r.top), qRound(r.width()), qRound(r.height())));
  switch (shownOn(*placement, screens())) {
    case WindowShow::Minimised: return window.showMinimized();
    case WindowShow::Maximised: return window.showMaximized();
    case WindowShow::Normal: return window.showNormal();
  }
}

}  // namespace quillbay
