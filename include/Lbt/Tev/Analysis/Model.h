#pragma once

#include <compare>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Mesh.h"
#include "Lbt/Tev/Tree.h"

/// A model as an analyst sees it. Nothing here loads numbers of variables.
namespace LbtTev::Analysis {

/// What a part is, by the group that it lies under.
enum class PartKind { Part, CutSection, IsoSurface, IsoVolume, FlowLine, Shape };

/// What the tuples of a field belong to; Mixed for a result whose fields differ.
enum class Location { Node, Element, Unknown, Mixed };

/// "part", "cut-section", "iso-surface", "iso-volume", "flow-line", "shape".
[[nodiscard]] std::string_view TextOf(PartKind kind);
/// "node", "element", "unknown", "mixed".
[[nodiscard]] std::string_view TextOf(Location location);

/// A point on the axis that results are sorted along: a time, a frequency, a load case.
struct Step {
  /// "text" is what stands after the separator in names of variables.
  explicit Step(std::string_view instance);

  std::string text;             ///< "Time = 0.5"
  std::string label;            ///< what stands before " = ": "Time"; all of it without one
  std::optional<double> value;  ///< the number after it, where there is one
  std::string subtitle;         ///< of the first variable that has one, else empty
};

/// By label, value (none last) and text.
[[nodiscard]] std::weak_ordering operator<=>(const Step& left, const Step& right);
[[nodiscard]] bool operator==(const Step& left, const Step& right);

/// All steps of a model in a line.
struct StepRange {
  std::size_t count = 0;
  std::optional<std::string> label{};  ///< none where labels mix, like first and last
  std::optional<double> first{};       ///< least value
  std::optional<double> last{};        ///< greatest value
};

/// A result of one part at one step.
struct Field {
  std::string_view result;          ///< its name
  std::optional<std::size_t> step;  ///< index among the model's steps
  Location location = Location::Unknown;
  unsigned int components = 0;
  std::size_t count = 0;  ///< tuples
  const Geometry::VarStruct* variable = nullptr;
};

using LbtTev::kMeshRoles;
using LbtTev::MeshRole;
using LbtTev::ShownName;
using LbtTev::TuplesOf;

/// The variables that make up a mesh, with what they are to fields.
struct MeshVariables : LbtTev::MeshVariables {
  /// The ids of a field's tuples; null where these are neither nodes nor elements.
  [[nodiscard]] const Geometry::VarStruct* IdsOf(Location location) const;
};

/// A shape with its geometry.
struct Part {
  unsigned int id = 0;  ///< of the shape
  std::string name;
  bool hasNamesake = false;  ///< whether another part of the model has the same name
  PartKind kind = PartKind::Shape;
  const Geometry* geometry = nullptr;  ///< null where the model lacks it
  MeshVariables mesh;                  ///< without a step, else of its first; counted below
  std::size_t nodes = 0;
  std::size_t elements = 0;
  std::optional<double> nodesPerElement;   ///< a mean
  std::optional<unsigned int> sharesWith;  ///< id of the part that the coordinates are those of
  std::size_t content = 0;                 ///< for Model
};

/// How many points the faces of a mesh of a part at a step can name: those of its coordinates.
/// Where all coordinates have a step, faces without one are those of a mesh that moves, and have
/// the points of the part.
[[nodiscard]] std::size_t PointsOf(const Part& part, const MeshVariables& mesh,
                                   std::optional<std::size_t> step);

/// All fields of one name.
struct Result {
  std::string name;
  std::optional<unsigned int> components;  ///< none where its fields differ
  Location location = Location::Unknown;   ///< Mixed where its fields differ
};

/// Results by name, in byte order.
using ResultsByName = std::map<std::string_view, Result>;

/// Has a field count among those of its result.
void AddToResults(ResultsByName& results, const Field& field);

/// The geometry of a shape, which is its first child; null where the model lacks it.
[[nodiscard]] const Geometry* GeometryOf(const Tree& tree, const LbtAdt::TreeNode<Node*>& shape);

/// Parts, steps, fields and results of a loaded model, which may have been loaded in part.
/// Refers to the tree, which must outlive it and not change.
class Model {
 public:
  explicit Model(const Tree& tree);

