#pragma once

namespace tevtest {

/// Counts how often this process has the system read at a position of a file, and how many bytes
/// that gives, while it lives.
class CountedReads {
 public:
  CountedReads();

  [[nodiscard]] long Reads() const;
  [[nodiscard]] long Bytes() const;

 private:
  long readsBefore_;
  long bytesBefore_;
};

}  // namespace tevtest
