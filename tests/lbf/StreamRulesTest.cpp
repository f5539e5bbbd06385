// Random operations on random containers, on the index and on a model that knows no short cuts:
// neither the hint of a stream nor its sums of lengths may show.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "LbfSupport.h"
#include "Lbt/Lbf/Index.h"
#include "RandomContainer.h"
#include "ReferenceStreams.h"

namespace LbtLbf {
namespace {

using tevtest::FailureOf;
using tevtest::OpenContainer;
using tevtest::RandomContainer;
using tevtest::ReferenceFailure;
using tevtest::ReferenceStreams;

/// The index of a container beside the model of it; each operation is done by both.
class Pair {
 public:
  /// Seeks go to places before "end", the most of them within the container.
  Pair(const RandomContainer& container, std::uint64_t end)
      : file_(container.Writer()), model_(container.Entries()), end_(end) {}

  /// Does a random operation with both; whether they came to the same.
  testing::AssertionResult Step(std::mt19937& random) {
    const std::string name = random() % 4 == 0 ? "B" : "A";
    const std::string failure = Operate(random, random() % 32 == 0 ? "missing" : name);
    return failure.empty() ? CompareBlocks() : testing::AssertionFailure() << failure << history_;
  }

 private:
  std::string Operate(std::mt19937& random, const std::string& name) {
    const std::size_t length = random() % 8;
    switch (random() % 12) {
      case 0:
        return CreateBlock(name);
      case 1:
        return Reload(random());
      case 2:
        return SetPosition(random(), random());
      case 3:
        return Choose(name);
      case 4:
        return ReadInMemory(name, length);
      case 5:
      case 6:
      case 7:
        return Seek(name, random() % end_, random() % 8 != 0);
      default:
        return Read(name, length);
    }
  }

  /// Runs an operation of the index and one of the model, each giving a text; how they differ.
  template <class Action, class Expected>
  std::string Compare(const std::string& what, Action action, Expected expected) {
    history_ += "\n" + what;
    std::string actualResult;
    const std::string actualFailure = FailureOf([&] { actualResult = action(); });
    std::string expectedResult;
    std::string expectedFailure;
    try {
      expectedResult = expected();
    } catch (const ReferenceFailure& failure) {
      expectedFailure = failure.text;
    }
    if (actualFailure == expectedFailure &&
        (!actualFailure.empty() || actualResult == expectedResult)) {
      return {};
    }
    return what + " gave '" + actualResult + "' " + actualFailure + ", not '" + expectedResult +
           "' " + expectedFailure;
  }

  std::string CreateBlock(const std::string& name) {
    if (created_ == 3) {
      return {};
    }
    ++created_;
    return Compare(
        "create " + name, [&] { return std::to_string(file_.Index().CreateBlock(name)); },
        [&] { return std::to_string(model_.Create(name)); });
  }

  std::string Reload(std::size_t number) {
    const std::size_t entry = number % model_.Blocks().size();
    const auto reload = [&] {
      file_.Index().ReadBufferFromFileStream(entry, file_.Stream());
      return std::string();
    };
    const auto expected = [&] {
      model_.Load(entry);
      return std::string();
    };
    return Compare("reload " + std::to_string(entry), reload, expected);
  }

  std::string SetPosition(std::size_t number, std::size_t position) {
    const std::size_t entry = number % model_.Blocks().size();
    if (!model_.Blocks()[entry].loaded) {
      return {};
    }
    position %= model_.Blocks()[entry].size + 1;
    const auto move = [&] {
      file_.Index().GetBlock(entry).SetPosition(position);
      return std::string();
    };
    const auto expected = [&] {
      model_.SetPosition(entry, position);
      return std::string();
    };
    return Compare("move " + std::to_string(entry) + " to " + std::to_string(position), move,
                   expected);
  }

