#pragma once

namespace Lbt::Util {

/// Holds the one instance of T, made at the first call and never destroyed, so
/// that it can be used while other objects of static storage are torn down.
template <class T>
class SingletonHolder {
 public:
  /// The instance.
  [[nodiscard]] static T& getInstance() {
    if (mpInstance == nullptr) {
      mpInstance = new T;  // lives until the process ends, on purpose
    }
    return *mpInstance;
  }

 private:
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  static inline T* mpInstance = nullptr;
};

}  // namespace Lbt::Util
