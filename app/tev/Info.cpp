// tev info: what a model holds and who wrote it.

#include <array>
#include <exception>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/Entries.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "tev/Json.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

using LbtTev::ModifierInfo;
using LbtTev::Report::ModelFacts;
using LbtTev::Report::NativeFileFacts;
using LbtTev::Report::SummaryFacts;

namespace {

/// A text of a modifier record, by its label for people and its key in JSON.
struct ModifierText {
  const char* label;
  const char* key;
  std::string ModifierInfo::*text;
};

constexpr std::array<ModifierText, 6> kModifierTexts{{
    {"Application name", "applicationName", &ModifierInfo::applicationName},
    {"Application version", "applicationVersion", &ModifierInfo::applicationVersion},
    {"Tev version", "tevVersion", &ModifierInfo::tevVersion},
    {"User name", "userName", &ModifierInfo::userName},
    {"Date", "date", &ModifierInfo::date},
    {"Comment", "comment", &ModifierInfo::comment},
}};

// --- Text ---------------------------------------------------------------------------------------

/// The lines of one section, with the wording of the report.
class Lines {
 public:
  Lines& Add(const std::string& label, const std::string& value) {
    text_ += "  " + VisibleText(label) + ": " + VisibleText(value) + '\n';
    return *this;
  }

  Lines& Add(const std::string& label, const std::optional<std::string>& value) {
    return value ? Add(label, *value) : *this;
  }

  Lines& Add(const std::string& label, const std::optional<LbtUtil::AttributeValue>& value) {
    return value ? Add(label, value->GetAttributeString()) : *this;
  }

  Lines& Add(const std::string& label, std::size_t count) {
    return Add(label, std::to_string(count));
  }

  Lines& Add(const std::string& label, const std::vector<std::string>& texts) {
    return texts.empty() ? *this : Add(label, GetNameListAsString(texts));
  }

  Lines& AddHeading(const std::string& heading) {
    text_ += "  " + heading + '\n';
    return *this;
  }

