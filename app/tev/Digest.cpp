// Digests models by what they say, however they are stored.

#include "tev/Digest.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/FileOrder.h"

namespace {

using namespace LbtTev::Analysis;

/// A SHA-256 in the making. Numbers are taken as 8 bytes, the lowest first.
class Sha256 {
 public:
  using Bytes = std::array<unsigned char, 32>;

  Sha256() : context_(EVP_MD_CTX_new()) {
    if (context_ == nullptr || EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1) {
      throw std::bad_alloc();
    }
  }

  void AddBytes(const void* bytes, std::size_t size) {
    static_cast<void>(EVP_DigestUpdate(context_.get(), bytes, size));
  }

  void Add(std::uint64_t number) {
    std::array<unsigned char, 8> bytes{};
    for (unsigned char& byte : bytes) {
      constexpr unsigned int kBits = 8;
      byte = static_cast<unsigned char>(number);
      number >>= kBits;
    }
    AddBytes(bytes.data(), bytes.size());
  }

  /// Its length, and its bytes.
  void Add(std::string_view text) {
    Add(std::uint64_t{text.size()});
    AddBytes(text.data(), text.size());
  }

  /// How many there are, and the 4 bytes of each.
  template <class T>
  void Add(std::span<const T> numbers) {
    static_assert(sizeof(T) == 4 && std::endian::native == std::endian::little);
    Add(std::uint64_t{numbers.size()});
    AddBytes(numbers.data(), numbers.size_bytes());
  }

  [[nodiscard]] Bytes Finish() {
    Bytes bytes{};
    static_cast<void>(EVP_DigestFinal_ex(context_.get(), bytes.data(), nullptr));
    return bytes;
  }

 private:
  struct Free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };

  std::unique_ptr<EVP_MD_CTX, Free> context_;
};

/// The parts in the order of their paths, names and ids.
std::vector<std::size_t> PartsInOrder(const Model& model) {
  std::vector<std::tuple<std::vector<std::string>, std::string, std::size_t>> keys;
  for (std::size_t i = 0; i < model.Parts().size(); ++i) {
    keys.emplace_back(model.PathOf(model.Parts()[i]), model.Parts()[i].name, i);
  }
  std::ranges::sort(keys);
  std::vector<std::size_t> order;
  order.reserve(keys.size());
  for (const auto& key : keys) {
    order.push_back(std::get<2>(key));
  }
  return order;
}

/// The fields of a part in the order of their results and steps.
std::vector<const Field*> FieldsInOrder(const Model& model, const Part& part) {
  std::vector<const Field*> fields;
  for (const Field& field : model.FieldsOf(part)) {
    fields.push_back(&field);
  }
  std::ranges::stable_sort(
      fields, {}, [](const Field* field) { return std::pair(field->result, field->step); });
  return fields;
}

/// A step that there may be none of, and its text.
void AddStep(const Model& model, std::optional<std::size_t> step, Sha256& sha) {
  sha.Add(std::uint64_t{step ? 1U : 0U});
  sha.Add(step ? std::string_view(model.Steps()[*step].text) : std::string_view());
}

void AddModel(const Model& model, Sha256& sha) {
  sha.Add(std::uint64_t{model.Steps().size()});
  for (const Step& step : model.Steps()) {
    sha.Add(std::string_view(step.text));
  }
  sha.Add(std::uint64_t{model.Parts().size()});
}

void AddPart(const Model& model, const Part& part, std::size_t steps, std::size_t fields,
             Sha256& sha) {
  const std::vector<std::string> path = model.PathOf(part);
  sha.Add(std::uint64_t{path.size()});
  for (const std::string& name : path) {
    sha.Add(std::string_view(name));
  }
  sha.Add(std::string_view(part.name));
  sha.Add(std::uint64_t{steps});
  sha.Add(std::uint64_t{fields});
}

void AddField(const Model& model, const Field& field, Sha256& sha) {
  sha.Add(field.result);
  AddStep(model, field.step, sha);
  sha.Add(TextOf(field.location));
  sha.Add(std::uint64_t{field.components});
}

/// Asks for what a model is digested of, and then takes it, both in the same order: "array" is
/// called with each array, "head" with what stands before it.
template <class Head, class Array>
void ForContents(const Model& model, const Head& head, const Array& array) {
  head([&](Sha256& sha) { AddModel(model, sha); });
  for (const std::size_t index : PartsInOrder(model)) {
    const Part& part = model.Parts()[index];
    const auto steps = model.StepsWith(part, kMeshRoles);
    const std::vector<const Field*> fields = FieldsInOrder(model, part);
    head([&](Sha256& sha) { AddPart(model, part, steps.size(), fields.size(), sha); });
    for (const auto& step : steps) {
      const MeshVariables mesh = model.MeshAt(part, step);
      head([&](Sha256& sha) {
        AddStep(model, step, sha);
        sha.Add(
            std::uint64_t{mesh.coordinates == nullptr ? 0U : mesh.coordinates->array.GetWidth()});
      });
      for (const MeshRole role : kMeshRoles) {
        const bool isOfWholes = role == &MeshVariables::faces || role == &MeshVariables::lengths;
        array(WantedArray{mesh.*role, isOfWholes});
      }
    }
    for (const Field* field : fields) {
      head([&](Sha256& sha) { AddField(model, *field, sha); });
      array(WantedArray{field->variable});
    }
  }
}

Sha256::Bytes DigestOf(const LoadedArray& array) {
  if (array.failure != nullptr) {
    std::rethrow_exception(array.failure);
  }
  Sha256 sha;
  if (array.wholes != nullptr) {
    sha.Add(array.Wholes());
  } else {
    sha.Add(array.Floats());
  }
  return sha.Finish();
}

}  // namespace

std::string DigestOf(const Model& model) {
  std::vector<WantedGroup> wanted;
  ForContents(
      model, [](const auto& /*take*/) {},
      [&](const WantedArray& array) { wanted.push_back({array}); });
  std::vector<Sha256::Bytes> digests(wanted.size());
  LoadInFileOrder({&model.GetTree(), wanted}, [&](std::size_t place, const LoadedGroup& loaded) {
    digests[place] = DigestOf(loaded[0]);
  });
  Sha256 sha;
  auto next = digests.begin();
  ForContents(
      model, [&](const auto& take) { take(sha); },
      [&](const WantedArray& /*array*/) {
        sha.AddBytes(next->data(), next->size());
        ++next;
      });
  std::string text;
  for (const unsigned char byte : sha.Finish()) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr unsigned int kBits = 4;
    text += kDigits[byte >> kBits];
    text += kDigits[byte & 0xFU];
  }
  return text;
}
