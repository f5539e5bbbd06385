// The value tables of the data dump.

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "DumpText.h"

namespace tevtest {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

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

}  // namespace
}  // namespace tevtest
