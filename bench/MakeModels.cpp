// Makes the models that the benchmarks run on. Nothing of it is kept in the repository.
//
//   bench_models DIRECTORY CASE...
//
// Cases: dump, other-dump, nodes, attributes, small-data, big-data, tiny, many, tetrahedra, growth,
// hostile.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "BentGrid.h"
#include "support/ByteWriter.h"
#include "support/HostileRows.h"
#include "support/ModelWriter.h"

namespace {

using namespace tevtest;
using bench::BentGrid;
using bench::Point;
namespace fs = std::filesystem;

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

void Save(const fs::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) {
    throw std::runtime_error("cannot write " + path.string());
  }
}

/// Smooth values with noise in the last digits, as results have them; always the same.
std::vector<float> Field(std::size_t count, unsigned int seed, float scale) {
  std::mt19937 random(seed);
  std::vector<float> values(count);
  for (std::size_t i = 0; i < count; ++i) {
    const float noise = static_cast<float>(random() % 4096) / 4096.0F;
    values[i] = scale * (std::sin(static_cast<float>(i) * 1e-3F) + 1e-2F * noise);
  }
  return values;
}

std::vector<float> Ids(std::size_t count) {
  std::vector<float> ids(count);
  for (std::size_t i = 0; i < count; ++i) {
    ids[i] = static_cast<float>(i + 1);
  }
  return ids;
}

/// One shape with coordinates, a vector and a scalar result, and node ids.
void AddMesh(ModelWriter& model, NodeRef group, const std::string& name, std::size_t nodes) {
  const NodeRef shape = model.AddShape(name, group);
  const NodeRef geometry = model.AddGeometry(name, shape);
  const std::string step = "\x1eTime = 1";
  model.AddVariable(geometry, Variable::Floats("Node Ids", kIds, 1, Ids(nodes)));
  model.AddVariable(geometry,
                    Variable::Floats("Coordinates", kCoordinates, 3, Field(3 * nodes, 1, 250.0F)));
  model.AddVariable(geometry, Variable::Floats("Displacement" + step, kVectorResult, 3,
                                               Field(3 * nodes, 2, 0.02F)));
  model.AddVariable(
      geometry, Variable::Floats("Temperature" + step, kScalarResult, 1, Field(nodes, 3, 400.0F)));
}

/// 1,000,000 nodes, 8,000,000 numbers, shuffled and deflated at a level: with another one no block
/// is stored in the same bytes.
void MakeDump(const fs::path& path, int level) {
  constexpr std::size_t kNodes = 1000000;
  ModelWriter model;
  AddMesh(model, model.AddGroup("Geometry", model.AddGroup("model", 0)), "mesh", kNodes);
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  ContainerWriter container = model.ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    block.level = level;
  }
  Save(path, container.Build().bytes);
}

/// 20,000 shapes, each with a geometry of 3 variables with 3 attributes each.
void MakeNodes(const fs::path& path) {
  constexpr unsigned int kShapes = 20000;
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  const NodeRef group = model.AddGroup("Geometry", root);
  for (unsigned int i = 0; i < kShapes; ++i) {
    const std::string name = "Part " + std::to_string(i);
    const NodeRef geometry = model.AddGeometry(name, model.AddShape(name, group));
    for (const char* result : {"Displacement", "Stress", "Temperature"}) {
      const AttributeSet attributes{Attribute::Float("Time", static_cast<float>(i % 10)),
                                    Attribute::Text("Title", "A model of many parts"),
                                    Attribute::Uint("LoadCase", i % 3)};
      model.AddVariable(geometry, Variable::Floats(std::string(result) + "\x1eTime = 1",
                                                   kScalarResult, 1, {1.0F, 2.0F}, attributes));
    }
  }
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  Save(path, model.Build());
}

/// 4,000 variables with 8 attributes each, of which so many sets as given are different.
void MakeAttributes(const fs::path& path, unsigned int sets) {
  constexpr unsigned int kVariables = 4000;
  ModelWriter model;
  const NodeRef group = model.AddGroup("Geometry", model.AddGroup("model", 0));
  const NodeRef geometry = model.AddGeometry("Part", model.AddShape("Part", group));
  for (unsigned int i = 0; i < kVariables; ++i) {
    const unsigned int set = i % sets;
    const AttributeSet attributes{Attribute::Text("Title", "Cooling of a heat sink"),
                                  Attribute::Text("Category", "Transient"),
                                  Attribute::Text("Subtitle", "Step " + std::to_string(set)),
                                  Attribute::Text("Units", "SI-mm"),
                                  Attribute::Float("Time", static_cast<float>(set)),
                                  Attribute::Uint("Step", set),
                                  Attribute::Uint("LoadCase", 1),
                                  Attribute::Text("Location", "Node")};
    model.AddVariable(geometry, Variable::Floats("Temperature\x1eTime = " + std::to_string(i),
                                                 kScalarResult, 1, {1.0F}, attributes));
  }
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  Save(path, model.Build());
}

