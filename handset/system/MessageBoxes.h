// Message boxes: shown on standard error, answered by rules, by the person at the terminal, or with No.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "handset/store/BoxAnswer.h"

namespace handset {

struct ShownBox {
  std::u16string caption;
  std::u16string text;
  ce::DWORD type;
  ce::INT answer;
};

// May be used from any thread; boxes are shown one after the other.
class MessageBoxes {
 public:
  ce::INT Show(std::u16string text, std::u16string caption, ce::DWORD type);

  // Earlier answers go first.
  void AddAnswer(BoxAnswer answer);
  void ClearAnswers();
  // Silent: nothing on standard error, nobody at the terminal is asked.
  void SetSilent(bool silent);
  // Runs after a box is printed and before it is answered, on the thread that shows it: a program that shows a box as
  // long as it works stays in it. Set it before there are boxes.
  void SetHold(std::function<void(const ShownBox&)> hold) { m_hold = std::move(hold); }

  std::vector<ShownBox> GetLog() const;
  void ClearLog();

 private:
  ce::INT Answer(const ShownBox& box) const;

  mutable std::mutex m_mutex;
  std::vector<BoxAnswer> m_answers;
  std::vector<ShownBox> m_log;
  bool m_silent = false;
  std::function<void(const ShownBox&)> m_hold;
};

}  // namespace handset
