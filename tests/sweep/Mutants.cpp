// All ways to damage a file at one place.

#include "Mutants.h"

#include <array>
#include <cstdint>

namespace {

/// Lets every "stride"-th of the mutants through.
class Sieve {
 public:
  Sieve(std::size_t stride, const std::function<void(const std::string&)>& take)
      : stride_(stride), take_(&take) {}

  /// Whether the next mutant is wanted.
  bool IsNext() { return seen_++ % stride_ == 0; }

  void Take(const std::string& mutant) {
    ++taken_;
    (*take_)(mutant);
  }

  [[nodiscard]] std::size_t Taken() const { return taken_; }

 private:
  std::size_t stride_;
  const std::function<void(const std::string&)>* take_;
  std::size_t seen_ = 0;
  std::size_t taken_ = 0;
};

void Cut(const std::string& file, Sieve& sieve) {
  for (std::size_t size = 0; size < file.size(); ++size) {
    if (sieve.IsNext()) {
      sieve.Take(file.substr(0, size));
    }
  }
}

void SetBytes(const std::string& file, Sieve& sieve) {
  for (std::size_t at = 0; at < file.size(); ++at) {
    const auto value = static_cast<unsigned char>(file[at]);
    for (const unsigned int changed : {0x00U, 0xFFU, value + 1U, value ^ 0x80U}) {
      if (sieve.IsNext()) {
        std::string mutant = file;
        mutant[at] = static_cast<char>(changed);
        sieve.Take(mutant);
      }
    }
  }
}

void SetWords(const std::string& file, Sieve& sieve) {
  constexpr std::size_t kFirst = 12;
  const std::array<std::uint32_t, 6> values{
      0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, static_cast<std::uint32_t>(file.size())};
  for (std::size_t at = kFirst; at + sizeof(std::uint32_t) <= file.size(); ++at) {
    for (const std::uint32_t value : values) {
      if (sieve.IsNext()) {
        std::string mutant = file;
        for (std::size_t i = 0; i < sizeof value; ++i) {
          mutant[at + i] = static_cast<char>(value >> (8 * i));
        }
        sieve.Take(mutant);
      }
    }
  }
}

}  // namespace

std::size_t ForEachMutant(const std::string& file, std::size_t stride,
                          const std::function<void(const std::string&)>& take) {
  Sieve sieve(stride, take);
  Cut(file, sieve);
  SetBytes(file, sieve);
  SetWords(file, sieve);
  return sieve.Taken();
}
