#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/ModelStreams.h"

namespace LbtTev::Analysis {

/// Who inflates blocks before their turn, and how many blocks.
struct Helpers {
  std::size_t threads = 0;
  std::size_t most = 2;  ///< blocks; more would only take memory
};

/// Inflates the blocks of a stream that are wanted next on other threads, while the caller uses
/// those before; where he has to wait for one, he inflates one himself. A block that cannot be
/// inflated this way is left to those who load it in its turn, and fails there if it must.
class BlocksAhead {
 public:
  /// "helpers" says how many other threads there are, and how many blocks are ahead of the one in
  /// hand: without threads none is. All reading stays in the caller's thread.
  /// "stream" must outlive this.
  BlocksAhead(ModelStream& stream, const Helpers& helpers)
      : stream_(&stream), file_(&stream.GetFile()), helpers_(helpers) {}

  /// "positions" are bytes of the stream in the order in which they will be wanted. A block, by its
  /// entry, that "isLeftOut" names is not inflated before its turn. To be called once.
  void Plan(std::span<const unsigned long> positions,
            std::function<bool(std::size_t entry)> isLeftOut = {});

  /// Where a byte of the stream lies by the recorded lengths.
  struct Place {
    std::size_t entry = 0;     ///< of the index
    std::uint64_t offset = 0;  ///< in the block's contents
  };
  [[nodiscard]] std::optional<Place> Locate(unsigned long position);

  /// The block that holds a position, with its cursor there; null where it was not inflated
  /// here. Valid until the next call. Throws "Out of Bounds" where blocks are inflated again and
  /// again: that counts towards the request of the stream.
  [[nodiscard]] LbtLbf::Block* Find(unsigned long position);

  /// Keeps the block that was found last in memory.
  [[nodiscard]] std::shared_ptr<const void> Hold() const { return current_; }

  /// The recorded length of the block that a position lies in; 0 where that is not known.
  [[nodiscard]] std::uint64_t LengthAt(unsigned long position);

  /// Lets the block in hand go where nothing else in it was planned.
  void DropUsedUp();

 private:
  /// A block on its way to its contents.
  struct Work {
    std::size_t entry = 0;
    LbtLbf::Block stored{};
    LbtLbf::Block contents{};
    std::span<const unsigned char> compressed{};
    std::span<unsigned char> room{};
    std::uint64_t length = 0;  // of the contents, where all went well
    bool wasKept = false;      // by the file, so that there is nothing to inflate
    std::future<void> done{};  // ends before what it works on

    [[nodiscard]] bool IsUnderWay() const;
  };

  void Measure();
  [[nodiscard]] std::optional<std::size_t> PlaceOf(unsigned long position);
  [[nodiscard]] std::unique_ptr<Work> TakeKept(std::size_t entry) const;
  [[nodiscard]] std::unique_ptr<Work> Prepare(std::size_t entry) const;
  static void Run(Work& work);
  [[nodiscard]] bool IsThreadFree() const;
  [[nodiscard]] std::unique_ptr<Work> PrepareNext();
  void StartNext();
  void HelpAhead();
  [[nodiscard]] std::unique_ptr<Work> Finish(std::size_t entry);
  void MoveTo(std::size_t place);
  void LetGo();

  ModelStream* stream_;
  LbtLbf::LbFile* file_;
  Helpers helpers_;
  std::function<bool(std::size_t)> isLeftOut_;
  bool isMeasured_ = false;
  std::vector<std::uint64_t> starts_;  // of the stream's blocks, and its end
  std::vector<std::size_t> entries_;   // those blocks
  std::vector<bool> wasInflated_;      // of those, whether they were before
  std::vector<std::size_t> uses_;      // of those, how many are planned and have not come
  std::vector<std::size_t> wanted_;    // entries in order
  std::size_t next_ = 0;               // of these, the first that was not started
  std::deque<std::unique_ptr<Work>> ahead_;
  std::optional<std::size_t> place_;  // of the block in hand
  std::shared_ptr<Work> current_;     // null where it is not inflated here
};

}  // namespace LbtTev::Analysis
