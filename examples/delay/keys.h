// Keys that are pressed on a terminal, without waiting for the end of a line. Nothing elsewhere.
#pragma once

#include <termios.h>
#include <unistd.h>

namespace delay {

class Keys {
public:
  enum class Key { none, up, down, right, left, zero, quit };

  Keys() {
    if (isatty(STDIN_FILENO) != 1 || tcgetattr(STDIN_FILENO, &before_) != 0) return;
    termios raw = before_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = raw.c_cc[VTIME] = 0;  // a read gives what there is
    active_ = tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
  }
  ~Keys() {
    if (active_) tcsetattr(STDIN_FILENO, TCSANOW, &before_);
  }
  Keys(const Keys &) = delete;
  Keys &operator=(const Keys &) = delete;

  Key next() const {
    constexpr Key kArrows[] = {Key::up, Key::down, Key::right, Key::left};  // the last byte of their codes: A to D
    for (char c = 0; read_one(c);) {
      if (c == 'q') return Key::quit;
      if (c == '0') return Key::zero;
      if (c == '\033' && read_one(c) && read_one(c) && c >= 'A' && c <= 'D') return kArrows[c - 'A'];
    }
    return Key::none;
  }

private:
  bool read_one(char &c) const { return active_ && read(STDIN_FILENO, &c, 1) == 1; }

  termios before_{};
  bool active_ = false;
};

}  // namespace delay
