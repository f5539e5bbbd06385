// The layout of the data dump, and its blocks of nodes and elements.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "DumpText.h"

namespace tevtest {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

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

}  // namespace
}  // namespace tevtest
