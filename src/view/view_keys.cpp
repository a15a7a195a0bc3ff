#include "view/view_keys.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <utility>

namespace quillbay::view {
namespace {

constexpr std::pair<int, int> kPad[] = {
    {Qt::Key_Insert, 0}, {Qt::Key_End, 1},   {Qt::Key_Down, 2}, {Qt::Key_PageDown, 3}, {Qt::Key_Left, 4},
    {Qt::Key_Clear, 5},  {Qt::Key_Right, 6}, {Qt::Key_Home, 7}, {Qt::Key_Up, 8},       {Qt::Key_PageUp, 9},
};

constexpr std::pair<int, int> kNamed[] = {
    {Qt::Key_Backspace, kKeyBackspace}, {Qt::Key_Tab, kKeyTab},       {Qt::Key_Return, kKeyReturn},
    {Qt::Key_Enter, kKeyReturn},        {Qt::Key_Escape, kKeyEscape}, {Qt::Key_PageUp, kKeyPageUp},
    {Qt::Key_PageDown, kKeyPageDown},   {Qt::Key_End, kKeyEnd},       {Qt::Key_Home, kKeyHome},
    {Qt::Key_Left, kKeyLeft},           {Qt::Key_Up, kKeyUp},         {Qt::Key_Right, kKeyRight},
    {Qt::Key_Down, kKeyDown},           {Qt::Key_Insert, kKeyInsert}, {Qt::Key_Delete, kKeyDelete},
};

}  // namespace

int keyCode(const QKeyEvent& event) {
  const int key = event.key();
  if (event.modifiers() & Qt::KeypadModifier) {
    if (key >= Qt::Key_0 && key <= Qt::Key_9) return kKeyPad0 + key - Qt::Key_0;
    for (const auto& [qt, digit] : kPad) {
      if (key == qt) return kKeyPad0 + digit;
    }
  }
  for (const auto& [qt, code] : kNamed) {
    if (key == qt) return code;
  }
  if (key >= Qt::Key_F1 && key <= Qt::Key_F24) return kKeyF1 + key - Qt::Key_F1;
  const bool plain =
      key == Qt::Key_Space || (key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z);
  return plain ? key : 0;
}

std::uint32_t keyFlags(const QKeyEvent& event) {
  return (event.modifiers() & Qt::AltModifier ? kKeyAlt : 0U) | (event.isAutoRepeat() ? kKeyRepeats : 0U);
}

int mouseFlags(const QSinglePointEvent& event) {
  int flags = 0;
  if (event.buttons() & Qt::LeftButton) flags |= kMouseLeft;
  if (event.buttons() & Qt::RightButton) flags |= kMouseRight;
  if (event.buttons() & Qt::MiddleButton) flags |= kMouseMiddle;
  if (event.modifiers() & Qt::ShiftModifier) flags |= kMouseShift;
  if (event.modifiers() & Qt::ControlModifier) flags |= kMouseControl;
  return flags;
}

}  // namespace quillbay::view
