#pragma once
#include <QDialog>
#include <functional>
#include <string>

#include "quillbay/host.h"

class QDialogButtonBox;

namespace quillbay {

/// What a message window shows: a heading (may be empty) over the text, one paragraph for each line.
struct MessageTexts {
  std::string heading, text;
};

/// Of event 9 the folder, and why and what to do; of other messages the text alone.
[[nodiscard]] MessageTexts messageTexts(const HostMessage& message);

/// A message with its picture and buttons. Its text can be selected, and breaks anywhere: paths have no blanks. The
/// Help button and F1 open the manual and leave it open.
class MessageWindow final : public QDialog {
 public:
  MessageWindow(const HostMessage& message, const std::function<void(const std::string& topic)>& help,
                QWidget* parent);
  /// Shows it until it is answered.
  [[nodiscard]] EventAnswer ask();

 private:
  void addText(QLayout& row, const HostMessage& message);
  void addButtons(const HostMessage& message, const std::function<void(const std::string& topic)>& help);

  const EventButtons m_kind;
  QDialogButtonBox* m_buttons;
};

}  // namespace quillbay
