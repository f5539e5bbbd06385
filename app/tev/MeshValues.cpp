// Writes the faces of meshes for tev values.

#include "tev/MeshValues.h"

#include <algorithm>
#include <array>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "tev/FieldOptions.h"
#include "tev/ValueForms.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;

constexpr std::array<MeshRole, 1> kFaces{&MeshVariables::faces};

/// The faces of one part at one step.
struct AskedFaces {
  std::size_t part = 0;
  std::optional<std::size_t> step;
  MeshVariables mesh;
};

/// A mesh is that of each step that has faces of its own.
std::vector<AskedFaces> FindFaces(const Model& model, const Selection& selection) {
  std::vector<AskedFaces> found;
  const SelectedSteps steps(model, selection.steps);
  RepeatedRows rows(model);
  for (const std::size_t part : SelectParts(model, selection.parts)) {
    for (const auto& step : model.StepsWith(model.Parts()[part], kFaces)) {
      if (steps.Has(step)) {
        rows.Add(part, step ? model.Steps()[*step].text : "");
        found.push_back({part, step, model.MeshAt(model.Parts()[part], step)});
      }
    }
  }
  return found;
}

struct LoadedFaces {
  std::span<const unsigned int> nodes;
  std::span<const unsigned int> lengths;
  std::span<const float> ids;
};

/// "part "Arm", mesh, step "Time = 1"".
std::string NameOfMesh(const Model& model, const AskedFaces& asked) {
  return "part " + QuotedText(model.Parts()[asked.part].name) + ", mesh" +
         (asked.step ? ", step " + QuotedText(model.Steps()[*asked.step].text) : "");
}

/// Hands the faces of all meshes out in their order; tells "writer" of those that fail.
void ForFaces(const Model& model, const std::vector<AskedFaces>& asked, AnswerWriter& writer,
              const std::function<void(const AskedFaces&, const LoadedFaces&)>& take) {
  std::vector<WantedGroup> wanted;
  wanted.reserve(asked.size());
  for (const AskedFaces& each : asked) {
    wanted.push_back({{each.mesh.faces, true}, {each.mesh.lengths, true}, {each.mesh.elementIds}});
  }
  InOrder<LoadedGroup> inOrder([&](std::size_t place, const LoadedGroup& loaded) {
    const AskedFaces& each = asked[place];
    const LoadedFaces faces{loaded[0].Wholes(), loaded[1].Wholes(), loaded[2].Floats()};
    std::exception_ptr failure = FailureOf(loaded);
    if (failure == nullptr) {
      failure = FailureOfLoad(model.GetTree(), [&] {
        CheckFaces(faces.nodes, faces.lengths,
                   each.mesh.coordinates == nullptr ? 0 : TuplesOf(each.mesh.coordinates->array));
      });
    }
    if (failure != nullptr) {
      writer.AddMissing(NameOfMesh(model, each) + ": " + FailureOf(failure).what());
    } else {
      take(each, faces);
    }
  });
  LoadInFileOrder({&model.GetTree(), wanted}, [&](std::size_t place, const LoadedGroup& loaded) {
    inOrder.Add(place, loaded);
  });
}

void WriteFaces(const Model& model, const AskedFaces& asked, const LoadedFaces& faces, Rows& rows) {
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

/// How many nodes the longest face has; lengths that cannot be read are told later.
unsigned int LongestFaceOf(const Model& model, const std::vector<AskedFaces>& asked) {
  std::vector<WantedGroup> wanted;
  wanted.reserve(asked.size());
  for (const AskedFaces& each : asked) {
    wanted.push_back({{each.mesh.faces, true}, {each.mesh.lengths, true}});
  }
  unsigned int longest = 0;
  LoadInFileOrder({&model.GetTree(), wanted},
                  [&](std::size_t /*place*/, const LoadedGroup& loaded) {
                    const std::size_t nodes = loaded[0].Wholes().size();
                    for (const unsigned int length : loaded[1].Wholes()) {
                      longest = length <= nodes ? std::max(longest, length) : longest;
                    }
                  });
  return longest;
}

void WriteFacesAsCsv(const Model& model, const std::vector<AskedFaces>& asked,
                     AnswerWriter& writer) {
  const unsigned int longest = LongestFaceOf(model, asked);
  Rows rows(writer.Text());
  rows.Add("part,step,index,id");
  for (unsigned int i = 0; i < longest; ++i) {
    rows.Add(",n").AddNumber(i + 1);
  }
  rows.EndRow();
  ForFaces(model, asked, writer, [&](const AskedFaces& each, const LoadedFaces& faces) {
    WriteFaces(model, each, faces, rows);
  });
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
  const auto asked = Selecting(input.path, [&] { return FindFaces(model, selection); });
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
  ForFaces(model, asked, writer, [&](const AskedFaces& /*each*/, const LoadedFaces& faces) {
    WriteFacesAsNpy(faces, *npyOutput, input.source);
  });
}