  [[nodiscard]] const Tree& GetTree() const { return *tree_; }
  /// In ascending order of id.
  [[nodiscard]] const std::vector<Part>& Parts() const { return parts_; }
  /// In their order, each once. Those that only meshes have count.
  [[nodiscard]] const std::vector<Step>& Steps() const { return steps_; }
  /// By name, in byte order.
  [[nodiscard]] const std::vector<Result>& Results() const { return results_; }
  [[nodiscard]] StepRange GetStepRange() const;

  /// The fields of a part, as they are stored.
  [[nodiscard]] std::span<const Field> FieldsOf(const Part& part) const;

  /// The first field of that name, or null.
  [[nodiscard]] const Field* FindField(const Part& part, std::string_view result,
                                       std::optional<std::size_t> step) const;

  /// The mesh of a part at a step: each variable is that of the step, else the one without a
  /// step. "step" none is the mesh without a step.
  [[nodiscard]] MeshVariables MeshAt(const Part& part, std::optional<std::size_t> step) const;

  /// The steps at which a part has any of these variables of its own; none is the mesh without
  /// a step.
  [[nodiscard]] std::vector<std::optional<std::size_t>> StepsWith(
      const Part& part, std::span<const MeshRole> roles) const;

  /// Whether any field, and any variable of a mesh, has no step.
  [[nodiscard]] bool HasFieldWithoutStep() const;
  [[nodiscard]] bool HasMeshWithoutStep() const;

  /// The step of that text.
  [[nodiscard]] std::optional<std::size_t> FindStep(std::string_view text) const;

  /// The names of the groups above a part from the root down; of very many the lowest.
  [[nodiscard]] std::vector<std::string> PathOf(const Part& part) const;

  /// Counts what a path has of long names towards the request of the tree's stream. To be called
  /// before it is written: one name may stand above any number of parts. Throws "Out of Bounds"
  /// ("The model refers to its data too often").
  void ChargePathOf(const Part& part) const;

  /// The same for the paths of all parts as one request.
  void RequireModestPaths() const;

  /// Worked out from the results' attributes, as the report does.
  [[nodiscard]] const std::optional<std::string>& Title() const { return title_; }
  [[nodiscard]] const std::string& Category() const { return category_; }

  /// The "Structure" attribute of the variable, or of its link's target, where it tells nodes
  /// from elements.
  [[nodiscard]] Location StoredLocationOf(const Geometry::VarStruct& variable) const;

 private:
  /// What parts with one geometry have in common.
  struct Content {
    const Geometry* geometry = nullptr;
    std::vector<Field> fields;
    MeshesByStep<std::size_t> meshes;
  };

  void FindParts();
  void FindSteps();
  void FindFields(Content& content);
  void FindResults();
  void FindTitleAndCategory();
  void Describe(Part& part, const std::map<unsigned int, unsigned int>& partOfGeometry) const;
  [[nodiscard]] std::optional<std::size_t> StepOf(std::string_view instance) const;
  [[nodiscard]] Location LocationOf(const Content& content, const Field& field) const;

  const Tree* tree_;
  std::vector<Part> parts_;
  std::vector<Content> contents_;
  std::vector<Step> steps_;
  std::map<std::string_view, std::size_t, std::less<>> stepOfInstance_;
  std::vector<Result> results_;
  std::optional<std::string> title_;
  std::string category_;
};

/// What of a model's nodes could not be read: facts that rest on it are unknown, not zero.
struct LostData {
  std::set<unsigned int> lightOf;  ///< ids of the nodes that have no light data, or not all
  bool isLightOfAll = false;       ///< whether no node has any
  bool hasAttributes = false;      ///< whether there are attributes among it
  bool hasRecords = false;         ///< whether there are nodes among it

  [[nodiscard]] bool HasLightOf(unsigned int id) const {
    return isLightOfAll || lightOf.contains(id);
  }
};

/// Whether what the part has is unknown.
[[nodiscard]] bool IsLost(const Model& model, const Part& part, const LostData& lost);

}  // namespace LbtTev::Analysis
