// Writes the faces of meshes for tev values.

#include "tev/MeshValues.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/FaceChecks.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "tev/FieldOptions.h"
#include "tev/ValueForms.h"

namespace {

using namespace LbtTev::Analysis;

struct LoadedFaces {
  std::span<const unsigned int> nodes;
  std::span<const unsigned int> lengths;
  std::span<const float> ids;
};

/// The numbers of a mesh, what its faces come to, and what is wrong with them.
struct CheckedMesh {
  LoadedGroup numbers;
  FaceExtent extent;
  std::exception_ptr failure;
};

/// The numbers of all meshes, in their order: all that was asked for is in memory, since how many
/// columns a table has is known at its end.
std::vector<CheckedMesh> LoadFaces(const Model& model, const std::vector<MeshOfPart>& asked) {
  std::vector<WantedGroup> wanted;
  wanted.reserve(asked.size());
  for (const MeshOfPart& each : asked) {
    wanted.push_back({{each.mesh.faces, true}, {each.mesh.lengths, true}, {each.mesh.elementIds}});
  }
  std::vector<CheckedMesh> all(asked.size());
  FaceChecks checks(model.GetTree());
  LoadInFileOrder({&model.GetTree(), wanted}, [&](std::size_t place, const LoadedGroup& loaded) {
    CheckedMesh& mesh = all[place];
    mesh.numbers = loaded;
    mesh.failure = FailureOf({loaded[0], loaded[1]});
    if (mesh.failure == nullptr) {
      mesh.failure = FailureOfLoad(model.GetTree(), [&] {
        mesh.extent = checks.Check(
            loaded[0], loaded[1],
            PointsOf(model.Parts()[asked[place].part], asked[place].mesh, asked[place].step));
      });
    }
  });
  return all;
}

/// The faces of a mesh; tells "writer" where they, or their ids, are damaged.
std::optional<LoadedFaces> FacesOf(const Model& model, const MeshOfPart& asked,
                                   const CheckedMesh& mesh, AnswerWriter& writer) {
  const LoadedGroup& loaded = mesh.numbers;
  const bool hasFaces = mesh.failure == nullptr;
  const std::exception_ptr failure = hasFaces ? loaded[2].failure : mesh.failure;
  if (failure != nullptr) {
    writer.AddMissing(NameOfMesh(model, asked.part, asked.step) + ": " + FailureOf(failure).what());
  }
  return hasFaces ? std::optional(
                        LoadedFaces{loaded[0].Wholes(), loaded[1].Wholes(), loaded[2].Floats()})
                  : std::nullopt;
}

void WriteFaces(const Model& model, const MeshOfPart& asked, const LoadedFaces& faces, Rows& rows) {
  const std::string head =
      std::to_string(model.Parts()[asked.part].id) + ',' + Cell(StepText(model, asked.step)) + ',';
  std::size_t next = 0;
  for (std::size_t face = 0; face < faces.lengths.size(); ++face) {
    rows.Add(head).AddNumber(face).Add(",");
    rows.AddId(IdAt(faces.ids, face));
    for (const std::size_t end = next + faces.lengths[face]; next < end; ++next) {
      rows.Add(",").AddNumber(faces.nodes[next]);
    }
    rows.EndRow();
  }
}

void WriteFacesAsCsv(const Model& model, const std::vector<MeshOfPart>& asked,
                     AnswerWriter& writer) {
  const std::vector<CheckedMesh> loaded = LoadFaces(model, asked);
  std::vector<std::optional<LoadedFaces>> faces;
  unsigned int longest = 0;
  for (std::size_t i = 0; i < asked.size(); ++i) {
    faces.push_back(FacesOf(model, asked[i], loaded[i], writer));
    longest = faces.back() ? std::max(longest, loaded[i].extent.longest) : longest;
  }
  Rows rows(writer.Text());
  rows.Add("part,step,index,id");
  for (unsigned int i = 0; i < longest; ++i) {
    rows.Add(",n").AddNumber(i + 1);
  }
  rows.EndRow();
  for (std::size_t i = 0; i < asked.size(); ++i) {
    if (faces[i]) {
      WriteFaces(model, asked[i], *faces[i], rows);
    }
  }
}

/// "m.npy" becomes "m.offsets.npy".
std::string PathWith(const std::string& path, const std::string& part) {
  constexpr std::string_view kEnding = ".npy";
  const std::string stem =
      path.ends_with(kEnding) ? path.substr(0, path.size() - kEnding.size()) : path;
  return stem + '.' + part + std::string(kEnding);
}

void WriteNpyFile(const std::string& path, const std::string& model,
                  std::span<const unsigned int> numbers) {
  AnswerOutput output(path);
  output.RequireApartFrom({model});
  WriteNpyHeader(output.Stream(), "<u4", std::to_string(numbers.size()) + ',');
  WriteRaw<unsigned int>(output.Stream(), numbers);
  output.Finish();
}

void WriteFacesAsNpy(const LoadedFaces& faces, const std::string& path, const std::string& model) {
  std::vector<unsigned int> offsets{0};
  for (const unsigned int length : faces.lengths) {
    offsets.push_back(offsets.back() + length);
  }
  WriteNpyFile(PathWith(path, "offsets"), model, offsets);
  WriteNpyFile(PathWith(path, "indices"), model, faces.nodes);
}

}  // namespace

void AnswerMesh(const Model& model, const Selection& selection, const Input& input,
                AnswerWriter& writer, const std::optional<std::string>& npyOutput) {
  const auto asked = Selecting(input.path, [&] {
    return MeshesOfParts(model, SelectParts(model, selection.parts),
                         SelectedSteps(model, selection.steps), &MeshVariables::faces);
  });
  if (asked.empty()) {
    throw UsageError(input.path + ": no mesh with faces fits what is asked for");
  }
  if (!npyOutput) {
    WriteFacesAsCsv(model, asked, writer);
    return;
  }
  if (asked.size() != 1) {
    throw UsageError(input.path + ": npy holds one mesh, and " + std::to_string(asked.size()) +
                     " fit");
  }
  const std::vector<CheckedMesh> loaded = LoadFaces(model, asked);
  if (const auto faces = FacesOf(model, asked.front(), loaded.front(), writer)) {
    WriteFacesAsNpy(*faces, *npyOutput, input.source);
  }
}
