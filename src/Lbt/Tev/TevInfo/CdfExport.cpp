// Writes geometries in the CDF text format.

#include "Lbt/Tev/TevInfo/CdfExport.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <utility>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/NumberText.h"
#include "Lbt/Util/TextBuffer.h"
#include "ValueStore.h"

namespace LbtTev::Report {

namespace {

using Lbt::Util::TextBuffer;
using Variable = Geometry::VarStruct;

/// The end of a keyword line: with the step that stands after the first " = " of the
/// instance name.
void EndKeyword(TextBuffer& text, const std::string& instance) {
  if (!instance.empty()) {
    const std::size_t separator = instance.find(kBeforeValue);
    const std::string step = instance.substr(separator).substr(kBeforeValue.size());
    text.Add(",STEP=").AddNumber(Lbt::Util::FromString<float>(step));
  }
  text.Add("\n");
}

/// Values separated by commas, with a line feed after every "perLine"-th.
void AddLines(TextBuffer& text, std::span<const float> values, std::size_t perLine) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    text.AddNumber(values[i]).Add((i + 1) % perLine == 0 ? "\n" : ",");
  }
}

/// Goes through a connectivity list face by face.
class FaceWalk {
 public:
  explicit FaceWalk(const SharedValues<unsigned int>& lengths) : lengths_(lengths) {}

  /// Takes the next vertex, for which there must be a face; true where it completes that one.
  [[nodiscard]] bool CompletesFace() {
    if (++vertex_ != lengths_[face_]) {
      return false;
    }
    ++face_;
    vertex_ = 0;
    return true;
  }

 private:
  std::span<const unsigned int> lengths_;
  std::size_t face_ = 0;
  std::size_t vertex_ = 0;
};

/// Whether there is a face for each vertex. A face of no vertices is one that never ends.
bool Covers(const SharedValues<unsigned int>& lengths, std::size_t vertexCount) {
  for (const unsigned int length : lengths) {
    if (length == 0 || length >= vertexCount) {
      return true;
    }
    vertexCount -= length;
  }
  return vertexCount == 0;
}

/// What is written of a variable.
enum class BlockKind { None, Vertices, Faces, Result };

BlockKind KindOf(const Variable& variable) {
  using Type = Geometry::VariableType;
  if (variable.array.width == 0 || variable.variableType == Type::VerticesPerFace) {
    return BlockKind::None;
  }
  if (Geometry::IsConnectivity(variable.variableType)) {
    return BlockKind::Faces;
  }
  if (variable.variableType == Type::Coordinates) {
    return BlockKind::Vertices;
  }
  const bool isResult = VariableName(variable.name).result != MeshName::kNodeIds;
  return isResult ? BlockKind::Result : BlockKind::None;
}

/// The lengths of faces by instance name, views of the names of the variables.
using Lengths = std::map<std::string_view, const NumericArray*>;

Lengths LengthsOf(const Geometry& geometry) {
  Lengths lengths;
  for (const Variable& variable : geometry.variables) {
    if (variable.variableType == Geometry::VariableType::VerticesPerFace) {
      lengths[VariableName(variable.name).instance] = &variable.array;
    }
  }
  return lengths;
}

/// The lengths of the faces of a variable, or null.
const NumericArray* FindLengths(const Lengths& lengths, const Variable& faces) {
  const auto found = lengths.find(VariableName(faces.name).instance);
  return found == lengths.end() ? nullptr : found->second;
}

/// Writes geometries. Their values are loaded once, however many variables claim them.
class CdfWriter {
 public:
  explicit CdfWriter(std::ostream& stream) : text_(stream) {}

  /// Says that a geometry will be written, so that values are kept as long as they are wanted.
  void Expect(const Geometry& geometry) {
    const Lengths lengths = LengthsOf(geometry);
    for (const Variable& variable : geometry.variables) {
      const BlockKind kind = KindOf(variable);
      const NumericArray* ofFaces = FindLengths(lengths, variable);
      if (kind == BlockKind::Faces && ofFaces != nullptr) {
        values_.Expect(variable.array);
        values_.Expect(*ofFaces);
      } else if (kind == BlockKind::Vertices || kind == BlockKind::Result) {
        values_.Expect(variable.array);
      }
    }
  }

