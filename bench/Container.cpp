// The container, piece by piece, against the least that the same work takes: zlib alone, a plain
// read, or memcpy. Each benchmark is named "<piece>/<who>".

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/StoredNumbers.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/TempDir.h"
#include "support/Variable.h"

namespace {

constexpr std::size_t kValues = std::size_t{1} << 20U;
constexpr std::size_t kPieces = 1024;
constexpr std::size_t kPieceSize = 4096;
constexpr std::size_t kTexts = std::size_t{1} << 16U;
constexpr const char* kName = "Data";

std::vector<float> Field() {
  std::vector<float> values(kValues);
  for (std::size_t i = 0; i < kValues; ++i) {
    values[i] = 250.0F * std::sin(static_cast<float>(i) * 1e-3F);
  }
  return values;
}

/// A file of one stream, opened once for the library and once plainly.
class OpenedFile {
 public:
  explicit OpenedFile(const tevtest::ContainerWriter& writer) : container_(writer.Build()) {
    const std::string path = directory_.Write("blocks.tev", container_.bytes);
    file.OpenFile(path, "rb");
    file.ReadIndex();
    plain_.reset(std::fopen(path.c_str(), "rb"));
  }

  [[nodiscard]] std::FILE* Plain() const { return plain_.get(); }
  [[nodiscard]] long Offset(std::size_t block) const {
    return static_cast<long>(container_.blocks.at(block).offset);
  }
  [[nodiscard]] std::size_t StoredSize(std::size_t block) const {
    return container_.blocks.at(block).storedSize;
  }

  LbtLbf::LbFile file;

 private:
  struct Close {
    void operator()(std::FILE* stream) const { static_cast<void>(std::fclose(stream)); }
  };

  tevtest::TempDir directory_;
  tevtest::Container container_;
  std::unique_ptr<std::FILE, Close> plain_;
};

/// Stops a benchmark that does not do its work.
void Require(benchmark::State& state, bool good) {
  if (!good) {
    state.SkipWithError("the bytes are wrong");
  }
}

void CountBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

// --- Inflating one block
// --------------------------------------------------------------------------

std::string Planes() { return tevtest::Shuffle(tevtest::ElementBytes(Field()), 1); }

void InflateBlock(benchmark::State& state) {
  OpenedFile opened(tevtest::ContainerWriter().AddCompressed(kName, Planes()));
  for (auto _ : state) {
    opened.file.GetIndex().ReadBufferFromFileStream(0, opened.Plain());
  }
  Require(state, opened.file.GetIndex().GetBlock(0).GetSize() == 4 * kValues);
  CountBytes(state, 4 * kValues);
}

void InflatePlain(benchmark::State& state) {
  const OpenedFile opened(tevtest::ContainerWriter().AddCompressed(kName, Planes()));
  uLongf size = 0;
  for (auto _ : state) {
    const std::unique_ptr<unsigned char[]> stored(new unsigned char[opened.StoredSize(0)]);
    std::fseek(opened.Plain(), opened.Offset(0), SEEK_SET);
    const std::size_t read = std::fread(stored.get(), 1, opened.StoredSize(0), opened.Plain());
    const std::unique_ptr<unsigned char[]> inflated(new unsigned char[4 * kValues]);
    size = 4 * kValues;
    uncompress(inflated.get(), &size, stored.get() + 4, read - 4);
    benchmark::DoNotOptimize(inflated.get());
  }
  Require(state, size == 4 * kValues);
  CountBytes(state, 4 * kValues);
}

// --- Putting shuffled values right
// ----------------------------------------------------------------

void UnShuffle(benchmark::State& state, std::size_t width) {
  const std::vector<float> values = Field();
  const std::size_t items = kValues / width;
  const std::string stored =
      tevtest::Shuffle(tevtest::ElementBytes(std::span(values).first(items * width)),
                       static_cast<std::uint8_t>(width));
  const std::span planes(reinterpret_cast<const unsigned char*>(stored.data()), stored.size());
  std::vector<float> out(items * width);
  std::byte* bytes = std::as_writable_bytes(std::span(out)).data();
  for (auto _ : state) {
    for (std::size_t component = 0; component < width; ++component) {
      LbtUtil::UnShufflePlane(planes.subspan(component * items * 4, items * 4),
                              bytes + component * 4, width);
    }
    benchmark::ClobberMemory();
  }
  Require(state, std::equal(out.begin(), out.end(), values.begin()));
  CountBytes(state, stored.size());
}

void CopyPlain(benchmark::State& state) {
  const std::vector<float> values = Field();
  std::vector<float> out(kValues);
  for (auto _ : state) {
    std::memcpy(out.data(), values.data(), 4 * kValues);
    benchmark::ClobberMemory();
  }
  Require(state, out == values);
  CountBytes(state, 4 * kValues);
}

// --- Seeking in a stream of many blocks
// -----------------------------------------------------------

tevtest::ContainerWriter ManyPieces() {
  tevtest::ContainerWriter writer;
  for (std::size_t i = 0; i < kPieces; ++i) {
    writer.AddRaw(kName, std::string(kPieceSize, static_cast<char>(i % 100)));
  }
  return writer;
}

/// The block that the "step"-th read is about: all of them, out of order.
std::size_t PieceAt(std::size_t step) { return step * 389 % kPieces; }

void SeekStream(benchmark::State& state) {
  OpenedFile opened(ManyPieces());
  std::size_t step = 0;
  bool good = true;
  for (auto _ : state) {
    const std::size_t piece = PieceAt(step++);
    opened.file.SetBlockPosition(kName, piece * kPieceSize);
    good = good && opened.file.GetBytes(kName, kPieceSize)[0] == piece % 100;
  }
  Require(state, good);
  state.SetItemsProcessed(state.iterations());
}

void SeekPlain(benchmark::State& state) {
  const OpenedFile opened(ManyPieces());
  std::vector<unsigned char> bytes(kPieceSize);
  std::size_t step = 0;
  bool good = true;
  for (auto _ : state) {
    const std::size_t piece = PieceAt(step++);
    std::fseek(opened.Plain(), opened.Offset(piece), SEEK_SET);
    good = good && std::fread(bytes.data(), 1, kPieceSize, opened.Plain()) == kPieceSize &&
           bytes[0] == piece % 100;
  }
  Require(state, good);
  state.SetItemsProcessed(state.iterations());
}

// --- Typed reads
// ----------------------------------------------------------------------------------

LbtLbf::Block BlockOf(const std::string& bytes) {
  LbtLbf::Block block;
  block.AllocateAdditionalMemory(bytes.size());
  std::memcpy(block.Room().data(), bytes.data(), bytes.size());
  block.Append(static_cast<std::uint32_t>(bytes.size()));
  return block;
}

void ReadNumbers(benchmark::State& state) {
  LbtLbf::Block block = BlockOf(tevtest::ElementBytes(Field()));
  for (auto _ : state) {
    block.SetPosition(0);
    for (std::size_t i = 0; i < kValues; ++i) {
      benchmark::DoNotOptimize(LbtLbf::NumberFromBlock<float>(block));
    }
  }
  Require(state, block.IsConsumed());
  CountBytes(state, 4 * kValues);
}

void ReadNumbersPlain(benchmark::State& state) {
  const std::string bytes = tevtest::ElementBytes(Field());
  for (auto _ : state) {
    for (std::size_t i = 0; i < kValues; ++i) {
      float value = 0;
      std::memcpy(&value, bytes.data() + 4 * i, sizeof(value));
      benchmark::DoNotOptimize(value);
    }
  }
  CountBytes(state, 4 * kValues);
}

void ReadVector(benchmark::State& state) {
  LbtLbf::Block block = BlockOf(tevtest::ByteWriter().F32s(Field()).Bytes());
  std::vector<float> values;
  for (auto _ : state) {
    block.SetPosition(0);
    LbtLbf::CopyFromBlock(block, values);
    benchmark::ClobberMemory();
  }
  Require(state, values.size() == kValues);
  CountBytes(state, 4 * kValues);
}

std::vector<std::string> Texts() {
  return std::vector<std::string>(kTexts,
                                  "Displacement\x1e"
                                  "1");
}

void ReadTexts(benchmark::State& state) {
  LbtLbf::Block block = BlockOf(tevtest::ByteWriter().Texts(Texts()).Bytes());
  std::vector<std::string> texts;
  for (auto _ : state) {
    block.SetPosition(0);
    LbtLbf::CopyFromBlock(block, texts);
    benchmark::ClobberMemory();
  }
  Require(state, texts == Texts());
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kTexts));
}

