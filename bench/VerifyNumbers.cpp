// Compares the text of every one of the 2^32 floats with the one that printf("%g") writes, on all
// cores:
//
//   bench_verify_numbers [STRIDE [THREADS]]
//
// printf itself is sampled against a C++ stream, whose text is what counts. With a STRIDE only
// every STRIDE-th float is compared. Prints "COMPARED SAMPLED DIFFERENT SECONDS THREADS" and,
// before, the first differences; the status is 1 where there are any.

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Lbt/Util/NumberText.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kFloats = std::uint64_t{1} << 32U;
constexpr std::uint64_t kPiece = std::uint64_t{1} << 20U;
constexpr std::uint64_t kSampleEvery = 251;  // a prime, so that samples meet all low bits
constexpr std::uint64_t kShown = 20;

struct Counts {
  std::uint64_t compared = 0;
  std::uint64_t sampled = 0;
  std::uint64_t different = 0;
};

/// Compares floats, one thread's share of them.
class Comparison {
 public:
  Comparison(std::mutex& output, std::atomic<std::uint64_t>& shown)
      : output_(&output), shown_(&shown) {}

  /// Compares the float of these bits with printf, and printf with a stream where asked to.
  void Compare(std::uint32_t bits, bool withStream) {
    const auto value = std::bit_cast<float>(bits);
    const int size =
        std::snprintf(printed_.data(), printed_.size(), "%g", static_cast<double>(value));
    const std::string_view printed(printed_.data(), static_cast<std::size_t>(size));
    ++counts_.compared;
    ShowDifference(value, Lbt::Util::NumberText(value).View(), printed);
    if (withStream) {
      stream_.str({});
      stream_ << value;
      ++counts_.sampled;
      ShowDifference(value, printed, stream_.view());
    }
  }

  [[nodiscard]] const Counts& Result() const { return counts_; }

 private:
  void ShowDifference(float value, std::string_view found, std::string_view expected) {
    if (found != expected) {
      Show(value, found, expected);
    }
  }

  void Show(float value, std::string_view found, std::string_view expected) {
    ++counts_.different;
    const std::scoped_lock lock(*output_);
    if ((*shown_)++ < kShown) {
      std::cout << std::hex << std::bit_cast<std::uint32_t>(value) << std::dec << ": " << found
                << " in place of " << expected << '\n';
    }
  }

  std::mutex* output_;
  std::atomic<std::uint64_t>* shown_;
  std::array<char, 32> printed_{};
  std::ostringstream stream_;
  Counts counts_;
};

/// Takes pieces until there are none left.
void CompareShare(Comparison& comparison, std::atomic<std::uint64_t>& nextPiece,
                  std::uint64_t stride) {
  for (std::uint64_t first = nextPiece++ * kPiece; first < kFloats; first = nextPiece++ * kPiece) {
    const std::uint64_t begin = (first + stride - 1) / stride * stride;
    for (std::uint64_t bits = begin; bits < first + kPiece; bits += stride) {
      comparison.Compare(static_cast<std::uint32_t>(bits), bits / stride % kSampleEvery == 0);
    }
  }
}

Counts CompareAll(std::uint64_t stride, std::size_t threadCount) {
  std::mutex output;
  std::atomic<std::uint64_t> shown = 0;
  std::atomic<std::uint64_t> nextPiece = 0;
  std::vector<Comparison> comparisons;
  for (std::size_t i = 0; i < threadCount; ++i) {
    comparisons.emplace_back(output, shown);
  }
  std::vector<std::thread> threads;
  for (Comparison& comparison : comparisons) {
    threads.emplace_back([&] { CompareShare(comparison, nextPiece, stride); });
  }
  Counts sum;
  for (std::size_t i = 0; i < threadCount; ++i) {
    threads[i].join();
    sum.compared += comparisons[i].Result().compared;
    sum.sampled += comparisons[i].Result().sampled;
    sum.different += comparisons[i].Result().different;
  }
  return sum;
}

/// The argument at "index", at least 1.
std::uint64_t ArgumentAt(int argc, char** argv, int index, std::uint64_t otherwise) {
  return argc > index ? std::max<std::uint64_t>(std::strtoull(argv[index], nullptr, 10), 1)
                      : otherwise;
}

}  // namespace

int main(int argc, char** argv) {
  const std::uint64_t stride = ArgumentAt(argc, argv, 1, 1);
  const std::size_t threads =
      ArgumentAt(argc, argv, 2, std::max(std::thread::hardware_concurrency(), 1U));
  const auto start = Clock::now();
  const Counts counts = CompareAll(stride, threads);
  const std::chrono::duration<double> seconds = Clock::now() - start;
  std::cout << counts.compared << ' ' << counts.sampled << ' ' << counts.different << ' '
            << std::llround(seconds.count()) << ' ' << threads << '\n';
  return counts.different == 0 ? 0 : 1;
}
