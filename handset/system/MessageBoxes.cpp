#include "handset/system/MessageBoxes.h"

#include <array>
#include <cstdio>
#include <fmt/format.h>
#include <iostream>
#include <unistd.h>

#include "handset/Text.h"

namespace handset {

namespace {

// The buttons are the low four bits of a box's type; a set the phone does not know has OK.
constexpr ce::DWORD kButtonMask = 0x0F;

struct Button {
  ce::DWORD type;
  ce::INT answer;
  char letter;  // what a person types
};
// The last row of a type is what a box is answered with when nobody says anything.
constexpr std::array<Button, 3> kButtons = {
    {{ce::MB_YESNO, ce::IDYES, 'y'}, {ce::MB_YESNO, ce::IDNO, 'n'}, {ce::MB_OK, ce::IDOK, 'o'}}};

ce::DWORD ButtonsOf(const ShownBox& box) { return (box.type & kButtonMask) == ce::MB_YESNO ? ce::MB_YESNO : ce::MB_OK; }

bool HasButton(const ShownBox& box, ce::INT answer) {
  for (const Button& button : kButtons) {
    if (button.type == ButtonsOf(box) && button.answer == answer) return true;
  }
  return false;
}

bool Matches(const BoxAnswer& rule, const ShownBox& box) {
  return HasButton(box, rule.answer) && (!rule.caption || *rule.caption == box.caption) &&
         (!rule.contains || box.text.find(*rule.contains) != std::u16string::npos);
}

// No means less harm than Yes when nobody is there to ask.
ce::INT WithoutAnyone(const ShownBox& box) { return ButtonsOf(box) == ce::MB_YESNO ? ce::IDNO : ce::IDOK; }

ce::INT AskAtTerminal(const ShownBox& box) {
  if (ButtonsOf(box) == ce::MB_OK || isatty(STDIN_FILENO) == 0) return WithoutAnyone(box);
  fmt::print(stderr, "  [y] Yes  [n] No: ");
  std::string line;
  std::getline(std::cin, line);
  for (const Button& button : kButtons) {
    if (button.type == ButtonsOf(box) && !line.empty() && (line[0] | 0x20) == button.letter) return button.answer;
  }
  return WithoutAnyone(box);
}

void Print(const ShownBox& box) {
  std::string text = ForPeople(box.text);
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 3) text.replace(at, 1, "\n| ");
  fmt::print(stderr, "+-- {}\n| {}\n+--\n", ForPeople(box.caption), text);
}

}  // namespace

ce::INT MessageBoxes::Show(std::u16string text, std::u16string caption, ce::DWORD type) {
  ShownBox box{std::move(caption), std::move(text), type, 0};
  std::unique_lock lock(m_mutex);
  if (!m_silent) Print(box);
  if (m_hold) {
    lock.unlock();
    m_hold(box);
    lock.lock();
  }
  box.answer = Answer(box);
  m_log.push_back(box);
  return box.answer;
}

ce::INT MessageBoxes::Answer(const ShownBox& box) const {
  for (const BoxAnswer& rule : m_answers) {
    if (Matches(rule, box)) return rule.answer;
  }
  return m_silent ? WithoutAnyone(box) : AskAtTerminal(box);
}

void MessageBoxes::AddAnswer(BoxAnswer answer) {
  const std::lock_guard lock(m_mutex);
  m_answers.push_back(std::move(answer));
}

void MessageBoxes::ClearAnswers() {
  const std::lock_guard lock(m_mutex);
  m_answers.clear();
}

void MessageBoxes::SetSilent(bool silent) {
  const std::lock_guard lock(m_mutex);
  m_silent = silent;
}

std::vector<ShownBox> MessageBoxes::GetLog() const {
  const std::lock_guard lock(m_mutex);
  return m_log;
}

void MessageBoxes::ClearLog() {
  const std::lock_guard lock(m_mutex);
  m_log.clear();
}

}  // namespace handset
