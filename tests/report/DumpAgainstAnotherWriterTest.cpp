// The data dump against a slow and plain writer of the same text.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iomanip>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "DumpText.h"

namespace tevtest {
namespace {

constexpr std::size_t kBufferRoom = std::size_t{256} * 1024;

/// Writes the dump value by value with a stream's own formatting: slow and plain.
class NaiveDump {
 public:
  explicit NaiveDump(const std::vector<TevDataset>& datasets) : datasets_(datasets) {}

  std::string Text() {
    Listing groups;
    for (std::size_t i = 0; i < datasets_.size(); ++i) {
      groups[datasets_[i].group].push_back(i);
    }
    for (const auto& [group, indices] : groups) {
      Analysis(group, indices);
    }
    return os_.str();
  }

 private:
  struct NoValue {};

  template <class Values>
  static auto Value(const Values& values, std::size_t index) {
    if (index >= values.size()) {
      throw NoValue();
    }
    return values[index];
  }

  static int Id(const std::vector<float>& values, std::size_t index) {
    const float value = Value(values, index);
    if (std::isnan(value)) {
      return 0;
    }
    if (value >= 2147483648.0F) {
      return 2147483647;
    }
    return value < -2147483648.0F ? -2147483647 - 1 : static_cast<int>(value);
  }

  static double Float(const std::vector<float>& values, std::size_t index) {
    return static_cast<double>(Value(values, index));
  }

  /// Writes rows up to the first one that lacks a value, with what it has.
  void Rows(std::size_t count, const std::function<void(std::ostream&, std::size_t)>& write) {
    for (std::size_t r = 0; r < count; ++r) {
      std::ostringstream row;
      try {
        write(row, r);
      } catch (const NoValue&) {
        os_ << (row.str().empty() ? "" : row.str() + "\n");
        return;
      }
      os_ << row.str() << "\n";
    }
  }

  void Analysis(const std::string& group, const std::vector<std::size_t>& indices) {
    os_ << "Analysis : "
        << "\n"
        << "    " << group << "\n"
        << "\n"
        << "Element Sets : "
        << "\n";
    for (const std::string& name : datasets_[indices.front()].names) {
      os_ << "    " << name << "\n";
    }
    os_ << "\n";
    Listing byResult;
    Listing byInstance;
    for (const std::size_t i : indices) {
      const std::string& result = datasets_[i].result;
      if (result != "Connectivity" && result != "Coordinates" && result != "Polylength" &&
          result != "Node Ids") {
        byResult[result].push_back(i);
        byInstance[datasets_[i].instance].push_back(i);
      }
    }
    std::size_t nodeCount = 0;
    for (const std::size_t i : indices) {
      if (datasets_[i].result == "Node Ids" && datasets_[i].instance.empty()) {
        for (auto& entry : byInstance) {
          entry.second.push_back(i);
        }
        nodeCount = datasets_[i].size();
      }
    }
    if (nodeCount != 0) {
      Lists(byResult, byInstance, nodeCount);
    }
    MeshBlocks(indices);
    if (nodeCount != 0) {
      for (const auto& [instance, listed] : byInstance) {
        Table(instance, listed, nodeCount);
      }
    }
  }

  void Lists(const Listing& byResult, const Listing& byInstance, std::size_t nodeCount) {
    os_ << "Results : "
        << "\n";
    for (const auto& [result, listed] : byResult) {
      os_ << "    " << result << "    " << datasets_[listed.front()].size() / nodeCount << "\n";
    }
    os_ << "\n"
        << "Instances : "
        << "\n";
    for (const auto& entry : byInstance) {
      os_ << "    " << entry.first << "\n";
    }
    os_ << "\n";
  }

  void MeshBlocks(const std::vector<std::size_t>& indices) {
    const TevDataset none;
    std::map<std::string, const TevDataset*> last;
    std::size_t elementCount = 0;
    for (const char* name : {"Node Ids", "Coordinates", "Connectivity", "Polylength"}) {
      last[name] = &none;
    }
    for (const std::size_t i : indices) {
      const TevDataset& dataset = datasets_[i];
      last[dataset.result] = &dataset;
      if (dataset.result == "Polylength" || dataset.result == "Element Ids") {
        elementCount = dataset.size();
      }
    }
    os_ << "    Coordinates : \n";
    Rows(last["Node Ids"]->size(), [&](std::ostream& row, std::size_t r) {
      const int id = Id(last["Node Ids"]->floatValues, r);
      row << "    " << std::setw(10) << id;
      for (std::size_t c = 0; c < 3; ++c) {
        const double coordinate = Float(last["Coordinates"]->floatValues, 3 * r + c);
        row << "    " << std::setw(10) << coordinate;
      }
    });
    os_ << "\n"
        << "    Connectivity : \n";
    std::size_t offset = 0;
    Rows(elementCount, [&](std::ostream& row, std::size_t e) {
      const unsigned int n = Value(last["Polylength"]->intValues, e);
      row << "    " << std::setw(6) << n;
      for (std::size_t j = 0; j < n; ++j) {
        const unsigned int index = Value(last["Connectivity"]->intValues, offset + j);
        row << "    " << std::setw(8) << index;
      }
      offset += n;
    });
    os_ << "\n";
  }

