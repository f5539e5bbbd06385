#pragma once

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev {

/// What the length of a name that is repeated costs: names of ordinary length are free.
[[nodiscard]] constexpr std::size_t BeyondOrdinary(std::size_t length) {
  constexpr std::size_t kOrdinary = 1024;
  return length < kOrdinary ? 0 : length - kOrdinary;
}

/// One stream of an open file, read from where its cursor stands. All readers of a stream share
/// that cursor. Refers to its file, which must outlive it.
///
/// A stream that the file lacks is no error: reads leave their values alone, and the first one
/// leaves a line in the trace log.
class ModelStream {
 public:
  ModelStream(LbtLbf::LbFile& file, std::string name) : file_(&file), name_(std::move(name)) {}

  [[nodiscard]] LbtLbf::LbFile& GetFile() const { return *file_; }
  [[nodiscard]] const std::string& GetName() const { return name_; }

  /// The block that the next read is served from; null where the file lacks the stream, or, once
  /// it is closed, where no block in memory has bytes left. Valid until the next seek in any
  /// stream. Throws what reading the index and loading a block throw.
  [[nodiscard]] LbtLbf::Block* FindBlock() {
    if (block_ == nullptr || changes_ != file_->GetIndex().Changes() || block_->IsConsumed()) {
      FindNextBlock();
    }
    return block_;
  }

  /// The block that served the last read, or null.
  [[nodiscard]] const LbtLbf::Block* LastBlock() const { return block_; }

  /// Reads values, one after another; those before one that fails are read. Lists and views that
  /// stay in their block are valid until the next seek in this stream. Throws "Out of Bounds"
  /// where a block ends too early, "Element Not Found" where the file is closed and no block in
  /// memory has bytes left, and what FindBlock does.
  template <LbtLbf::StreamValue... T>
  void Get(T&... values) {
    (GetOne(values), ...);
  }

  /// Reads numbers that are stored as one value. Throws as above, but for a closed file.
  void GetFloats(std::span<float> floats) {
    if (LbtLbf::Block* block = FindBlock(); block != nullptr) {
      LbtLbf::CopyFromBlock(*block, floats);
      read_ += floats.size_bytes();
    }
  }

  /// The next "length" bytes without a copy, valid until the next seek in this stream; none where
  /// there is no block. Throws as above, but for a closed file.
  [[nodiscard]] std::span<const unsigned char> GetBytes(unsigned long length);

  /// Puts the cursor at a byte; see LbFile::SetBlockPosition. A stream that the file lacks is
  /// there from then on, without bytes. A block that made the stream be given up since zlib refuses
  /// it is not tried again: the same is thrown.
  void Seek(unsigned long position);

  /// Where the cursor stands; see NamedStream::Position. Loads nothing.
  [[nodiscard]] std::uint64_t Position();

  /// Makes sure that a seek to "position" would not fail, as far as the recorded lengths of blocks
  /// tell; where they do not, seeks. Throws as that does.
  void RequirePosition(unsigned long position);

  /// A use of the stream as a whole: a load of a tree, a dump, or one array for who asks for no
  /// more. The bytes that are decoded, copied or inflated again during it have a limit, which a
  /// model that refers to its bytes once or a few times does not come near: 16 times what the
  /// stream holds, and 16 MiB. One within another is a part of it.
  class Request {
   public:
    explicit Request(ModelStream& stream);
    ~Request() { --stream_->requests_; }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

   private:
    ModelStream* stream_;
  };

  /// Counts bytes that were copied towards the request, beside those that are read from the stream
  /// up to each seek. Throws "Out of Bounds" ("The model refers to its data too often").
  void Charge(std::uint64_t bytes);

  /// Counts what was made of bytes that were read and takes more memory than they do. With the
  /// bytes that the request has come to, that may be 20 times what the stream holds, and 64 MiB:
  /// more than can be made of a stream that is read once. Throws as above.
  void ChargeMemory(std::uint64_t bytes);

  /// Numbers that come from one pass through the stream where these are read in several.
  static constexpr std::uint64_t kBytesPerPass = std::uint64_t{64} * 1024 * 1024;

  /// Raises the limit of the request by so many passes through the whole stream, but no more than
  /// it takes to read all of it once, kBytesPerPass at a time: for who chooses an order that is
  /// not the file's.
  void AllowPasses(std::uint64_t passes) { passesAllowed_ = passes; }

  /// Whether so many more bytes are within the limit of the request.
  [[nodiscard]] bool Allows(std::uint64_t bytes);

  /// How many bytes the request has come to, or the last one where none is open.
  [[nodiscard]] std::uint64_t Charged() const { return charged_ + ReadUncharged(); }

  /// The block that zlib has refused, where what was thrown last tells of that.
  [[nodiscard]] std::optional<LbtLbf::NumberedBlock> RefusedBlock() const;

  /// Where a read has failed, as messages name it: "at byte 455 of Heavy Data, in block 3". A block
  /// that zlib has refused is left out, since it has been named.
  [[nodiscard]] std::string TextOfFailure(unsigned long position) const;

  /// Reads nothing more up to the next seek, as if the file lacked the stream.
  void GiveUp(std::exception_ptr reason);
  [[nodiscard]] bool IsGivenUp() const { return reason_ != nullptr; }

  /// Why it was given up, if there were reads since then and since the last call; else null.
  [[nodiscard]] std::exception_ptr TakeReasonOfMissedReads();

 private:
  template <LbtLbf::StreamValue T>
  void GetOne(T& value) {
    if (LbtLbf::Block* block = FindBlock(); block != nullptr) {
      const std::uint32_t start = block->GetPosition();
      LbtLbf::CopyFromBlock(*block, value);
      read_ += block->GetPosition() - start;
    } else if (!file_->IsOpen()) {
      file_->Get(name_, value);
    }
  }

  void FindNextBlock();
  [[nodiscard]] bool KnowsStream() const {
    return stream_ != nullptr && reads_ == file_->GetIndex().Reads();
  }
  [[nodiscard]] LbtLbf::NamedStream* FindStream();
  void ThrowOfRefusedTarget(unsigned long position);
  [[nodiscard]] std::uint64_t ReadUncharged() const;
  [[nodiscard]] std::uint64_t RecordedLength();
  void ChargeReads();

  LbtLbf::LbFile* file_;
  std::string name_;
  LbtLbf::NamedStream* stream_ = nullptr;  // known since the index was read for the "reads_"th time
  LbtLbf::Block* block_ = nullptr;         // known since the "changes_"th change of the index
  std::uint64_t reads_ = 0;
  std::uint64_t changes_ = 0;
  std::exception_ptr reason_;
  std::map<std::size_t, std::exception_ptr> refused_;  // by the number of the block
  std::optional<std::size_t> refusedAgain_;            // by the last seek
  int requests_ = 0;                                   // that are open
  std::uint64_t charged_ = 0;                          // to the outermost one
  std::uint64_t memory_ = 0;                           // that was made in it, beside what was read
  std::uint64_t passesAllowed_ = 0;                    // beside the limit
  std::uint64_t read_ = 0;                             // since the last seek
  std::uint64_t reloaded_ = 0;  // bytes loaded again in all, at the last seek
  bool hasMissedReads_ = false;
  bool isMissingLogged_ = false;
};

/// The one door to the bytes of a model: a reader for each of its streams. What reads nodes and
/// their data takes it.
struct ModelStreams {
  explicit ModelStreams(LbtLbf::LbFile& file, const StreamNames& names = {})
      : tree(file, names.tree),
        light(file, names.light),
        heavy(std::make_shared<ModelStream>(file, names.heavy)),
        attributes(file, names.attributes),
        resources(file, names.resources),
        global(file, names.global) {}

  /// Asked after a failure of reading from a stream: whether to go on. Without it, no one goes on.
  using GoOn = std::function<bool(const std::exception& exception, ModelStream& stream)>;

  /// Runs "read", which reads from "stream". After a failure the stream is given up, and with it
  /// what lies in "others" for what was left unread, and reading goes on after it; or the exception
  /// is thrown on, where nobody wants to go on.
  template <class Read>
  void Attempt(ModelStream& stream, Read read, std::initializer_list<ModelStream*> others = {}) {
    if (!goOn) {
      read();
      return;
    }
    try {
      read();
    } catch (const std::exception& exception) {
      if (!goOn || !goOn(exception, stream)) {
        goOn = nullptr;
        throw;
      }
      stream.GiveUp(std::current_exception());
      for (ModelStream* other : others) {
        other->GiveUp(std::current_exception());
      }
    }
  }

  ModelStream tree;
  ModelStream light;
  std::shared_ptr<ModelStream> heavy;  ///< shared with the loaders of arrays
  ModelStream attributes;
  ModelStream resources;
  ModelStream global;
  GoOn goOn;

  /// Data that was read together with its records, by position and size in the heavy data: for
  /// records that name the same.
  std::map<std::pair<unsigned long, unsigned long>,
           boost::shared_ptr<const std::vector<unsigned char>>>
      dataReadAtOnce;
};

/// The element of a stored list. Throws "Out of Bounds" with the text of a block that ends too
/// early, in the name of "file", where a list has fewer elements than another one claims of it.
template <class List>
[[nodiscard]] typename List::value_type ElementOf(const List& list, std::size_t index,
                                                  const char* file) {
  if (index >= list.size()) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds, "Not enough bytes in the block",
                    file);
  }
  return list[index];
}

}  // namespace LbtTev
