// The text of a float, by value class: NumberText against what else there is. Each benchmark is
// named "<class>/<writer>" and writes the same values to the same buffer.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Util/NumberText.h"

namespace {

using Buffer = std::array<char, 64>;
using Values = std::vector<float>;

constexpr std::size_t kCount = 4096;

/// "make" called with random bits.
Values Make(const std::function<float(std::uint32_t)>& make) {
  std::mt19937 random(1);
  Values values(kCount);
  for (float& value : values) {
    value = make(static_cast<std::uint32_t>(random()));
  }
  return values;
}

/// A number from 0 up to 1.
float Part(std::uint32_t bits) { return static_cast<float>(bits >> 8U) / 16777216.0F; }

float Finite(std::uint32_t bits) {
  const auto value = std::bit_cast<float>(bits);
  return std::isfinite(value) ? value : 0.0F;
}

std::vector<std::pair<std::string, Values>> ValueClasses() {
  return {
      {"node ids", Make([](auto bits) { return static_cast<float>(bits % 1000000 + 1); })},
      {"coordinates", Make([](auto bits) { return 500.0F * Part(bits) - 250.0F; })},
      {"displacements", Make([](auto bits) { return 0.04F * Part(bits) - 0.02F; })},
      {"stresses", Make([](auto bits) { return 2.0e8F * Part(bits); })},
      {"short decimals", Make([](auto bits) { return static_cast<float>(bits % 1000) / 8.0F; })},
      {"all floats", Make(Finite)},
  };
}

std::size_t WriteNumberText(float value, Buffer& buffer) {
  const Lbt::Util::NumberText text(value);
  std::memcpy(buffer.data(), text.View().data(), Lbt::Util::NumberText::kRoom);
  return text.View().size();
}

std::size_t WriteSnprintf(float value, Buffer& buffer) {
  return static_cast<std::size_t>(
      std::snprintf(buffer.data(), buffer.size(), "%g", static_cast<double>(value)));
}

std::size_t WriteToChars(float value, Buffer& buffer) {
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                 static_cast<double>(value), std::chars_format::general, 6);
  return static_cast<std::size_t>(end.ptr - buffer.data());
}

std::size_t WriteFmt(float value, Buffer& buffer) {
  return fmt::format_to_n(buffer.data(), buffer.size(), "{:g}", value).size;
}

template <class Writer>
void Register(const std::string& name, const Values& values, Writer writer) {
  benchmark::RegisterBenchmark(name.c_str(), [values, writer](benchmark::State& state) {
    Buffer buffer{};
    for (auto _ : state) {
      for (const float value : values) {
        benchmark::DoNotOptimize(writer(value, buffer));
        benchmark::ClobberMemory();
      }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
  });
}

}  // namespace

int main(int argc, char** argv) {
  for (const auto& [name, values] : ValueClasses()) {
    // As function objects, so that each loop calls its writer directly.
    Register(name + "/NumberText", values,
             [](float v, Buffer& b) { return WriteNumberText(v, b); });
    Register(name + "/snprintf", values, [](float v, Buffer& b) { return WriteSnprintf(v, b); });
    Register(name + "/to_chars", values, [](float v, Buffer& b) { return WriteToChars(v, b); });
    Register(name + "/fmt", values, [](float v, Buffer& b) { return WriteFmt(v, b); });
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
