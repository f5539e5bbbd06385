// The layout of the data dump.

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
#include <utility>
#include <vector>

#include "Lbt/Tev/TevInfo/TevInfo.h"

namespace {

using Listing = std::map<std::string, std::vector<std::size_t>>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::size_t kBufferRoom = std::size_t{256} * 1024;

/// A data set of floats of the group "Part", owned by the geometry "mesh".
TevDataset Floats(std::string result, std::vector<float> values, std::string instance = "") {
  TevDataset dataset;
  dataset.group = "Part";
  dataset.result = std::move(result);
  dataset.instance = std::move(instance);
  dataset.floatValues = std::move(values);
  dataset.names = {"mesh"};
  return dataset;
}

TevDataset Integers(std::string result, std::vector<unsigned int> values,
                    std::string instance = "") {
  TevDataset dataset = Floats(std::move(result), {}, std::move(instance));
  dataset.kind = TevDataset::kIntegers;
  dataset.intValues = std::move(values);
  return dataset;
}

TevDataset Named(TevDataset dataset, std::string group, std::vector<std::string> names) {
  dataset.group = std::move(group);
  dataset.names = std::move(names);
  return dataset;
}

TevInfo InfoOf(std::vector<TevDataset> datasets) {
  TevInfo info;
  info.datasets = std::move(datasets);
  return info;
}

std::string Dump(std::vector<TevDataset> datasets) {
  std::ostringstream stream;
  InfoOf(std::move(datasets)).printData(stream);
  return stream.str();
}

/// The node and element blocks of data sets that are one group.
std::string Mesh(std::vector<TevDataset> datasets) {
  std::vector<std::size_t> positions(datasets.size());
  for (std::size_t i = 0; i < positions.size(); ++i) {
    positions[i] = i;
  }
  std::ostringstream stream;
  InfoOf(std::move(datasets)).printMesh(stream, positions);
  return stream.str();
}

/// What the dump of one group has after its node and element blocks.
std::string Tables(std::vector<TevDataset> datasets) {
  const std::string dump = Dump(std::move(datasets));
  const std::size_t first = dump.find("Data : ");
  return first == std::string::npos ? "" : dump.substr(first);
}

/// What the dump of one group has before its node and element blocks.
std::string Overview(std::vector<TevDataset> datasets) {
  const std::string dump = Dump(std::move(datasets));
  return dump.substr(0, dump.find("    Coordinates : \n"));
}

const std::string kEmptyMesh = "    Coordinates : \n\n    Connectivity : \n\n";

TEST(Dump, PrintData_WithoutDataSets_WritesNothing) { EXPECT_EQ(Dump({}), ""); }

TEST(Dump, PrintData_OneGroup_HasAllBlocksInTheirLayout) {
  const std::vector<TevDataset> datasets{
      Named(Floats("Node Ids", {11, 12}), "Arm", {"arm 1", "arm 2"}),
      Named(Floats("Coordinates", {0, 1.5F, -2, 1e-6F, 1234567, 0.25F}), "Arm", {"arm 1"}),
      Named(Integers("Connectivity", {0, 1, 1}), "Arm", {"arm 1"}),
      Named(Integers("Polylength", {2, 1}), "Arm", {"arm 1"}),
      Named(Floats("Displacement", {1, 2, 3, 4, 5, 6}, "Time = 1"), "Arm", {"arm 1"}),
      Named(Floats("Heat", {293.25F, 294}, "Time = 1"), "Arm", {"arm 1"})};
  EXPECT_EQ(Dump(datasets),
            "Analysis : \n"
            "    Arm\n"
            "\n"
            "Element Sets : \n"
            "    arm 1\n"
            "    arm 2\n"
            "\n"
            "Results : \n"
            "    Displacement    3\n"
            "    Heat    1\n"
            "\n"
            "Instances : \n"
            "    Time = 1\n"
            "\n"
            "    Coordinates : \n"
            "            11             0           1.5            -2\n"
            "            12         1e-06    1.23457e+06          0.25\n"
            "\n"
            "    Connectivity : \n"
            "         2           0           1\n"
            "         1           1\n"
            "\n"
            "Data : \n"
            "    Instance : Time = 1\n"
            "    Results: Displacement, Heat, Node Ids\n"
            "    Values : \n"
            "             1             2             3        293.25            11\n"
            "             4             5             6           294            12\n"
            "\n");
}

TEST(Dump, PrintData_SeveralGroups_ComeInByteOrder) {
  const auto blocks = [](const std::string& group) {
    return "Analysis : \n    " + group + "\n\nElement Sets : \n    of " + group + "\n\n" +
           kEmptyMesh;
  };
  std::vector<TevDataset> datasets;
  for (const char* group : {"b", "\xc3\xa4", "", "B", "a b"}) {
    datasets.push_back(Named(Floats("Stress", {1}), group, {"of " + std::string(group)}));
  }
  EXPECT_EQ(Dump(datasets),
            blocks("") + blocks("B") + blocks("a b") + blocks("b") + blocks("\xc3\xa4"));
}

TEST(Dump, PrintData_GroupOfSeveralGeometries_PrintsOnceWithTheElementSetsOfItsFirstDataSet) {
  EXPECT_EQ(Dump({Named(Floats("Stress", {1}), "Arm", {"first", "also first"}),
                  Named(Floats("Heat", {1}), "Base", {"base"}),
                  Named(Floats("Heat", {1}), "Arm", {"second"})}),
            "Analysis : \n    Arm\n\nElement Sets : \n    first\n    also first\n\n" + kEmptyMesh +
                "Analysis : \n    Base\n\nElement Sets : \n    base\n\n" + kEmptyMesh);
}

TEST(Dump, PrintData_FirstDataSetWithoutNames_LeavesTheElementSetsEmpty) {
  EXPECT_EQ(Dump({Named(Floats("Stress", {1}), "Arm", {}), Floats("Stress", {1})}),
            "Analysis : \n    Arm\n\nElement Sets : \n\n" + kEmptyMesh +
                "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n" + kEmptyMesh);
}

/// Takes nothing.
class FullBuffer : public std::streambuf {};

TEST(Dump, StreamThatTakesNothing_ShowsItInItsState) {
  FullBuffer buffer;
  std::ostream stream(&buffer);
  InfoOf({Floats("Stress", {1})}).printData(stream);
  EXPECT_TRUE(stream.bad());
}

TEST(Dump, StreamSetToThrow_Throws) {
  const TevInfo info = InfoOf({Floats("Node Ids", {1}), Floats("Stress", {1})});
  Listing byResult{{"Stress", {1}}};
  Listing byInstance{{"", {1}}};
  FullBuffer buffer;
  std::ostream stream(&buffer);
  stream.exceptions(std::ios::badbit);
  EXPECT_THROW(info.printData(stream), std::ios::failure);
  EXPECT_THROW(info.printAnalysis(stream, "Part", {0}), std::ios::failure);
  EXPECT_THROW(info.printMesh(stream, {0}), std::ios::failure);
  EXPECT_THROW(info.printResults(stream, byResult, byInstance, 1), std::ios::failure);
}

TEST(Dump, PrintAnalysis_WithoutDataSets_HasItsHeadings) {
  std::ostringstream stream;
  TevInfo().printAnalysis(stream, "Arm", {});
  EXPECT_EQ(stream.str(), "Analysis : \n    Arm\n\nElement Sets : \n\n" + kEmptyMesh);
}

TEST(Dump, PrintAnalysis_TakesOnlyTheDataSetsThatItIsGiven) {
  const TevInfo info = InfoOf({Floats("Node Ids", {9}), Floats("Heat", {7}),
                               Floats("Node Ids", {1, 2}), Floats("Stress", {3, 4})});
  std::ostringstream stream;
  info.printAnalysis(stream, "Any name", {1, 0});
  EXPECT_EQ(stream.str(),
            "Analysis : \n    Any name\n\nElement Sets : \n    mesh\n\n"
            "Results : \n    Heat    1\n\nInstances : \n    \n\n"
            "    Coordinates : \n             9\n\n    Connectivity : \n\n"
            "Data : \n    Results: Heat, Node Ids\n    Values : \n"
            "             7             9\n\n");
}

// ------------------------------------------------------------------ results and instances

TEST(DumpOverview, GroupWithoutNodeIds_HasNeitherResultsNorData) {
  EXPECT_EQ(Dump({Floats("Coordinates", {1, 2, 3}), Floats("Stress", {1}, "Time = 1")}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n" + kEmptyMesh);
}

TEST(DumpOverview, EmptyNodeIds_CountAsNone) {
  EXPECT_EQ(Dump({Floats("Node Ids", {}), Floats("Stress", {1})}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n" + kEmptyMesh);
}

TEST(DumpOverview, NodeIdsOfAnInstance_NumberTheMeshAlone) {
  EXPECT_EQ(Dump({Floats("Node Ids", {5}, "Time = 1"), Floats("Coordinates", {1, 2, 3}),
                  Floats("Stress", {1})}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n"
            "    Coordinates : \n             5             1             2             3\n"
            "\n    Connectivity : \n\n");
}

TEST(DumpOverview, ResultsAndInstances_ComeInByteOrder) {
  EXPECT_EQ(
      Overview({Floats("stress", {1}, "Time = 10"), Floats("Heat", {1}, "Time = 9"),
                Floats("Stress", {1}), Floats("Heat", {1}, "\xc3\xa4"), Floats("Node Ids", {1})}),
      "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n"
      "Results : \n    Heat    1\n    Stress    1\n    stress    1\n"
      "\nInstances : \n    \n    Time = 10\n    Time = 9\n    \xc3\xa4\n\n");
}

TEST(DumpOverview, NumberOfComponents_IsThatOfTheFirstDataSetRoundedDown) {
  EXPECT_EQ(Overview({Floats("A", {1, 2, 3, 4, 5}, "Time = 2"), Floats("A", {1, 2}, "Time = 1"),
                      Floats("B", {1}), Integers("C", {1, 2, 3, 4}), Floats("D", {}),
                      Floats("Node Ids", {1, 2})}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n"
            "Results : \n    A    2\n    B    0\n    C    2\n    D    0\n"
            "\nInstances : \n    \n    Time = 1\n    Time = 2\n\n");
}

TEST(DumpOverview, ManyComponents_AreWrittenInFull) {
  EXPECT_EQ(Overview({Floats("Spectrum", std::vector<float>(123457)), Floats("Node Ids", {1})}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n"
            "Results : \n    Spectrum    123457\n\nInstances : \n    \n\n");
}

TEST(DumpOverview, OnlyFourNames_AreKeptOutOfTheResults) {
  EXPECT_EQ(Overview({Floats("Coordinates", {1, 2, 3}), Integers("Connectivity", {0}),
                      Integers("Polylength", {1}), Floats("Element Ids", {8}),
                      Floats("Element Indices", {7}), Floats("Element IDs", {6}),
                      Floats("node ids", {5}), Floats("Node Ids", {4})}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n"
            "Results : \n    Element IDs    1\n    Element Ids    1\n    Element Indices    1\n"
            "    node ids    1\n"
            "\nInstances : \n    \n\n");
}

TEST(DumpOverview, MeshNamesOfAnInstance_AreKeptOutToo) {
  EXPECT_EQ(Overview({Floats("Coordinates", {1, 2, 3}, "Time = 1"), Floats("Node Ids", {4})}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\nResults : \n\nInstances : \n\n");
}

TEST(DumpOverview, DataSetOfAnotherKind_HasNoValues) {
  TevDataset other = Floats("Heat", {1, 2});
  other.kind = 2;
  EXPECT_EQ(Overview({other, Floats("Node Ids", {4})}),
            "Analysis : \n    Part\n\nElement Sets : \n    mesh\n\n"
            "Results : \n    Heat    0\n\nInstances : \n    \n\n");
}

// ------------------------------------------------------------------ nodes

TEST(DumpMesh, WithoutDataSets_HasItsHeadings) { EXPECT_EQ(Mesh({}), kEmptyMesh); }

TEST(DumpMesh, NodeIds_AreTruncatedAndLimited) {
  EXPECT_EQ(Mesh({Floats("Node Ids", {1.99F, -1.99F, -0.5F, 16777216, 3e9F, -3e9F, 2147483520,
                                      kInfinity, -kInfinity, std::nanf("")}),
                  Floats("Coordinates", std::vector<float>(30))}),
            "    Coordinates : \n"
            "             1             0             0             0\n"
            "            -1             0             0             0\n"
            "             0             0             0             0\n"
            "      16777216             0             0             0\n"
            "    2147483647             0             0             0\n"
            "    -2147483648             0             0             0\n"
            "    2147483520             0             0             0\n"
            "    2147483647             0             0             0\n"
            "    -2147483648             0             0             0\n"
            "             0             0             0             0\n"
            "\n    Connectivity : \n\n");
}

TEST(DumpMesh, Coordinates_ReadAsInAStream) {
  EXPECT_EQ(Mesh({Floats("Node Ids", {1, 2, 3}),
                  Floats("Coordinates", {kInfinity, -kInfinity, std::nanf(""), -0.0F, 1e-5F,
                                         123456.5F, -1.23456e-30F, 0.333333333F, 1e10F})}),
            "    Coordinates : \n"
            "             1           inf          -inf           nan\n"
            "             2            -0         1e-05        123456\n"
            "             3    -1.23456e-30      0.333333         1e+10\n"
            "\n    Connectivity : \n\n");
}

TEST(DumpMesh, WithoutCoordinates_TheFirstRowEndsAfterItsNodeId) {
  EXPECT_EQ(Mesh({Floats("Node Ids", {7, 8})}),
            "    Coordinates : \n             7\n\n    Connectivity : \n\n");
}

TEST(DumpMesh, CoordinatesThatEndWithinARow_EndTheBlockThere) {
  EXPECT_EQ(Mesh({Floats("Node Ids", {7, 8, 9}), Floats("Coordinates", {1, 2, 3, 4, 5})}),
            "    Coordinates : \n"
            "             7             1             2             3\n"
            "             8             4             5\n"
            "\n    Connectivity : \n\n");
}

TEST(DumpMesh, CoordinatesThatEndAfterARow_LeaveTheNextNodeIdAlone) {
  EXPECT_EQ(Mesh({Floats("Node Ids", {7, 8, 9}), Floats("Coordinates", {1, 2, 3})}),
            "    Coordinates : \n"
            "             7             1             2             3\n"
            "             8\n"
            "\n    Connectivity : \n\n");
}

TEST(DumpMesh, MoreCoordinatesThanNodes_AreLeftOut) {
  EXPECT_EQ(Mesh({Floats("Node Ids", {7}), Floats("Coordinates", {1, 2, 3, 4, 5, 6})}),
            "    Coordinates : \n"
            "             7             1             2             3\n"
            "\n    Connectivity : \n\n");
}

TEST(DumpMesh, IntegersForFloats_AreNoNodes) {
  EXPECT_EQ(Mesh({Integers("Node Ids", {7}), Floats("Coordinates", {1, 2, 3})}), kEmptyMesh);
  EXPECT_EQ(Mesh({Floats("Node Ids", {7}), Integers("Coordinates", {1, 2, 3})}),
            "    Coordinates : \n             7\n\n    Connectivity : \n\n");
}

TEST(DumpMesh, OfSeveralSetsOfAName_TheLastOneCounts) {
  EXPECT_EQ(Mesh({Floats("Node Ids", {1, 2}), Floats("Coordinates", std::vector<float>(6)),
                  Integers("Connectivity", {0, 0}), Integers("Polylength", {2}),
                  Floats("Node Ids", {5}), Floats("Coordinates", {1, 2, 3}),
                  Integers("Connectivity", {4, 3}), Integers("Polylength", {1, 1})}),
            "    Coordinates : \n"
            "             5             1             2             3\n"
            "\n    Connectivity : \n"
            "         1           4\n"
            "         1           3\n\n");
}

// ------------------------------------------------------------------ elements

/// The element block of data sets without nodes.
std::string Elements(std::vector<TevDataset> datasets) {
  const std::string heading = "    Coordinates : \n\n    Connectivity : \n";
  const std::string mesh = Mesh(std::move(datasets));
  EXPECT_TRUE(mesh.starts_with(heading)) << mesh;
  return mesh.substr(heading.size());
}

TEST(DumpMesh, Elements_TakeTheirNodesOneAfterAnother) {
  EXPECT_EQ(Elements({Integers("Connectivity", {0, 1, 2, 3, 4, 5}),
                      Integers("Polylength", {3, 0, 1, 2})}),
            "         3           0           1           2\n"
            "         0\n"
            "         1           3\n"
            "         2           4           5\n\n");
}

TEST(DumpMesh, IndicesWiderThanTheirField_AreNotCut) {
  EXPECT_EQ(Elements({Integers("Connectivity", {12345678, 123456789, 4294967295U}),
                      Integers("Polylength", {3})}),
            "         3    12345678    123456789    4294967295\n\n");
}

TEST(DumpMesh, ElementIdsAfterPolylength_CountTheElements) {
  const TevDataset indices = Integers("Connectivity", {0, 1, 2});
  const TevDataset lengths = Integers("Polylength", {1, 1, 1});
  EXPECT_EQ(Elements({indices, lengths, Floats("Element Ids", {8, 9})}),
            "         1           0\n         1           1\n\n");
  EXPECT_EQ(Elements({indices, lengths, Floats("Element Ids", {})}), "\n");
}

TEST(DumpMesh, ElementIdsBeforePolylength_DoNotCount) {
  EXPECT_EQ(Elements({Floats("Element Ids", {8}), Integers("Connectivity", {0, 1}),
                      Integers("Polylength", {1, 1})}),
            "         1           0\n         1           1\n\n");
}

TEST(DumpMesh, MoreElementIdsThanLengths_EndWithTheLengths) {
  EXPECT_EQ(Elements({Integers("Connectivity", {0, 1}), Integers("Polylength", {1}),
                      Floats("Element Ids", {8, 9})}),
            "         1           0\n\n");
}

TEST(DumpMesh, ElementIndices_DoNotCountElements) {
  EXPECT_EQ(Elements({Integers("Connectivity", {0, 1}), Integers("Polylength", {1, 1}),
                      Floats("Element Indices", {8})}),
            "         1           0\n         1           1\n\n");
}

TEST(DumpMesh, WithoutPolylength_HasNoElements) {
  EXPECT_EQ(Elements({Integers("Connectivity", {0, 1}), Floats("Element Ids", {8, 9})}), "\n");
}

TEST(DumpMesh, WithoutConnectivity_TheFirstRowEndsAfterItsLength) {
  EXPECT_EQ(Elements({Integers("Polylength", {2, 2})}), "         2\n\n");
}

TEST(DumpMesh, EmptyElementsWithoutConnectivity_AreComplete) {
  EXPECT_EQ(Elements({Integers("Polylength", {0, 0, 1, 0})}),
            "         0\n         0\n         1\n\n");
}

TEST(DumpMesh, ConnectivityThatEndsWithinAnElement_EndsTheBlockThere) {
  EXPECT_EQ(Elements({Integers("Connectivity", {0, 1, 2}), Integers("Polylength", {2, 2, 1})}),
            "         2           0           1\n         2           2\n\n");
}

TEST(DumpMesh, HugeLengths_EndWithTheConnectivity) {
  EXPECT_EQ(Elements({Integers("Connectivity", {0, 1}),
                      Integers("Polylength", {1, 4294967295U, 4294967295U})}),
            "         1           0\n    4294967295           1\n\n");
}

TEST(DumpMesh, FloatsForIntegers_AreNoElements) {
  EXPECT_EQ(Elements({Integers("Connectivity", {0, 1}), Floats("Polylength", {1, 1})}), "\n");
  EXPECT_EQ(Elements({Floats("Connectivity", {0, 1}), Integers("Polylength", {1, 1})}),
            "         1\n\n");
}

// ------------------------------------------------------------------ value tables

TEST(DumpTables, Instances_EachHaveATable_WithoutAnInstanceFirst) {
  EXPECT_EQ(Tables({Floats("Heat", {3}, "Time = 2"), Floats("Heat", {2}, "Time = 10"),
                    Floats("Node Ids", {9}), Floats("Heat", {1})}),
            "Data : \n"
            "    Results: Heat, Node Ids\n"
            "    Values : \n"
            "             1             9\n"
            "\n"
            "Data : \n"
            "    Instance : Time = 10\n"
            "    Results: Heat, Node Ids\n"
            "    Values : \n"
            "             2             9\n"
            "\n"
            "Data : \n"
            "    Instance : Time = 2\n"
            "    Results: Heat, Node Ids\n"
            "    Values : \n"
            "             3             9\n"
            "\n");
}

TEST(DumpTables, Columns_AreInListOrderWithNodeIdsLast) {
  EXPECT_EQ(Tables({Floats("Node Ids", {7.9F, 8}), Floats("Z", {1, 2, 3, 4}), Floats("A", {5, 6}),
                    Floats("Element Ids", {101, 102})}),
            "Data : \n"
            "    Results: Z, A, Element Ids, Node Ids\n"
            "    Values : \n"
            "             1             2             5           101             7\n"
            "             3             4             6           102             8\n"
            "\n");
}

TEST(DumpTables, ResultWithFewerValuesThanNodes_IsNamedWithoutAColumn) {
  EXPECT_EQ(Tables({Floats("Node Ids", {7, 8}), Floats("Volume", {1}), Floats("Heat", {5, 6})}),
            "Data : \n"
            "    Results: Volume, Heat, Node Ids\n"
            "    Values : \n"
            "             5             7\n"
            "             6             8\n"
            "\n");
}

TEST(DumpTables, ValuesLeftOverByTheNodes_AreLeftOut) {
  EXPECT_EQ(Tables({Floats("Node Ids", {7, 8}), Floats("Flux", {1, 2, 3, 4, 5})}),
            "Data : \n"
            "    Results: Flux, Node Ids\n"
            "    Values : \n"
            "             1             2             7\n"
            "             3             4             8\n"
            "\n");
}

TEST(DumpTables, NodeIds_AreTruncatedAndLimited) {
  EXPECT_EQ(Tables({Floats("Node Ids", {-1.5F, 3e9F, -kInfinity, std::nanf("")}),
                    Floats("Heat", {-1.5F, 3e9F, -kInfinity, std::nanf("")})}),
            "Data : \n"
            "    Results: Heat, Node Ids\n"
            "    Values : \n"
            "          -1.5            -1\n"
            "         3e+09    2147483647\n"
            "          -inf    -2147483648\n"
            "           nan             0\n"
            "\n");
}

TEST(DumpTables, SeveralNodeIds_AreAllNamedAndColumns_AndTheLastCountTheNodes) {
  EXPECT_EQ(Tables({Floats("Node Ids", {1, 2, 3, 4}), Floats("Heat", {10, 20}),
                    Floats("Node Ids", {5}), Floats("Node Ids", {6, 7})}),
            "Data : \n"
            "    Results: Heat, Node Ids, Node Ids, Node Ids\n"
            "    Values : \n"
            "            10             1             1             6\n"
            "            20             2             2             7\n"
            "\n");
}

TEST(DumpTables, LastNodeIdsEmpty_LeaveNoTable) {
  EXPECT_EQ(Tables({Floats("Node Ids", {1}), Floats("Heat", {10}), Floats("Node Ids", {})}), "");
}

TEST(DumpTables, Integers_AreNamedWithoutAColumn) {
  EXPECT_EQ(Tables({Floats("Node Ids", {7, 8}), Integers("First", {1, 2}), Floats("Heat", {5, 6}),
                    Integers("Last", {3, 4, 5, 6}), Integers("Short", {1}),
                    Floats("Heat", {3, 4}, "Time = 1")}),
            "Data : \n"
            "    Results: First, Heat, Last, Short, Node Ids\n"
            "    Values : \n"
            "             5             7\n"
            "             6             8\n"
            "\n"
            "Data : \n"
            "    Instance : Time = 1\n"
            "    Results: Heat, Node Ids\n"
            "    Values : \n"
            "             3             7\n"
            "             4             8\n"
            "\n");
}

TEST(DumpTables, IntegersAlone_LeaveTheNodeIds) {
  EXPECT_EQ(Tables({Floats("Node Ids", {7, 8}), Integers("Set", {1, 2})}),
            "Data : \n"
            "    Results: Set, Node Ids\n"
            "    Values : \n"
            "             7\n"
            "             8\n"
            "\n");
}

TEST(DumpTables, IntegersAsNodeIds_CountNodesWithoutNamingThem) {
  EXPECT_EQ(Tables({Integers("Node Ids", {7, 8}), Floats("Heat", {5, 6})}),
            "Data : \n"
            "    Results: Heat, Node Ids\n"
            "    Values : \n"
            "             5\n"
            "             6\n"
            "\n");
}

TEST(DumpTables, ElementIndices_AreTheirFloats) {
  TevDataset indices = Floats("Element Indices", {1.5F, 2});
  indices.intValues = {1, 2};
  EXPECT_EQ(Tables({Floats("Node Ids", {7, 8}), indices}),
            "Data : \n"
            "    Results: Element Indices, Node Ids\n"
            "    Values : \n"
            "           1.5             7\n"
            "             2             8\n"
            "\n");
}

TEST(DumpTables, PrintResults_WritesTheListedDataSetsAlone) {
  const TevInfo info = InfoOf({Floats("Heat", {1, 2, 3, 4}), Floats("Node Ids", {7, 8})});
  Listing byResult{{"Heat", {0}}};
  Listing byInstance{{"", {1}}, {"Time = 1", {0}}};
  std::ostringstream stream;
  info.printResults(stream, byResult, byInstance, 2);
  EXPECT_EQ(stream.str(),
            "Data : \n    Results: Node Ids\n    Values : \n             7\n             8\n\n"
            "Data : \n    Instance : Time = 1\n    Results: Heat\n    Values : \n"
            "             1             2\n             3             4\n\n");
}

TEST(DumpTables, PrintResults_WithoutNodesOrInstances_WritesNothing) {
  const TevInfo info = InfoOf({Floats("Heat", {1, 2})});
  Listing byResult{{"Heat", {0}}};
  Listing byInstance{{"", {0}}};
  Listing none;
  std::ostringstream stream;
  info.printResults(stream, byResult, byInstance, 0);
  info.printResults(stream, byResult, none, 1);
  EXPECT_EQ(stream.str(), "");
}

// ------------------------------------------------------------------ against another writer

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