  [[nodiscard]] const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

void AddFile(Lines& lines, const std::string& kind, const NativeFileFacts& facts) {
  lines.Add(kind, facts.path)
      .Add(kind + " Type", facts.type)
      .Add("Native " + kind + " Size", facts.size);
}

void AddSummary(Lines& lines, const SummaryFacts& facts) {
  lines.Add("Title", facts.title)
      .Add("Category", facts.category)
      .Add("Number of Parts", facts.parts ? facts.parts->size() : 0)
      .Add("Number of Cut-sections", facts.numberOfCutSections)
      .Add("Number of Iso-surfaces", facts.numberOfIsoSurfaces)
      .Add("Number of Iso-volumes", facts.numberOfIsoVolumes)
      .Add("Number of Flow-lines", facts.numberOfFlowLines)
      .Add("Number of Results", facts.results.size())
      .Add("Number of Instances", facts.instances.size())
      .Add("Parts", facts.parts.value_or(std::vector<std::string>()))
      .Add("Results", facts.results)
      .Add("Instances", facts.instances)
      .Add("Time Steps", facts.timeSteps)
      .Add("Frequencies", facts.frequencies);
}

void AddModifiers(Lines& lines, const std::vector<ModifierInfo>& modifiers) {
  for (std::size_t i = 0; i < modifiers.size(); ++i) {
    lines.AddHeading("Modifier " + std::to_string(i + 1) + " of " +
                     std::to_string(modifiers.size()));
    for (const ModifierText& entry : kModifierTexts) {
      if (const std::string& text = modifiers[i].*entry.text; !text.empty()) {
        lines.Add(std::string("  ") + entry.label, text);
      }
    }
  }
}

void AddRootAttributes(Lines& lines, const LbtUtil::AttributeMap& attributes) {
  if (!attributes.empty()) {
    lines.AddHeading("Root attributes");
  }
  for (const auto& [name, value] : attributes) {
    lines.Add("  " + name, value.GetAttributeString());
  }
}

std::string TextOf(const ModelFacts& facts) {
  Lines lines;
  lines.Add("Tev Version", facts.version);
  if (facts.fileBytes) {
    lines.Add("Tev File Size",
              facts.fileSize + " (" + std::to_string(*facts.fileBytes) + " bytes)");
  }
  AddFile(lines, "Model File", facts.modelFile);
  AddFile(lines, "Results File", facts.resultsFile);
  lines.Add("Number of Nodes", facts.numberOfNodes)
      .Add("Number of Elements", facts.numberOfElements);
  AddSummary(lines, facts.summary);
  AddModifiers(lines, facts.modifiers);
  AddRootAttributes(lines, facts.rootAttributes);
  return lines.Text();
}

// --- JSON ---------------------------------------------------------------------------------------

template <class T>
Json JsonOrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

Json JsonOrNull(const std::optional<LbtUtil::AttributeValue>& value) {
  return value ? JsonOf(*value) : Json();
}

Json ObjectOf(const NativeFileFacts& facts) {
  return {{"path", JsonOrNull(facts.path)},
          {"type", JsonOrNull(facts.type)},
          {"size", JsonOrNull(facts.size)}};
}

Json ListOf(const std::vector<ModifierInfo>& modifiers) {
  Json list = Json::array();
  for (const ModifierInfo& modifier : modifiers) {
    Json& texts = list.emplace_back(Json::object());
    for (const ModifierText& entry : kModifierTexts) {
      texts[entry.key] = modifier.*entry.text;
    }
  }
  return list;
}

Json ObjectOf(const SummaryFacts& facts) {
  const std::vector<std::string> parts = facts.parts.value_or(std::vector<std::string>());
  return {{"title", JsonOrNull(facts.title)},
          {"category", facts.category},
          {"numberOfParts", parts.size()},
          {"numberOfCutSections", facts.numberOfCutSections},
          {"numberOfIsoSurfaces", facts.numberOfIsoSurfaces},
          {"numberOfIsoVolumes", facts.numberOfIsoVolumes},
          {"numberOfFlowLines", facts.numberOfFlowLines},
          {"numberOfResults", facts.results.size()},
          {"numberOfInstances", facts.instances.size()},
          {"parts", parts},
          {"results", facts.results},
          {"instances", facts.instances},
          {"timeSteps", facts.timeSteps},
          {"frequencies", facts.frequencies}};
}

Json ObjectOf(const ModelFacts& facts) {
  Json json{{"bytes", JsonOrNull(facts.fileBytes)},
            {"version", facts.version},
            {"modelFile", ObjectOf(facts.modelFile)},
            {"resultsFile", ObjectOf(facts.resultsFile)},
            {"numberOfNodes", JsonOrNull(facts.numberOfNodes)},
            {"numberOfElements", JsonOrNull(facts.numberOfElements)}};
  json.update(ObjectOf(facts.summary));
  json["modifiers"] = ListOf(facts.modifiers);
  json["rootAttributes"] = JsonOf(facts.rootAttributes);
  return json;
}

void AnswerInfo(const Input& input, AnswerWriter& writer) {
  const ModelFacts facts = WithModel(input, writer, [](const LbtTev::Tree& tree) {
    ModelFacts gathered = LbtTev::Report::GatherModelFacts(tree);
    if (!gathered.failures.empty()) {
      std::rethrow_exception(gathered.failures.front());
    }
    return gathered;
  });
  if (!writer.IsJson()) {
    writer.Text() << TextOf(facts);
    return;
  }
  const Json object = ObjectOf(facts);
  for (auto member = object.begin(); member != object.end(); ++member) {
    writer.Facts().Member(member.key(), *member);
  }
}

}  // namespace

Verb InfoVerb() {
  return {.name = "info",
          .summary = "Tell what models hold and who wrote them",
          .notes = "Example: tev info --json *.tev | jq '.files[].title'",
          .setUp = [](CLI::App& app) {
            return RunWithFileOptions(app, {.verb = "info", .answer = AnswerInfo});
          }};
}