  void Table(const std::string& instance, const std::vector<std::size_t>& listed,
             std::size_t nodeCount) {
    os_ << "Data : \n" << (instance.empty() ? "" : "    Instance : " + instance + "\n");
    os_ << "    Results: ";
    const char* separator = "";
    std::vector<TevInfo::DimenInfo> columns;
    for (const std::size_t i : listed) {
      os_ << separator << datasets_[i].result;
      separator = ", ";
      const std::size_t m = datasets_[i].kind == 1 ? datasets_[i].size() / nodeCount : 0;
      for (std::size_t k = 0; k < m; ++k) {
        columns.push_back({i, m, k});
      }
    }
    os_ << "\n"
        << "    Values : "
        << "\n";
    Rows(nodeCount, [&](std::ostream& row, std::size_t r) {
      for (const auto& [position, m, k] : columns) {
        const std::vector<float>& values = datasets_[position].floatValues;
        if (datasets_[position].result == "Node Ids") {
          const int id = Id(values, r);
          row << "    " << std::setw(10) << id;
        } else {
          const double value = Float(values, k + m * r);
          row << "    " << std::setw(10) << value;
        }
      }
    });
    os_ << "\n";
  }

  const std::vector<TevDataset>& datasets_;
  std::ostringstream os_;
};

/// Data sets with names that matter to the dump, and every mistake that a model can have.
class RandomDatasets {
 public:
  explicit RandomDatasets(unsigned int seed) : random_(seed) {}

  std::vector<TevDataset> Next() {
    std::vector<TevDataset> datasets(Below(12));
    nodeCount_ = Below(5);
    for (TevDataset& dataset : datasets) {
      dataset = Dataset();
    }
    return datasets;
  }

  float AnyFloat() { return std::bit_cast<float>(static_cast<std::uint32_t>(random_())); }

 private:
  std::size_t Below(std::size_t limit) { return random_() % limit; }

  std::string OneOf(const std::vector<std::string>& texts) { return texts[Below(texts.size())]; }

  TevDataset Dataset() {
    static const std::vector<std::string> kResults{
        "Node Ids", "Node Ids",    "Coordinates", "Connectivity",    "Polylength",
        "Heat",     "Element Ids", "Stress",      "Element Indices", ""};
    TevDataset dataset;
    dataset.group = OneOf({"A", "A", "B", ""});
    dataset.result = OneOf(kResults);
    dataset.instance = OneOf({"", "", "Time = 1", "Time = 10"});
    const bool isOfIntegers = dataset.result == "Connectivity" || dataset.result == "Polylength";
    dataset.kind = Below(12) == 0 ? static_cast<unsigned int>(Below(3)) : isOfIntegers ? 0 : 1;
    const std::size_t count = Below(3) == 0 ? Below(12) : nodeCount_ * Below(4);
    for (std::size_t i = 0; i < count && dataset.kind == 0; ++i) {
      dataset.intValues.push_back(AnyInteger());
    }
    for (std::size_t i = 0; i < count && dataset.kind == 1; ++i) {
      dataset.floatValues.push_back(Below(2) == 0 ? AnyFloat() : static_cast<float>(Below(100)));
    }
    dataset.names.assign(Below(3), "mesh " + std::to_string(Below(10)));
    return dataset;
  }

  unsigned int AnyInteger() {
    return static_cast<unsigned int>(Below(10) == 0 ? random_() : Below(4));
  }

  std::mt19937 random_;
  std::size_t nodeCount_ = 0;
};

TEST(DumpAgainstAnotherWriter, RandomDataSets_GiveTheSameText) {
  RandomDatasets random(4711);
  for (int i = 0; i < 3000; ++i) {
    const std::vector<TevDataset> datasets = random.Next();
    ASSERT_EQ(Dump(datasets), NaiveDump(datasets).Text()) << "model " << i;
  }
}

TEST(DumpAgainstAnotherWriter, DumpOfManyBuffers_GivesTheSameText) {
  constexpr std::size_t kNodes = 9001;
  RandomDatasets random(42);
  const auto floats = [&](std::size_t count) {
    std::vector<float> values(count);
    for (float& value : values) {
      value = random.AnyFloat();
    }
    return values;
  };
  std::vector<unsigned int> lengths(kNodes);
  std::vector<unsigned int> indices(5 * kNodes);
  for (std::size_t i = 0; i < kNodes; ++i) {
    lengths[i] = static_cast<unsigned int>(i % 11);
    indices[5 * i] = static_cast<unsigned int>(i * i * i);
  }
  const std::vector<TevDataset> datasets{
      Floats("Node Ids", floats(kNodes)), Floats("Coordinates", floats(3 * kNodes)),
      Integers("Connectivity", indices),  Integers("Polylength", lengths),
      Floats("Flux", floats(3 * kNodes)), Floats("Heat", floats(kNodes), "Time = 1")};
  const std::string expected = NaiveDump(datasets).Text();
  EXPECT_GT(expected.size(), 6 * kBufferRoom);
  EXPECT_TRUE(Dump(datasets) == expected);
}

TEST(DumpAgainstAnotherWriter, NamesLongerThanTheBuffer_GiveTheSameText) {
  const std::string longName(kBufferRoom + 1, 'n');
  std::vector<TevDataset> datasets{Floats("Node Ids", {1, 2}), Floats(longName, {1, 2}),
                                   Floats("Heat", {1, 2}, longName)};
  datasets.front().names = {longName, "short"};
  EXPECT_TRUE(Dump(datasets) == NaiveDump(datasets).Text());
}

}  // namespace
}  // namespace tevtest
