// The table of the kinds of hostile files.

#include "HostileRows.h"

namespace tevtest {

const std::vector<HostileRow>& HostileRows() {
  constexpr std::size_t kMebi = std::size_t{1} << 20U;
  static const std::vector<HostileRow> rows{
      {"light-data-to-and-fro", [] { return LightDataToAndFro(1000, 40); },
       [] { return LightDataToAndFro(200 * kMebi, 700000); }},
      {"old-geometry-to-and-fro", [] { return OldGeometryToAndFro(1000, 40); },
       [] { return OldGeometryToAndFro(32 * kMebi, 100000); }},
      {"geometries-on-one-light-data",
       [] {
         return GeometriesOnOneLightData({8, 4, 20});
       },
       [] {
         return GeometriesOnOneLightData({1000, 200, 2000});
       }},
      {"geometries-without-attributes",
       [] {
         return GeometriesWithoutAttributes({8, 8, 0});
       },
       [] {
         return GeometriesWithoutAttributes({100, 1000, 0});
       }},
      {"node-sets-on-one-heavy-data", [] { return NodeSetsOnOneHeavyData(10, 100); },
       [] { return NodeSetsOnOneHeavyData(1000, 150000); }},
      {"padded-links",
       [] {
         return PaddedGeometries({8, 4, 100});
       },
       [] {
         return PaddedGeometries({15000, 1000, 16 * kMebi});
       }},
      {"padded-old-variables",
       [] {
         return PaddedGeometries({8, 4, 100, true});
       },
       [] {
         return PaddedGeometries({15000, 1000, 16 * kMebi, true});
       }},
      {"padded-node-sets",
       [] {
         return PaddedNodeSets({8, 20, 100});
       },
       [] {
         return PaddedNodeSets({5000, 20000, 8 * kMebi});
       }},
      {"many-node-sets-on-one-heavy-data", [] { return ManyNodeSetsOnOneHeavyData(8, 20); },
       [] { return ManyNodeSetsOnOneHeavyData(1000, 10000); }},
      {"element-indices-that-overlap", [] { return ElementIndicesThatOverlap(8, 100); },
       [] { return ElementIndicesThatOverlap(16, 32 * kMebi); }},
      {"overlapping-node-sets", [] { return OverlappingNodeSets(40, 40); },
       [] { return OverlappingNodeSets(20000, 20000); }},
      {"long-node-set-names", [] { return LongNodeSetNames(40, 100); },
       [] { return LongNodeSetNames(20000, 100000); }},
      {"read-at-once-on-same-bytes", [] { return ReadAtOnceOnSameBytes(20, 1000); },
       [] { return ReadAtOnceOnSameBytes(100, 16 * kMebi); }},
      {"variables-on-same-data", [] { return VariablesOnSameData(20, 1000); },
       [] { return VariablesOnSameData(1500, 4 * kMebi); }},
      {"shapes-of-one-geometry", [] { return ShapesOfOneGeometry(10, 10); },
       [] { return ShapesOfOneGeometry(5000, 5000); }},
      {"shapes-of-one-table", [] { return ShapesOfOneTable(5, 4, 20); },
       [] { return ShapesOfOneTable(64, 40, 25600); }},
      {"meshes-on-same-bytes", [] { return MeshesOnSameBytes(10, 100); },
       [] { return MeshesOnSameBytes(600, 50000); }},
      {"damaged-faces-on-same-bytes", [] { return DamagedFacesOnSameBytes(10, 100); },
       [] { return DamagedFacesOnSameBytes(600, 50000); }},
      {"ids-in-turn",
       [] {
         return IdsInTurn({10, 100});
       },
       [] {
         return IdsInTurn({1000, 50000});
       }},
      {"faces-of-various-points", [] { return FacesOfVariousPoints(10, 100); },
       [] { return FacesOfVariousPoints(600, 50000); }},
      {"shapes-of-a-long-name", [] { return ShapesOfALongName(10, 1000); },
       [] { return ShapesOfALongName(1000, 16 * kMebi); }},
      {"links-of-a-long-name", [] { return LinksOfALongName(10, 1000); },
       [] { return LinksOfALongName(100000, kMebi); }},
      {"nested-groups", [] { return NestedGroups(40); }, [] { return NestedGroups(100000); }},
      {"nested-parts", [] { return NestedParts(40); }, [] { return NestedParts(20000); }},
      {"empty-raw-blocks", [] { return EmptyBlocks(40, 40, false); },
       [] { return EmptyBlocks(50000, 50000, false); }},
      {"empty-compressed-blocks", [] { return EmptyBlocks(40, 40, true); },
       [] { return EmptyBlocks(4000, 4000, true); }},
      {"tiny-blocks", [] { return TinyBlocks(40); }, [] { return TinyBlocks(650000); }},
      {"empty-index-entries", [] { return EmptyIndexEntries(500); },
       [] { return EmptyIndexEntries(90000000); }},
      {"streams-of-short-names", [] { return StreamsOfShortNames(200); },
       [] { return StreamsOfShortNames(1000000); }},
      {"names-of-one-hash", [] { return NamesOfOneHash(20); },
       [] { return NamesOfOneHash(20000); }},
  };
  return rows;
}

}  // namespace tevtest
