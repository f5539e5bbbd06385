#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "ReferenceStreams.h"
#include "support/ContainerWriter.h"

namespace tevtest {

/// A random container of at most so many small blocks in two streams, "A" and "B", and what a
/// reader must find in it. Among the blocks are empty ones, ones whose recorded length is wrong,
/// damaged ones and ones that are cut.
class RandomContainer {
 public:
  RandomContainer(std::mt19937& random, std::size_t most);

  [[nodiscard]] const ContainerWriter& Writer() const { return writer_; }
  [[nodiscard]] const std::vector<ReferenceEntry>& Entries() const { return entries_; }

 private:
  void AddBlock(const std::string& name, bool isLast);
  void AddRaw(const std::string& name, const std::string& payload);
  void AddCompressed(const std::string& name, const std::string& payload, std::size_t surplus);
  void AddRefused(const std::string& name, std::size_t recorded, const std::string& stream);
  void AddShort(const std::string& name);
  void AddCutBlock(const std::string& name);
  std::string Payload(std::size_t atLeast);

  std::mt19937& random_;
  ContainerWriter writer_;
  std::vector<ReferenceEntry> entries_;
};

}  // namespace tevtest
