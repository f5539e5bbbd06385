#pragma once

namespace Lbt::Util {

/// Holds a value whose destructor never runs, for a process that ends anyway: to free
/// hundreds of thousands of small pieces one by one takes longer than to let them go with
/// the process. Give it static storage, so that leak checkers see the value in use.
template <class T>
class Undestroyed {
 public:
  /// Holds a default value.
  Undestroyed() : value_() {}
  // NOLINTNEXTLINE(modernize-use-equals-default): a defaulted one would be deleted
  ~Undestroyed() {}
  Undestroyed(const Undestroyed&) = delete;
  Undestroyed& operator=(const Undestroyed&) = delete;

  /// The value.
  [[nodiscard]] T& Get() {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): its only member, and always alive
    return value_;
  }

 private:
  union {
    T value_;
  };
};

}  // namespace Lbt::Util
