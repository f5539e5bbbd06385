// A model as one page that needs no other file.

#include "tev/ViewPage.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/View/Colours.h"
#include "Lbt/Tev/View/Page.h"
#include "Lbt/Tev/View/PageContents.h"
#include "tev/FieldOptions.h"
#include "tev/Json.h"
#include "tev/ModelFacts.h"
#include "tev/ViewPicture.h"
#include "tev/VisibleText.h"

namespace {

using namespace LbtTev::Analysis;
using namespace LbtTev::View;

/// A page on its way: what it could show, and which steps it does show.
struct PageDraft {
  std::vector<FieldWithStatistics> fields{};
  std::vector<FieldStatistics> statistics{};  ///< of the same fields
  PageContents contents{};
  std::set<std::size_t> steps{};
  std::vector<std::string> notes{};
  Shot start{};                  ///< what it shows at first
  std::set<std::string> told{};  ///< of what is missing
};

std::string NameOfFile(const Input& input) {
  return ValidText(std::filesystem::path(input.path).filename().string());
}

void GatherFields(const Model& model, unsigned int jobs, AnswerWriter& writer, PageDraft& draft) {
  const auto fields = SelectFields(model, {});
  GatherStatistics(
      model, fields,
      [&](const FieldOfPart& field, const FieldStatistics& result) {
        if (result.failure != nullptr) {
          writer.AddMissing(NameOfField(model, field) + ": " + FailureOf(result.failure).what());
        }
        draft.fields.push_back({field, result.statistics});
        draft.statistics.push_back(result);
      },
      jobs - 1);
}

/// Values kept by what changes from step to step take less, and can only be had with all steps.
enum class Kept { InTurn, OneByOne };

void GatherContents(const Model& model, const CellRules& cells, const ViewPageOptions& options,
                    Kept kept, PictureOfPage& picture, AnswerWriter& writer, Page& page,
                    PageDraft& draft) {
  const auto tell = [&](const MeshOfPart& mesh, const std::exception_ptr& failure) {
    const std::string text =
        NameOfMesh(model, mesh.part, mesh.step) + ": " + FailureOf(failure).what();
    if (draft.told.insert(text).second) {
      writer.AddMissing(text);
    }
  };
  const auto takeSkin = [&picture](const MeshOfPart& mesh, const PartSkin& skin) {
    picture.Take(mesh, skin);
  };
  const auto takeField = [&picture](const FieldOfPart& field, const FloatTuples& tuples) {
    picture.Take(field, tuples);
  };
  draft.contents = FillPage(
      model, draft.fields, cells,
      {.isExact = options.isExact, .isInTurn = kept == Kept::InTurn, .threads = options.jobs - 1},
      page, {.skinFound = takeSkin, .fieldFound = takeField, .meshFailed = tell});
}

Json MeshJson(const PageMesh& mesh) {
  return {{"step", JsonOrNull(mesh.step)},
          {"xyz", mesh.xyz},
          {"nodes", mesh.nodes},
          {"lengths", mesh.lengths},
          {"triangles", mesh.triangles},
          {"nodeIds", mesh.nodeIds},
          {"faceIds", mesh.faceIds},
          {"hasNodeIds", mesh.hasNodeIds},
          {"hasElementIds", mesh.hasElementIds}};
}

Json ValuesJson(const PageField& field) {
  Json components = Json::array();
  for (const PageComponent& each : field.components) {
    components.push_back({{"data", each.data},
                          {"holes", JsonOrNull(each.holes)},
                          {"min", each.min},
                          {"max", each.max}});
  }
  Json marks = Json::array();
  for (const PageMark& each : field.marks) {
    marks.push_back({{"min", each.min}, {"max", each.max}});
  }
  return {{"ofFaces", field.ofFaces},
          {"before", JsonOrNull(field.before)},
          {"components", components},
          {"marks", marks}};
}

bool IsOn(const PageDraft& draft, std::optional<std::size_t> step) {
  return !step || draft.steps.contains(*step);
}

Json NotesJson(const Model& model, const PageDraft& draft) {
  Json notes = Json::array();
  if (draft.steps.size() < model.Steps().size()) {
    notes.push_back("Shown are " + std::to_string(draft.steps.size()) + " of " +
                    std::to_string(model.Steps().size()) +
                    " steps, to keep this page small; the tables and the chart tell of all.");
  }
  for (const std::string& note : draft.notes) {
    notes.push_back(note);
  }
  return notes;
}

/// The result and the step that the page shows at first, which are those of its picture.
Json StartJson(const Shot& start) {
  return {{"result", start.result ? Json(ValidText(*start.result)) : Json(nullptr)},
          {"step", JsonOrNull(start.step)}};
}

/// The colours from the least number to the greatest, as six digits each.
std::string HexOf(Colours colours) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const std::uint32_t colour : TableOf(colours)) {
    for (const unsigned int shift : {20U, 16U, 12U, 8U, 4U, 0U}) {
      text += kDigits[(colour >> shift) & 0xFU];
    }
  }
  return text;
}