  /// Keeps the variable at work, and where its numbers lie, in "place".
  void Write(const Geometry& geometry, CdfPlace& place) {
    place_ = &place;
    text_.Add("*HEADER,TITLE=\"Test\"\n*ANALYSIS,NAME=\"Test\"\n");
    const Lengths lengths = LengthsOf(geometry);
    for (std::size_t i = 0; i < geometry.variables.size(); ++i) {
      const Variable& variable = geometry.variables[i];
      place.variableIndex = i;
      place.variableName = variable.name;
      place.position.reset();
      const BlockKind kind = KindOf(variable);
      if (kind == BlockKind::Faces) {
        WriteFaces(geometry, variable, FindLengths(lengths, variable));
      } else if (kind != BlockKind::None) {
        WriteValues(kind, variable);
      }
    }
  }

  void Finish() { text_.Flush(); }

 private:
  const NumericArray& Locate(const NumericArray& array) {
    if (array.loader != nullptr) {
      place_->position = array.loader->GetPosition();
    }
    return array;
  }

  void WriteValues(BlockKind kind, const Variable& variable) {
    const VariableName name(variable.name);
    if (kind == BlockKind::Vertices) {
      text_.Add("*VERTICES");
    } else {
      text_.Add("*RESULT,NAME=\"").Add(name.result).Add("\"");
    }
    EndKeyword(text_, std::string(name.instance));
    AddLines(text_, values_.LoadFloats(Locate(variable.array)), variable.array.width);
  }

  void WriteFaces(const Geometry& geometry, const Variable& variable,
                  const NumericArray* lengthsOfFaces) {
    if (lengthsOfFaces == nullptr) {
      return;
    }
    const std::string instance(VariableName(variable.name).instance);
    const auto vertices = values_.LoadIntegers(Locate(variable.array));
    const auto lengths = values_.LoadIntegers(Locate(*lengthsOfFaces));
    const auto [known, isNew] =
        covered_.try_emplace({variable.array.loader.get(), lengthsOfFaces->loader.get()});
    if (isNew) {
      known->second = Covers(lengths, vertices.size());
    }
    if (!known->second) {
      return;
    }
    text_.Add("*FACES");
    EndKeyword(text_, instance);
    FaceWalk walk(lengths);
    for (const unsigned int vertex : vertices) {
      text_.AddNumber(vertex).Add(walk.CompletesFace() ? "\n" : ",");
    }
    text_.Add("*FACESET,NAME=\"").Add(geometry.name).Add("\"");
    EndKeyword(text_, instance);
    WriteFaceIndices(lengths.size());
  }

  void WriteFaceIndices(std::size_t faceCount) {
    constexpr std::size_t kPerLine = 7;
    for (std::size_t face = 0; face < faceCount; ++face) {
      text_.AddNumber(std::uint64_t{face}).Add((face + 1) % kPerLine == 0 ? "\n" : ",");
    }
    // The test is on the count plus one, as readers of the format have it: a count that
    // is a multiple of seven ends with an empty line, one short of it with a comma.
    if ((faceCount + 1) % kPerLine != 0) {
      text_.Add("\n");
    }
  }

  using Arrays = std::pair<const DataLoader*, const DataLoader*>;
  struct ByStoredData {
    bool operator()(const Arrays& a, const Arrays& b) const {
      const ValueStore::ByStoredData isLess;
      return isLess(a.first, b.first) || (!isLess(b.first, a.first) && isLess(a.second, b.second));
    }
  };

  CdfPlace* place_ = nullptr;
  TextBuffer text_;
  ValueStore values_;
  std::map<Arrays, bool, ByStoredData> covered_;  // whether lengths of faces cover vertices
};

/// Calls "use" with the ids and the geometries of a name.
template <class Use>
void ForEachGeometry(const Tree& tree, const std::string& name, Use use) {
  for (const auto& [id, entry] : tree.GetNodes()) {
    const auto* geometry = NodeCast<Geometry>(entry.data);
    if (geometry != nullptr && geometry->name == name) {
      use(id, *geometry);
    }
  }
}

}  // namespace

void WriteCdf(const Tree& tree, const std::string& geometryName, std::ostream& stream,
              CdfPlace* place) {
  CdfPlace unwanted;
  CdfPlace& at = place == nullptr ? unwanted : *place;
  const ModelStream::Request request(*tree.GetStreams().heavy);
  CdfWriter writer(stream);
  ForEachGeometry(tree, geometryName,
                  [&](unsigned int, const Geometry& geometry) { writer.Expect(geometry); });
  ForEachGeometry(tree, geometryName, [&](unsigned int id, const Geometry& geometry) {
    at.geometryId = id;
    writer.Write(geometry, at);
  });
  writer.Finish();
}

}  // namespace LbtTev::Report
