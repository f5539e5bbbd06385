// Containers at random, with what has to be found in them.

#include "RandomContainer.h"

#include "LbfSupport.h"
#include "support/ByteWriter.h"

namespace tevtest {

namespace {

enum Kind { kRaw, kEmpty, kCompressed, kRecordedAbove, kRecordedBelow, kDamaged, kShort, kKinds };

}  // namespace

RandomContainer::RandomContainer(std::mt19937& random, std::size_t most) : random_(random) {
  const std::size_t count = 1 + random_() % most;
  for (std::size_t i = 0; i < count; ++i) {
    AddBlock(random_() % 4 == 0 ? "B" : "A", i + 1 == count);
  }
}

void RandomContainer::AddBlock(const std::string& name, bool isLast) {
  if (isLast && random_() % 8 == 0) {
    AddCutBlock(name);
    return;
  }
  // Well-formed blocks are the more frequent ones, so that operations get somewhere.
  const auto kind = random_() % 3 != 0 ? static_cast<Kind>(random_() % kRecordedAbove)
                                       : static_cast<Kind>(random_() % kKinds);
  switch (kind) {
    case kRaw:
      return AddRaw(name, Payload(1));
    case kEmpty:
      return random_() % 2 == 0 ? AddRaw(name, "") : AddCompressed(name, "", 0);
    case kCompressed:
      return AddCompressed(name, Payload(1), 0);
    case kRecordedAbove:
      return AddCompressed(name, Payload(0), 1 + random_() % 5);
    case kRecordedBelow:
      return AddRefused(name, random_() % 4, Deflate(Payload(4)));
    case kDamaged:
      return AddRefused(name, random_() % 6, "this is no zlib stream");
    default:
      return AddShort(name);
  }
}

std::string RandomContainer::Payload(std::size_t atLeast) {
  std::string payload(atLeast + random_() % 6, '\0');
  for (char& byte : payload) {
    byte = static_cast<char>('a' + random_() % 26);
  }
  return payload;
}

void RandomContainer::AddRaw(const std::string& name, const std::string& payload) {
  writer_.AddRaw(name, payload);
  entries_.push_back({.name = name, .recordedLength = payload.size(), .contents = payload});
}

void RandomContainer::AddCompressed(const std::string& name, const std::string& payload,
                                    std::size_t surplus) {
  const std::size_t recorded = payload.size() + surplus;
  writer_.Add(
      {.name = name, .payload = payload, .compressed = true, .recordedLength = Narrow(recorded)});
  entries_.push_back(
      {.name = name, .recordedLength = recorded, .contents = payload, .needsFileForLength = true});
}

void RandomContainer::AddRefused(const std::string& name, std::size_t recorded,
                                 const std::string& stream) {
  const std::string stored = ByteWriter().U32(Narrow(recorded)).Raw(stream).Bytes();
  writer_.Add({.name = name, .compressed = true, .storedBytes = stored});
  entries_.push_back({.name = name,
                      .recordedLength = recorded,
                      .loadFailure = std::string(kPlainException),
                      .needsFileForLength = true});
}

void RandomContainer::AddShort(const std::string& name) {
  writer_.Add({.name = name, .compressed = true, .storedBytes = std::string(random_() % 4, 'x')});
  entries_.push_back({.name = name,
                      .recordedLengthFailure = NotEnoughBytes(),
                      .loadFailure = NotEnoughBytes(),
                      .needsFileForLength = true});
}

void RandomContainer::AddCutBlock(const std::string& name) {
  writer_.Add({.name = name, .payload = "abc", .storedSize = 4});
  entries_.push_back({.name = name, .recordedLength = 4, .loadFailure = UnableToRead()});
}

}  // namespace tevtest
