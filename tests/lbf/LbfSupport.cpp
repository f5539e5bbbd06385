// What the tests of the container share: failures as texts, files that are open.

#include "LbfSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <stdexcept>
#include <typeinfo>

#include "Lbt/Log/Manager.h"
#include "Lbt/Util/Exception.h"
#include "support/Mask.h"

// Lets an allocation that cannot succeed return null under AddressSanitizer, too, as it does
// without it: the tests look at what happens then.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace tevtest {

namespace {

/// A logger of the process-wide manager that keeps the text of records from a level on.
template <std::uint16_t Level>
class Recorder {
 public:
  explicit Recorder(const std::string& name) {
    auto& manager = Lbt::Util::SingletonHolder<Lbt::Log::Manager>::getInstance();
    const auto publisher = manager.Publishers().FindOrAdd(
        name, [this] { return std::make_unique<Lbt::Log::StreamPublisher>(text_); });
    const auto filter = manager.Filters().FindOrAdd(
        name, [] { return std::make_unique<Lbt::Log::LevelFilter<Level>>(); });
    const auto formatter = manager.Formatters().FindOrAdd(
        name, [] { return std::make_unique<Lbt::Log::DefaultFormatter>(); });
    manager.AddLogger({publisher, filter, formatter});
  }

  std::string Take() {
    const std::string taken = MaskLog(text_.str());
    text_.str("");
    return taken;
  }

 private:
  std::ostringstream text_;
};

// The manager is made first and refers to the recorders until the process ends, so neither of them
// is ever destroyed.
template <std::uint16_t Level>
Recorder<Level>& RecorderOf(const std::string& name) {
  static auto* recorder = std::make_unique<Recorder<Level>>(name).release();
  return *recorder;
}

}  // namespace

std::string DescribeFailure() {
  try {
    throw;
  } catch (const Lbt::Util::Exception& exception) {
    return MaskException(exception.what());
  } catch (const std::exception& exception) {
    return typeid(exception) == typeid(std::exception) ? std::string(kPlainException)
                                                       : std::string(exception.what());
  }
}

std::string NotEnoughBytes() {
  return ExpectedException("Out of Bounds", "Not enough bytes in the block", kBlockHeader);
}

std::string InvalidPosition() {
  return ExpectedException("Out of Bounds", "Invalid block position", kBlockHeader);
}

std::string UnableToRead(std::string_view header) {
  return ExpectedException("Read Error", "Unable to read from file", header);
}

std::string NoMemory() {
  return ExpectedException("Memory Allocation Error", "Memory Allocation Error", kBlockHeader);
}

std::string NotFound() {
  return ExpectedException("Element Not Found", "Element Not Found", kIndexHeader);
}

std::string TakeLog() { return RecorderOf<1000>("everything").Take(); }

std::string TakeErrorLog() { return RecorderOf<2000>("errors").Take(); }

SizeVariables::SizeVariables() { Restore(); }

SizeVariables::~SizeVariables() { Restore(); }

void SizeVariables::Set(const char* variable, std::string_view value) {
  setenv(variable, std::string(value).c_str(), 1);
}

void SizeVariables::Unset(const char* variable) { unsetenv(variable); }

void SizeVariables::Restore() {
  Set(kDefaultSize, "10485760");
  LbtLbf::Block::RefreshDefaultSize();
  Unset(kDefaultSize);
  Unset(kMaxSize);
}

OpenBytes::OpenBytes(std::string_view bytes)
    : path_(directory_.Write("bytes", bytes)), stream_(std::fopen(path_.c_str(), "rb")) {
  if (stream_ == nullptr) {
    throw std::runtime_error("cannot open " + path_);
  }
}

LbtLbf::Block BlockOf(std::string_view bytes) {
  const OpenBytes file(bytes);
  LbtLbf::Block block;
  block.Read(file.Stream(), static_cast<unsigned int>(bytes.size()));
  return block;
}

OpenContainer::OpenContainer(const Container& container) : file_(container) {
  std::fseek(Stream(), 16, SEEK_SET);
  index_.ReadIndexBufferFromFileStream(Stream(), container.indexSize);
}

std::string OpenContainer::Read(std::string_view name, std::size_t length) {
  std::string bytes(length, '?');
  index_.Get(name, bytes.data(), length, Stream());
  return bytes;
}

std::string OpenContainer::ReadEach(std::string_view name,
                                    std::initializer_list<std::size_t> lengths) {
  std::string bytes;
  for (const std::size_t length : lengths) {
    bytes += Read(name, length);
  }
  return bytes;
}

void OpenContainer::Seek(std::string_view name, unsigned long offset) {
  index_.SetBlockPosition(name, offset, Stream());
}

const LbtLbf::Block& OpenContainer::Block(std::size_t entry) const {
  return index_.GetCache().GetBlock(entry);
}

bool OpenContainer::IsLoaded(std::size_t entry) const {
  return index_.GetItems()[entry].loaded != 0;
}

}  // namespace tevtest
