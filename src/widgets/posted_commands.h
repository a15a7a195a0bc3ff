#pragma once
#include <QEvent>
#include <cstdint>

class QObject;

namespace quillbay {

/// A private command on its way to a dialog.
class PostedCommand final : public QEvent {
 public:
  PostedCommand(int id, int code, std::int64_t value);
  [[nodiscard]] static QEvent::Type eventType();
  const int id, code;
  const std::int64_t value;
};

/// The dialogs that commands may be posted to, each with what waits for it. A dialog enters itself when it is made
/// and leaves before it goes, so that a thread that still posts meets a closed door instead of a dead object.
namespace posted_commands {
void open(QObject* dialog);
void close(QObject* dialog);
/// A command is about to be handled: the next one of its number may be posted again.
void delivered(QObject* dialog, int id);
}  // namespace posted_commands

}  // namespace quillbay
