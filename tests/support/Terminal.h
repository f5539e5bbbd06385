#pragma once

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tevtest {

/// A pseudo-terminal: what a program writes to "slave" is read from the master.
class Terminal {
 public:
  Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    if (grantpt(master_) != 0 || unlockpt(master_) != 0) {
      throw std::runtime_error("no pseudo-terminal");
    }
    slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY);
  }
  ~Terminal() {
    close(slave_);
    close(master_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void SetColumns(unsigned short columns) const {
    const winsize size{24, columns, 0, 0};
    if (ioctl(slave_, TIOCSWINSZ, &size) != 0) {
      throw std::runtime_error("no columns");
    }
  }

  /// Hands keys to the program that reads from "slave", also ahead of its start: the terminal acts
  /// on none of them by itself.
  void Type(std::string_view keys) const {
    termios mode{};
    tcgetattr(slave_, &mode);
    cfmakeraw(&mode);
    if (tcsetattr(slave_, TCSANOW, &mode) != 0 ||
        write(master_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
      throw std::runtime_error("cannot type");
    }
  }

  [[nodiscard]] int Slave() const { return slave_; }

  /// All that has been written so far.
  [[nodiscard]] std::string Written() const {
    std::string text;
    std::array<char, 4096> piece{};
    for (ssize_t count = 0; (count = read(master_, piece.data(), piece.size())) > 0;) {
      text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  int master_;
  int slave_ = -1;
};

}  // namespace tevtest