  std::string Choose(const std::string& name) {
    const auto choose = [&] {
      return std::to_string(file_.Index().GetReadingBlockIndex(name, file_.Stream()));
    };
    return Compare("choose in " + name, choose,
                   [&] { return std::to_string(model_.Choose(name)); });
  }

  std::string Read(const std::string& name, std::size_t length) {
    const auto read = [&] {
      const auto bytes = file_.Index()
                             .GetReadingBlock(name, file_.Stream())
                             .Get(static_cast<std::uint32_t>(length));
      return std::string(bytes.begin(), bytes.end());
    };
    return Compare("read " + std::to_string(length) + " of " + name, read,
                   [&] { return model_.Read(name, length); });
  }

  std::string ReadInMemory(const std::string& name, std::size_t length) {
    const auto read = [&] {
      const auto bytes =
          file_.Index().GetReadingBlock(name).Get(static_cast<std::uint32_t>(length));
      return std::string(bytes.begin(), bytes.end());
    };
    return Compare("read in memory " + std::to_string(length) + " of " + name, read,
                   [&] { return model_.ReadInMemory(name, length); });
  }

  std::string Seek(const std::string& name, std::uint64_t offset, bool isFileOpen) {
    const auto seek = [&] {
      file_.Index().SetBlockPosition(name, offset, isFileOpen ? file_.Stream() : nullptr);
      return std::string();
    };
    const auto expected = [&] {
      model_.Seek(name, offset, isFileOpen);
      return std::string();
    };
    return Compare(
        (isFileOpen ? "seek " : "seek in closed ") + name + " to " + std::to_string(offset), seek,
        expected);
  }

  /// Compares what is known of each block. Whether a block without bytes is in memory cannot be
  /// seen from outside.
  testing::AssertionResult CompareBlocks() {
    const auto& expected = model_.Blocks();
    if (file_.Index().GetItems().size() != expected.size()) {
      return testing::AssertionFailure() << "another number of entries" << history_;
    }
    for (std::size_t entry = 0; entry < expected.size(); ++entry) {
      const Block& block = file_.Block(entry);
      const bool isAlike =
          block.GetSize() == expected[entry].size &&
          block.GetPosition() == expected[entry].position &&
          (block.GetSize() == 0 || (file_.IsLoaded(entry) == expected[entry].loaded &&
                                    block.HasBuffer() == expected[entry].loaded));
      if (!isAlike) {
        return testing::AssertionFailure()
               << "entry " << entry << ": size " << block.GetSize() << ", position "
               << block.GetPosition() << ", loaded " << file_.IsLoaded(entry) << ", not "
               << expected[entry].size << ", " << expected[entry].position << ", "
               << expected[entry].loaded << history_;
      }
    }
    return testing::AssertionSuccess();
  }

  OpenContainer file_;
  ReferenceStreams model_;
  std::uint64_t end_;
  std::string history_;
  int created_ = 0;
};

void ExpectAgreement(std::uint32_t containers, int steps, std::size_t mostBlocks,
                     std::uint64_t end) {
  const tevtest::SizeVariables variables;
  tevtest::SizeVariables::Set(tevtest::SizeVariables::kDefaultSize, "32");
  testing::internal::CaptureStderr();  // zlib's refusals
  for (std::uint32_t seed = 0; seed < containers && !testing::Test::HasFailure(); ++seed) {
    std::mt19937 random(seed);
    const RandomContainer container(random, mostBlocks);
    Pair pair(container, end);
    for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
      EXPECT_TRUE(pair.Step(random)) << "seed " << seed;
    }
  }
  static_cast<void>(testing::internal::GetCapturedStderr());
}

TEST(StreamRules, RandomOperationsOnRandomContainers_AgreeWithTheModel) {
  ExpectAgreement(1500, 40, 9, 40);
}

TEST(StreamRules, RandomOperationsOnLongStreams_AgreeWithTheModel) {
  ExpectAgreement(60, 200, 150, 400);
}

}  // namespace
}  // namespace LbtLbf