void ReadTextsPlain(benchmark::State& state) {
  const std::string bytes = tevtest::ByteWriter().Texts(Texts()).Bytes();
  std::vector<std::string> texts(kTexts);
  for (auto _ : state) {
    const char* at = bytes.data() + 4;
    for (std::string& text : texts) {
      std::uint32_t size = 0;
      std::memcpy(&size, at, sizeof(size));
      text.assign(at + sizeof(size), size);
      at += sizeof(size) + size;
    }
    benchmark::ClobberMemory();
  }
  Require(state, texts == Texts());
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kTexts));
}

}  // namespace

int main(int argc, char** argv) {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("inflate a block of 4 MiB/LbFile", InflateBlock);
  RegisterBenchmark("inflate a block of 4 MiB/fread and zlib", InflatePlain);
  RegisterBenchmark("unshuffle scalars, 4 MiB/UnShufflePlane",
                    [](benchmark::State& state) { UnShuffle(state, 1); });
  RegisterBenchmark("unshuffle scalars, 4 MiB/memcpy", CopyPlain);
  RegisterBenchmark("unshuffle vectors, 4 MiB/UnShufflePlane",
                    [](benchmark::State& state) { UnShuffle(state, 3); });
  RegisterBenchmark("unshuffle vectors, 4 MiB/memcpy", CopyPlain);
  RegisterBenchmark("seek and read 4 KiB in 1,024 blocks/LbFile", SeekStream);
  RegisterBenchmark("seek and read 4 KiB in 1,024 blocks/fseek and fread", SeekPlain);
  RegisterBenchmark("read 1,048,576 floats/Block", ReadNumbers);
  RegisterBenchmark("read 1,048,576 floats/memcpy of each", ReadNumbersPlain);
  RegisterBenchmark("read a vector of 4 MiB/CopyFromBlock", ReadVector);
  RegisterBenchmark("read a vector of 4 MiB/memcpy", CopyPlain);
  RegisterBenchmark("read 65,536 strings/CopyFromBlock", ReadTexts);
  RegisterBenchmark("read 65,536 strings/assign of each", ReadTextsPlain);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
