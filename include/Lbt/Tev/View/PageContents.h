#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/View/Page.h"
#include "Lbt/Tev/View/Skin.h"
#include "Lbt/Tev/View/Values.h"

namespace LbtTev::View {

/// A mesh of a part as blocks. Its points are the nodes of its skin, and those of elements and
/// nodes that are marked, in ascending order.
struct PageMesh {
  std::optional<std::size_t> step{};  ///< from which it holds; none: at every other step
  Page::Block xyz = 0;                ///< floats, three for each point
  Page::Block nodes = 0;              ///< wholes: the points around each face, face by face
  Page::Block lengths = 0;            ///< wholes: of each face, how many these are
  Page::Block triangles = 0;          ///< wholes: the triangles of faces of more than three points
  Page::Block nodeIds = 0;            ///< wholes: of points; their nodes' places without ids
  Page::Block faceIds = 0;            ///< wholes: of the elements of faces; the same
  bool hasNodeIds = false;
  bool hasElementIds = false;
};

/// Values of one component of a field, for each point of a mesh, or for each face of it.
struct PageComponent {
  Page::Block data = 0;                ///< steps of the range; floats on an exact page
  std::optional<Page::Block> holes{};  ///< wholes: places of values that are not finite
  double min = 0;                      ///< what the first and the last step stand for
  double max = 0;
};

/// The points between which the extremes of a component lie.
struct PageMark {
  std::vector<std::size_t> min{};
  std::vector<std::size_t> max{};
};

struct PageField {
  bool ofFaces = false;
  std::optional<std::size_t> before{};  ///< the field, by its place, to whose steps these differ
  std::vector<PageComponent> components{};
  std::vector<PageMark> marks{};  ///< of each component; then of the magnitude, where there is one
};

/// What of a model stands on a page.
struct PageContents {
  std::vector<std::vector<PageMesh>> meshes{};     ///< of each part
  std::vector<std::optional<PageField>> fields{};  ///< none where it belongs to no mesh
  std::vector<Analysis::TakenShapes> taken{};      ///< what elements became, of each part
};

/// How a page is filled.
struct PageStyle {
  bool isExact = false;   ///< as the floats that they are
  bool isInTurn = false;  ///< by what changes from step to step, which is less, and needs them all
  std::size_t threads = 0;  ///< that inflate blocks ahead
};

/// Hears of what is put on a page: the meshes, each part's at each step of its own, then the
/// fields.
struct PageListener {
  std::function<void(const Analysis::MeshOfPart&, const PartSkin&)> skinFound;
  std::function<void(const Analysis::FieldOfPart&, const Analysis::FloatTuples&)> fieldFound;
  std::function<void(const Analysis::MeshOfPart&, const std::exception_ptr&)> meshFailed;
};

/// Puts the outer faces of all parts at all steps on a page, with the values of these fields on
/// them. What cannot be read is left out. Reads the file three times at most. Throws on a lack of
/// memory, and "Out of Bounds" ("The model refers to its data too often").
[[nodiscard]] PageContents FillPage(const Analysis::Model& model,
                                    std::span<const FieldWithStatistics> fields,
                                    const Analysis::CellRules& rules, const PageStyle& style,
                                    Page& page, const PageListener& listener);

/// The blocks that a page needs for these steps alone, and for what has no step.
[[nodiscard]] std::set<Page::Block> BlocksAt(const PageContents& contents,
                                             std::span<const FieldWithStatistics> fields,
                                             const std::set<std::size_t>& steps);

/// "count" of so many steps, as evenly as they come, the last one among them.
[[nodiscard]] std::set<std::size_t> EvenSteps(std::size_t steps, std::size_t count);

}  // namespace LbtTev::View
