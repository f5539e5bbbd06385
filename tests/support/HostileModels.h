#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tevtest {

/// A small file that asks for far more work or memory than what it holds is worth.
struct HostileModel {
  std::string bytes;
  std::uint64_t inflated = 0;  ///< the file with all of its blocks inflated, in bytes
  std::size_t blocks = 0;      ///< how many it has
};

/// Two blocks of "blockSize" zeros of light data, and "records" nodes whose light data lie in the
/// one and the other in turn.
[[nodiscard]] HostileModel LightDataToAndFro(std::size_t blockSize, std::size_t records);

/// A geometry of the oldest version, whose "variables" of one number each lie in the one and the
/// other of two blocks of "blockSize" zeros in turn.
[[nodiscard]] HostileModel OldGeometryToAndFro(std::size_t blockSize, std::size_t variables);

/// How many geometries refer to one set of light data, and what these are.
struct SharedLightData {
  std::size_t geometries = 0;
  std::size_t variables = 0;   ///< in the light data
  std::size_t nameLength = 0;  ///< of each variable
};
[[nodiscard]] HostileModel GeometriesOnOneLightData(const SharedLightData& shared);

/// The same without attributes, which every variable asks for in six lists.
[[nodiscard]] HostileModel GeometriesWithoutAttributes(const SharedLightData& shared);

/// Nodes whose records lie in one place, in a stream that "padding" zeros make longer.
struct RecordsOnOneLightData {
  std::size_t nodes = 0;
  std::size_t each = 0;  ///< variables or node sets of each
  std::size_t padding = 0;
  bool areOld = false;
};
/// Geometries of nameless variables, links that lead nowhere or, of old ones, results without
/// numbers.
[[nodiscard]] HostileModel PaddedGeometries(const RecordsOnOneLightData& records);

/// Nodes of nameless sets without members, whose lists lie in one place of the heavy data, the
/// first "each" of them, then one less for each node.
[[nodiscard]] HostileModel PaddedNodeSets(const RecordsOnOneLightData& records);

/// "nodes" nodes that all refer to the same "sets" nameless sets without members.
[[nodiscard]] HostileModel ManyNodeSetsOnOneHeavyData(std::size_t nodes, std::size_t sets);

/// A geometry with element indices at each of many steps, each of about "bytes" bytes and all
/// within as many.
[[nodiscard]] HostileModel ElementIndicesThatOverlap(std::size_t variables, std::size_t bytes);

/// "nodes" nodes of node sets that all refer to one set of "members" members.
[[nodiscard]] HostileModel NodeSetsOnOneHeavyData(std::size_t nodes, std::size_t members);

/// One node of "sets" node sets, of which every second one has all of "members" members.
[[nodiscard]] HostileModel OverlappingNodeSets(std::size_t sets, std::size_t members);

/// One node of "sets" node sets, of which every second one has the same name of "length" bytes.
[[nodiscard]] HostileModel LongNodeSetNames(std::size_t sets, std::size_t length);

/// A geometry of version "0.5", which has its numbers read at once, whose "variables" all refer to
/// the same block of "bytes" zeros.
[[nodiscard]] HostileModel ReadAtOnceOnSameBytes(std::size_t variables, std::size_t bytes);

/// A geometry whose "variables" results all refer to the same block of "bytes" zeros.
[[nodiscard]] HostileModel VariablesOnSameData(std::size_t variables, std::size_t bytes);

/// "shapes" shapes that name one geometry of "variables" results without numbers.
[[nodiscard]] HostileModel ShapesOfOneGeometry(std::size_t shapes, std::size_t variables);

/// "shapes" shapes that name one geometry of node ids and "variables" results, all on the same
/// "nodes" zeros: the dump has a column for each result of each shape.
[[nodiscard]] HostileModel ShapesOfOneTable(std::size_t shapes, std::size_t variables,
                                            std::size_t nodes);

/// "shapes" shapes that name one geometry of "nodes" nodes, with a result at each of "steps" steps,
/// all of it the same zeros.
[[nodiscard]] HostileModel ResultsOnOneMesh(std::size_t shapes, std::size_t steps,
                                            std::size_t nodes);

/// "shapes" shapes that name one geometry of one result, under a group with a name of "length".
[[nodiscard]] HostileModel ShapesOfALongName(std::size_t shapes, std::size_t length);

/// A geometry with faces of its own at each of "steps" steps, all of them the same "faces"
/// triangles, which name the first node.
[[nodiscard]] HostileModel MeshesOnSameBytes(std::size_t steps, std::size_t faces);

/// The same, where one face names a node that the mesh has not.
[[nodiscard]] HostileModel DamagedFacesOnSameBytes(std::size_t steps, std::size_t faces);

/// A geometry with one result at each of "steps" steps, whose numbers lie at two places in turn,
/// and whose node ids, from 1 on, at "places".
struct IdsOfSteps {
  std::size_t steps = 0;
  std::size_t nodes = 0;
  std::size_t places = 3;
  bool areDescending = false;
};
[[nodiscard]] HostileModel IdsInTurn(const IdsOfSteps& ids);

/// As MeshesOnSameBytes, with coordinates and a result of 1 to 1,000 nodes in turn.
[[nodiscard]] HostileModel FacesOfVariousPoints(std::size_t steps, std::size_t faces);

/// "links" variables that share one array, in a geometry with a name of "length".
[[nodiscard]] HostileModel LinksOfALongName(std::size_t links, std::size_t length);

/// "depth" groups, each in the one before it, and a part in the last.
[[nodiscard]] HostileModel NestedGroups(std::size_t depth);

/// "depth" groups, each in the one before it, and a part in each: their paths together have half as
/// many names as the square of that.
[[nodiscard]] HostileModel NestedParts(std::size_t depth);

/// Two blocks of light data with "blocks" empty ones between them, stored raw or compressed, and
/// "records" nodes whose light data lie in the first and the last of them in turn.
[[nodiscard]] HostileModel EmptyBlocks(std::size_t blocks, std::size_t records, bool compressed);

/// "blocks" blocks of four bytes, each the light data of a node.
[[nodiscard]] HostileModel TinyBlocks(std::size_t blocks);

/// A second index of "entries" entries without name or size, all zeros.
[[nodiscard]] HostileModel EmptyIndexEntries(std::size_t entries);

/// A second index of as many empty entries, each of a stream of its own.
[[nodiscard]] HostileModel StreamsOfShortNames(std::size_t streams);

/// A geometry of "count" results, each at a step of its own, and as many parts: the names of all
/// results, steps and parts differ and have one std::hash.
[[nodiscard]] HostileModel NamesOfOneHash(std::size_t count);

/// Such names, of 16 bytes each.
[[nodiscard]] std::vector<std::string> StringsOfOneHash(std::size_t count);

}  // namespace tevtest
