#pragma once
#include <QGuiApplication>
#include <cstdint>
#include <string>

#include "platform/strip_stor.h"

namespace quillbay {

/// The wait cursor while one lives.
class WaitCursor {
 public:
  WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;
};

/// Finishes a store that writes a page into `file`, under the wait cursor. Returns why the page is not in its file,
/// for users; empty when it is.
[[nodiscard]] std::string finishFileStore(const KxPtr<ISStripStor>& store, std::int32_t leastLines,
                                          const std::string& file);

}  // namespace quillbay
