#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ReadFailure.h"

/// Numbers that stay alive as long as an array of Python refers to them.
template <class T>
struct Numbers {
  std::shared_ptr<const std::vector<T>> all;
  std::vector<std::size_t> shape;  ///< the numbers may be more than that
};

/// A field that was loaded, or why it could not be.
struct LoadedField {
  Numbers<float> values;
  std::optional<ReadFailure> failure;
};

/// The faces of a mesh: those of face i are the indices from offsets[i] to offsets[i + 1].
struct LoadedFaces {
  Numbers<std::int64_t> offsets;
  Numbers<unsigned int> indices;
};

/// A model that is open for Python. Threads may share it: one at a time is in it. Numbers that were
/// loaded stay valid without it.
///
/// Every other function throws a ReadFailure, std::invalid_argument once the model is closed, and
/// std::runtime_error in a process that was forked off after the model was opened: both would move
/// the place in the file under each other.
class ModelReader {
 public:
  /// Which mesh of a part: one of a step by its number, or one of these.
  static constexpr std::int64_t kOwnMesh = -2;  ///< the one without a step, else of its first step
  static constexpr std::int64_t kNoStep = -1;

  /// Keeps so many bytes of inflated blocks for what is asked for later.
  ModelReader(const std::string& path, std::uint64_t cacheBytes);
  ~ModelReader();
  ModelReader(const ModelReader&) = delete;
  ModelReader& operator=(const ModelReader&) = delete;

  /// Lets the file go. To be called as often as one likes.
  void Close();
  /// Also where it was opened before a fork. This and Close throw nothing.
  [[nodiscard]] bool IsClosed() const;

  /// The entry of `tev info --jsonl`.
  [[nodiscard]] std::string Info();

  /// All fields as a list in JSON, as `tev results --json` has them: part by part as they are
  /// stored. Fields are known by their places in it.
  [[nodiscard]] std::string Fields();

  /// Fields in the order that is given, loaded in that of the file: each block is inflated once.
  [[nodiscard]] std::vector<LoadedField> Load(std::span<const std::size_t> fields);

  /// A field of `tev results --stats --json`.
  [[nodiscard]] std::string FieldStatistics(std::size_t field);

  /// The mesh of a part, by its place among the parts.
  [[nodiscard]] Numbers<float> Points(std::size_t part, std::int64_t step);
  [[nodiscard]] LoadedFaces Faces(std::size_t part, std::int64_t step);
  [[nodiscard]] Numbers<std::int64_t> Ids(std::size_t part, std::int64_t step, bool ofNodes);

  /// How many blocks have been read from the file since it was opened.
  [[nodiscard]] std::uint64_t BlocksRead();

 private:
  struct Opened;

  [[nodiscard]] bool IsInheritedByFork() const;
  template <class Work>
  auto Locked(const Work& work);

  mutable std::mutex mutex_;
  int process_;
  std::unique_ptr<Opened> opened_;  // null once it is closed
};
