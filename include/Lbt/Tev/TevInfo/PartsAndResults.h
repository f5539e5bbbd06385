#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/TevInfo/TevDataset.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/AttributeValue.h"

/// Names of shapes by the name of the group that they lie under, in tree order.
using GroupListing = std::map<std::string, std::vector<std::string>>;

/// The attributes of every result variable, in tree order, with "Result Name" and
/// "Instance Name" added.
using ResultAttributeList = std::vector<LbtUtil::AttributeMap>;

/// Thrown where a shape's first child exists and is no geometry: a broken invariant
/// of the model, not a failure of its reading. No std::exception, so that no handler of
/// failures takes it for one; a program that does not catch it ends.
struct GeometryAssertion {
  /// What does not hold.
  static constexpr const char* kExpression = "0 != pTevGeometry";
};

using LbtTev::VariableName;

/// Takes a result variable and the parts of its name.
using ResultSink =
    std::function<void(const LbtTev::Geometry::VarStruct& variable, const VariableName& name)>;

/// The attributes of a result variable with "Result Name" and, where it has one,
/// "Instance Name" added.
[[nodiscard]] LbtUtil::AttributeMap AttributesOf(const LbtTev::Geometry::VarStruct& variable,
                                                 const VariableName& name);

/// Walks over all shapes of a tree, in ascending order of id, and gathers where they
/// lie, the results that their geometries carry and, where "datasets" is not null, the
/// numbers of all variables.
///
/// Throws "Element Not Found" for a shape without a first child, "Out of Bounds" where the
/// data sets would repeat more than 128 MiB of names, what loading numbers throws, and
/// GeometryAssertion; what was gathered until then stays.
void GatherPartsAndResults(const LbtTev::Tree& tree, GroupListing& groups,
                           const ResultSink& addResult, std::vector<TevDataset>* datasets);

/// The same, with the attributes of all results as a list.
void GatherPartsAndResults(const LbtTev::Tree& tree, GroupListing& groups,
                           ResultAttributeList& results, std::vector<TevDataset>* datasets);

/// The attributes of the root, where it is a group.
void GatherRootAttributes(const LbtTev::Tree& tree, LbtUtil::AttributeMap& attributes);