/// Heavy data of "mebibytes" in compressed blocks of at most 64 MiB, and after it a block with
/// node sets, which a report reads. The blocks hold zeros, so that gigabytes take some megabytes on
/// disk; a report learns their lengths alone.
void MakeData(const fs::path& path, std::size_t mebibytes) {
  const std::size_t block = std::min<std::size_t>(mebibytes, 64) * kMebibyte;
  const std::size_t blocks = mebibytes * kMebibyte / block;
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  AddMesh(model, model.AddGroup("Geometry", root), "mesh", 3);
  const NodeRef sets = model.AddNodeSets("Sets", root, {{"Fixed", {{1, 1}, {1, 2}}}});
  const std::string heavy = model.StreamBytes(kHeavyData);
  const std::string setBytes = model.At(sets).NodeSets().lists.Encode();
  model.At(sets).NodeSets().heavyPosition = heavy.size() + blocks * block;

  ContainerWriter container = model.ToContainer();
  ContainerWriter zeros;
  zeros.AddCompressed(kHeavyData, std::string(block, '\0'));
  for (std::size_t i = 0; i < blocks; ++i) {
    container.Add(zeros.Blocks().front());
  }
  container.AddCompressed(kHeavyData, setBytes);
  Save(path, container.Build().bytes);
}

void MakeTiny(const fs::path& path) {
  ModelWriter model;
  AddMesh(model, model.AddGroup("Geometry", model.AddGroup("model", 0)), "mesh", 3);
  Save(path, model.Build());
}

/// 10,000 small files.
void MakeMany(const fs::path& directory) {
  constexpr unsigned int kFiles = 10000;
  fs::create_directories(directory);
  for (unsigned int i = 0; i < kFiles; ++i) {
    ModelWriter model;
    const NodeRef root = model.AddGroup("model " + std::to_string(i), 0);
    AddMesh(model, model.AddGroup("Geometry", root), "mesh", 3 + i % 50);
    model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
    Save(directory / ("model" + std::to_string(i) + ".tev"), model.Build());
  }
}

/// As many numbers for each node as "rule" gives of its point.
template <class Rule>
std::vector<float> NumbersAt(const std::vector<Point>& points, const Rule& rule) {
  std::vector<float> numbers;
  for (const Point& point : points) {
    for (const double number : rule(point)) {
      numbers.push_back(static_cast<float>(number));
    }
  }
  return numbers;
}

Point DisplacementAt(const Point& point) {
  const auto& [x, y, z] = point;
  return {0.02 * std::sin(0.05 * x) * std::cos(0.03 * y), 0.03 * std::sin(0.04 * y + 0.02 * z),
          1e-4 * z * z * std::cos(0.03 * x)};
}

/// 300,763 nodes and 1,724,976 tetrahedra with one result, shuffled and deflated.
void MakeTetrahedra(const fs::path& path) {
  constexpr std::uint32_t kCorners = 4;
  const BentGrid grid(67);
  const std::vector<Point> points = grid.Points();
  const std::vector<std::uint32_t> corners = grid.Tetrahedra();
  const std::size_t count = corners.size() / kCorners;
  ModelWriter model;
  const NodeRef group = model.AddGroup("Geometry", model.AddGroup("model", 0));
  const NodeRef geometry = model.AddGeometry("Block", model.AddShape("Block", group));
  model.AddVariable(geometry, Variable::Floats("Node Ids", kIds, 1, Ids(points.size())));
  model.AddVariable(geometry, Variable::Floats("Coordinates", kCoordinates, 3,
                                               NumbersAt(points, std::identity())));
  model.AddVariable(geometry, Variable::Uints("Connectivity", kConnectivity, 1, corners));
  model.AddVariable(geometry, Variable::Uints("Polylength", kPolylength, 1,
                                              std::vector<std::uint32_t>(count, kCorners)));
  model.AddVariable(geometry, Variable::Floats("Element Ids", kIds, 1, Ids(count)));
  model.AddVariable(geometry, Variable::Floats("Displacement\x1eTime = 1", kVectorResult, 3,
                                               NumbersAt(points, DisplacementAt)));
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  Save(path, model.Build());
}

/// How much of each thing a model has.
struct Amounts {
  std::size_t nodes = 1;
  std::size_t parts = 1;
  std::size_t steps = 1;
  std::size_t attributes = 1;
  std::size_t names = 1;
};

/// Triangles around a ring of "nodes" nodes, one from each.
void AddTriangles(ModelWriter& model, NodeRef geometry, std::size_t nodes) {
  constexpr std::uint32_t kCorners = 3;
  std::vector<std::uint32_t> corners;
  for (std::size_t node = 0; node < nodes; ++node) {
    for (std::size_t corner = 0; corner < kCorners; ++corner) {
      corners.push_back(Narrow((node + corner) % nodes));
    }
  }
  model.AddVariable(geometry, Variable::Uints("Connectivity", kConnectivity, 1, corners));
  model.AddVariable(geometry, Variable::Uints("Polylength", kPolylength, 1,
                                              std::vector<std::uint32_t>(nodes, kCorners)));
}

