// Writes geometries in the CDF text format.

#include "Lbt/Tev/TevInfo/CdfExport.h"

#include <cstddef>
#include <map>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/TextBuffer.h"
#include "Lbt/Util/ToString.h"

namespace LbtTev::Report {

namespace {

using Lbt::Util::TextBuffer;
using Variable = Geometry::VarStruct;

/// The end of a keyword line: with the step that stands after the first " = " of the
/// instance name.
void EndKeyword(TextBuffer& text, const std::string& instance) {
  constexpr std::string_view kBeforeStep = " = ";
  if (!instance.empty()) {
    const std::size_t separator = instance.find(kBeforeStep);
    const std::string step = instance.substr(separator).substr(kBeforeStep.size());
    text.Add(",STEP=").AddNumber(Lbt::Util::FromString<float>(step));
  }
  text.Add("\n");
}

template <class T>
std::vector<T> Load(const Variable& variable) {
  std::vector<T> values;
  if (variable.array.loader != nullptr) {
    variable.array.loader->LoadTo(values);
  }
  return values;
}

/// Values separated by commas, with a line feed after every "perLine"-th.
template <class T>
void AddLines(TextBuffer& text, const std::vector<T>& values, std::size_t perLine) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    text.AddNumber(values[i]).Add((i + 1) % perLine == 0 ? "\n" : ",");
  }
}

/// Goes through a connectivity list face by face.
class FaceWalk {
 public:
  explicit FaceWalk(const std::vector<unsigned int>& verticesPerFace)
      : verticesPerFace_(&verticesPerFace) {}

  /// Whether there is a face left for the next vertex.
  [[nodiscard]] bool HasFace() const { return face_ < verticesPerFace_->size(); }

  /// Takes the next vertex; true where it completes its face.
  [[nodiscard]] bool CompletesFace() {
    if (++vertex_ != (*verticesPerFace_)[face_]) {
      return false;
    }
    ++face_;
    vertex_ = 0;
    return true;
  }

 private:
  const std::vector<unsigned int>* verticesPerFace_;
  std::size_t face_ = 0;
  std::size_t vertex_ = 0;
};

bool Covers(const std::vector<unsigned int>& verticesPerFace, std::size_t vertexCount) {
  FaceWalk walk(verticesPerFace);
  for (std::size_t i = 0; i < vertexCount; ++i) {
    if (!walk.HasFace()) {
      return false;
    }
    static_cast<void>(walk.CompletesFace());
  }
  return true;
}

/// Writes one geometry.
class GeometryExport {
 public:
  GeometryExport(const Geometry& geometry, TextBuffer& text) : geometry_(&geometry), text_(&text) {
    for (const Variable& variable : geometry.variables) {
      if (variable.variableType == Geometry::VariableType::VerticesPerFace) {
        verticesPerFace_[VariableName(variable.name).instance] = &variable;
      }
    }
  }

  /// Keeps the variable at work in "place".
  void Write(CdfPlace& place) {
    text_->Add("*HEADER,TITLE=\"Test\"\n*ANALYSIS,NAME=\"Test\"\n");
    for (std::size_t i = 0; i < geometry_->variables.size(); ++i) {
      place.variableIndex = i;
      place.variableName = geometry_->variables[i].name;
      Write(geometry_->variables[i]);
    }
  }

 private:
  void Write(const Variable& variable) {
    const VariableName name(variable.name);
    if (variable.array.width == 0 ||
        variable.variableType == Geometry::VariableType::VerticesPerFace) {
      return;
    }
    if (Geometry::IsConnectivity(variable.variableType)) {
      WriteFaces(variable, name);
    } else if (variable.variableType == Geometry::VariableType::Coordinates) {
      WriteValues("*VERTICES", variable, name);
    } else if (name.result != MeshName::kNodeIds) {
      WriteValues("*RESULT,NAME=\"" + std::string(name.result) + "\"", variable, name);
    }
  }

  void WriteValues(const std::string& keyword, const Variable& variable, const VariableName& name) {
    text_->Add(keyword);
    EndKeyword(*text_, std::string(name.instance));
    AddLines(*text_, Load<float>(variable), variable.array.width);
  }

  void WriteFaces(const Variable& variable, const VariableName& name) {
    const auto partner = verticesPerFace_.find(name.instance);
    if (partner == verticesPerFace_.end()) {
      return;
    }
    const auto vertices = Load<unsigned int>(variable);
    const auto verticesPerFace = Load<unsigned int>(*partner->second);
    if (!Covers(verticesPerFace, vertices.size())) {
      return;
    }
    text_->Add("*FACES");
    EndKeyword(*text_, std::string(name.instance));
    FaceWalk walk(verticesPerFace);
    for (const unsigned int vertex : vertices) {
      text_->AddNumber(vertex).Add(walk.CompletesFace() ? "\n" : ",");
    }
    WriteFaceSet(verticesPerFace.size(), name);
  }

  void WriteFaceSet(std::size_t faceCount, const VariableName& name) {
    constexpr std::size_t kPerLine = 7;
    text_->Add("*FACESET,NAME=\"").Add(geometry_->name).Add("\"");
    EndKeyword(*text_, std::string(name.instance));
    for (std::size_t face = 0; face < faceCount; ++face) {
      text_->AddNumber(std::uint64_t{face}).Add((face + 1) % kPerLine == 0 ? "\n" : ",");
    }
    // The test is on the count plus one, as readers of the format have it: a count that
    // is a multiple of seven ends with an empty line, one short of it with a comma.
    if ((faceCount + 1) % kPerLine != 0) {
      text_->Add("\n");
    }
  }

  const Geometry* geometry_;
  TextBuffer* text_;
  std::map<std::string_view, const Variable*> verticesPerFace_;  // by views of the variables' names
};

}  // namespace

void WriteCdf(const Tree& tree, const std::string& geometryName, std::ostream& stream,
              CdfPlace* place) {
  TextBuffer text(stream);
  CdfPlace unwanted;
  CdfPlace& at = place == nullptr ? unwanted : *place;
  for (const auto& [id, entry] : tree.GetNodes()) {
    const auto* geometry = dynamic_cast<const Geometry*>(entry.data);
    if (geometry != nullptr && geometry->name == geometryName) {
      at.geometryId = id;
      GeometryExport(*geometry, text).Write(at);
    }
  }
  text.Flush();
}

}  // namespace LbtTev::Report