void WriteView(const Model& model, const ViewPageOptions& options, const PageDraft& draft,
               JsonWriter& json) {
  json.Key("view");
  json.OpenObject();
  json.Member("exact", options.isExact);
  json.Member("colours",
              {{"viridis", HexOf(Colours::Viridis)}, {"cividis", HexOf(Colours::Cividis)}});
  json.Member("notes", NotesJson(model, draft));
  json.Member("start", StartJson(draft.start));
  json.Member("steps", std::vector<std::size_t>(draft.steps.begin(), draft.steps.end()));
  json.Key("parts");
  json.OpenList();
  for (const auto& meshes : draft.contents.meshes) {
    Json list = Json::array();
    for (const PageMesh& mesh : meshes) {
      if (IsOn(draft, mesh.step)) {
        list.push_back(MeshJson(mesh));
      }
    }
    json.Value(list);
  }
  json.Close();
  json.Key("values");
  json.OpenList();
  for (std::size_t i = 0; i < draft.fields.size(); ++i) {
    const auto& field = draft.contents.fields[i];
    json.Value(field && IsOn(draft, draft.fields[i].field.field->step) ? ValuesJson(*field)
                                                                       : Json(nullptr));
  }
  json.Close();
  json.Close();
}

/// A stream of text that throws on a lack of memory, where others end early without a word.
std::ostringstream TextStream() {
  std::ostringstream stream;
  stream.exceptions(std::ios::badbit);
  return stream;
}

/// What the script of the page reads.
std::string ModelText(const Model& model, const Input& input, const ViewPageOptions& options,
                      const PageDraft& draft, const LostData& lost) {
  std::ostringstream text = TextStream();
  JsonWriter json(text, JsonLayout::OneLine);
  json.OpenObject();
  json.Member("file", NameOfFile(input));
  json.Key("info");
  json.OpenObject();
  WriteInfoJson(model, lost, nullptr, json);
  json.Close();
  json.Key("fields");
  json.OpenList();
  for (std::size_t i = 0; i < draft.fields.size(); ++i) {
    WriteFieldJson(model, draft.fields[i].field, &draft.statistics[i], json);
  }
  json.Close();
  WriteView(model, options, draft, json);
  json.Close();
  return text.str();
}

void AddNotes(const Model& model, const ViewPageOptions& options, const AnswerWriter& writer,
              PageDraft& draft) {
  constexpr std::size_t kMostLosses = 10;
  for (const std::string& text : writer.MissingTexts(kMostLosses)) {
    draft.notes.push_back("Damaged: " + ValidText(text));
  }
  draft.notes.emplace_back(
      options.isExact ? "Values are exact."
                      : "Colours and picked values are shown to 1 in 65,535 of the range of each "
                        "component over all steps; those of marks and tables are exact.");
  for (std::size_t part = 0; part < draft.contents.taken.size(); ++part) {
    if (!draft.contents.taken[part].empty()) {
      draft.notes.push_back(ValidText(TextOnTaken(model, part, draft.contents.taken[part])));
    }
  }
}

/// How many steps a page has that is as small as is asked for.
std::size_t MostSteps(std::size_t all, const ViewPageOptions& options,
                      const std::function<std::uint64_t(std::size_t)>& sizeWith) {
  if (!options.maxSize || sizeWith(all) <= *options.maxSize) {
    return all;
  }
  std::size_t fits = std::min<std::size_t>(all, 1);
  if (const std::uint64_t least = sizeWith(fits); least > *options.maxSize) {
    throw UsageError("--max-size: the page has at least " + std::to_string(least) + " bytes");
  }
  std::size_t tooMany = all;
  while (tooMany - fits > 1) {
    const std::size_t middle = fits + (tooMany - fits) / 2;
    (sizeWith(middle) <= *options.maxSize ? fits : tooMany) = middle;
  }
  return fits;
}

std::string TitleOf(const Model& model, const Input& input) {
  const std::string title = model.Title().value_or("");
  return title.empty() ? NameOfFile(input) : ValidText(title);
}

}  // namespace

std::string PageOf(const Model& model, const Input& input, AnswerWriter& writer,
                   const CellRules& cells, const ViewPageOptions& options) {
  Page page;
  PageDraft draft;
  PictureOfPage picture(model, cells);
  draft.start = picture.GetShot();
  GatherFields(model, options.jobs, writer, draft);
  GatherContents(model, cells, options, Kept::InTurn, picture, writer, page, draft);
  const std::string png = picture.Draw(input, draft.fields);
  AddNotes(model, options, writer, draft);
  const auto contents = [&](std::size_t steps) {
    draft.steps = EvenSteps(model.Steps().size(), steps);
    return Page::Contents{.title = TitleOf(model, input),
                          .model = ModelText(model, input, options, draft, writer.Lost()),
                          .picture = png};
  };
  const auto sizeWith = [&](std::size_t count) {
    const Page::Contents tried = contents(count);
    return page.Size(tried, BlocksAt(draft.contents, draft.fields, draft.steps));
  };
  const std::size_t all = model.Steps().size();
  if (options.maxSize && sizeWith(all) > *options.maxSize) {
    page = Page();
    GatherContents(model, cells, options, Kept::OneByOne, picture, writer, page, draft);
  }
  const Page::Contents chosen = contents(MostSteps(all, options, sizeWith));
  std::ostringstream out = TextStream();
  page.Write(chosen, BlocksAt(draft.contents, draft.fields, draft.steps), out);
  return out.str();
}