/// Each part has "nodes" nodes and as many triangles, "names" results at each of "steps" steps,
/// each with "attributes".
ModelWriter ModelOf(const Amounts& amounts) {
  ModelWriter model;
  const NodeRef group = model.AddGroup("Geometry", model.AddGroup("model", 0));
  AttributeSet attributes;
  for (std::size_t i = 0; i < amounts.attributes; ++i)
    attributes.items.push_back(
        Attribute::Float("Attribute " + std::to_string(i), static_cast<float>(i)));
  const std::vector<float> values = Field(amounts.nodes, 1, 400.0F);
  for (std::size_t part = 0; part < amounts.parts; ++part) {
    const std::string partName = "Part " + std::to_string(part);
    const NodeRef geometry = model.AddGeometry(partName, model.AddShape(partName, group));
    model.AddVariable(geometry, Variable::Floats("Node Ids", kIds, 1, Ids(amounts.nodes)));
    model.AddVariable(geometry, Variable::Floats("Coordinates", kCoordinates, 3,
                                                 Field(3 * amounts.nodes, 2, 250.0F)));
    AddTriangles(model, geometry, amounts.nodes);
    for (std::size_t name = 0; name < amounts.names; ++name) {
      for (std::size_t step = 0; step < amounts.steps; ++step) {
        model.AddVariable(geometry, Variable::Floats("Result " + std::to_string(name) +
                                                         "\x1eTime = " + std::to_string(step),
                                                     kScalarResult, 1, values, attributes));
      }
    }
  }
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  return model;
}

/// For each thing: a model that has little of all, and such that have 1 to 8 times as much of it;
/// prints the name and the last block of each.
void MakeGrowth(const fs::path& directory) {
  struct Thing {
    const char* name;
    std::size_t Amounts::*amount;
    std::size_t once;
  };
  fs::create_directories(directory);
  for (const Thing& thing :
       {Thing{"nodes", &Amounts::nodes, 30000}, Thing{"parts", &Amounts::parts, 500},
        Thing{"steps", &Amounts::steps, 500}, Thing{"attributes", &Amounts::attributes, 1000},
        Thing{"names", &Amounts::names, 500}}) {
    for (const std::size_t times : {0U, 1U, 2U, 4U, 8U}) {
      Amounts amounts;
      amounts.*thing.amount = std::max<std::size_t>(1, times * thing.once);
      ContainerWriter model = ModelOf(amounts).ToContainer();
      const std::string name = thing.name + std::to_string(times);
      Save(directory / (name + ".tev"), model.Build().bytes);
      std::cout << name << '\t' << model.Blocks().size() - 1 << '\n';
    }
  }
}

/// The files that ask for far more than they hold; prints the name, the inflated size and the
/// last block of each.
void MakeHostile(const fs::path& directory) {
  fs::create_directories(directory);
  for (const HostileRow& row : HostileRows()) {
    const HostileModel model = row.full();
    Save(directory / (std::string(row.name) + ".tev"), model.bytes);
    std::cout << row.name << '\t' << model.inflated << '\t' << model.blocks - 1 << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kUsualLevel = 6;
  constexpr std::size_t kSmallData = 4;
  constexpr std::size_t kBigData = 4096;
  const std::map<std::string, void (*)(const fs::path&)> makers{
      {"dump", [](const fs::path& d) { MakeDump(d / "dump.tev", kUsualLevel); }},
      {"other-dump", [](const fs::path& d) { MakeDump(d / "other-dump.tev", kUsualLevel - 1); }},
      {"nodes", [](const fs::path& d) { MakeNodes(d / "nodes.tev"); }},
      {"attributes",
       [](const fs::path& d) {
         MakeAttributes(d / "same-attributes.tev", 10);
         MakeAttributes(d / "different-attributes.tev", 4000);
       }},
      {"small-data", [](const fs::path& d) { MakeData(d / "small-data.tev", kSmallData); }},
      {"big-data", [](const fs::path& d) { MakeData(d / "big-data.tev", kBigData); }},
      {"tiny", [](const fs::path& d) { MakeTiny(d / "tiny.tev"); }},
      {"many", [](const fs::path& d) { MakeMany(d / "many"); }},
      {"tetrahedra", [](const fs::path& d) { MakeTetrahedra(d / "tetrahedra.tev"); }},
      {"growth", [](const fs::path& d) { MakeGrowth(d / "growth"); }},
      {"hostile", [](const fs::path& d) { MakeHostile(d / "hostile"); }},
  };
  for (int i = 2; i < argc; ++i) {
    const auto maker = makers.find(argv[i]);
    if (maker == makers.end()) {
      std::cerr << "bench_models: no case " << argv[i] << '\n';
      return 1;
    }
    maker->second(argv[1]);
  }
}
