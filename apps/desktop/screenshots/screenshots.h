#pragma once
#include <QString>

namespace desktop {

/// Scans a map on the simulated scanner into the view and writes pictures of the window and of the panel in each
/// mode, in light and in dark colours, into a folder. Returns a process's exit status.
int makeScreenshots(const QString& folder);

}  // namespace desktop
