#pragma once

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

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
