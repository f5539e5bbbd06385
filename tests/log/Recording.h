#pragma once

#include <string>
#include <utility>

#include "Lbt/Log/Parts.h"

namespace tevtest {

/// Writes down what a publisher is told, in a string that outlives it: "<name:text>" for a text and
/// "<name!>" for a flush.
class Recording final : public Lbt::Log::Publisher {
 public:
  Recording(std::string name, std::string& calls) : name_(std::move(name)), calls_(&calls) {}

  Recording& operator<<(const char* text) override {
    *calls_ += "<" + name_ + ":" + text + ">";
    return *this;
  }
  void flush() override { *calls_ += "<" + name_ + "!>"; }

 private:
  std::string name_;
  std::string* calls_;
};

}  // namespace tevtest
