#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tevtest {

/// Expects at its end that the models which a command names are what they were at its start: the
/// same bytes, the same modification time.
class UnchangedModels {
 public:
  /// "arguments" of a program that is run in "directory"; those that are no models do not count.
  UnchangedModels(const std::vector<std::string>& arguments,
                  const std::filesystem::path& directory);
  ~UnchangedModels();
  UnchangedModels(const UnchangedModels&) = delete;
  UnchangedModels& operator=(const UnchangedModels&) = delete;

  [[nodiscard]] std::size_t Count() const { return models_.size(); }

 private:
  struct Model {
    std::filesystem::path path;
    std::string bytes;
    std::filesystem::file_time_type written;
  };

  std::vector<Model> models_;
};

}  // namespace tevtest
