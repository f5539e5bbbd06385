// tev block: the bytes of one block.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <string>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using LbtLbf::IndexItem;
using LbtLbf::LbFile;
using Bytes = std::span<const unsigned char>;

struct Arguments {
  std::size_t number = 0;
  bool isRaw = false;
};

void Write(Bytes bytes, std::ostream& stream) {
  const void* characters = bytes.data();
  stream.write(static_cast<const char*>(characters), static_cast<std::streamsize>(bytes.size()));
}

/// Hands the stored bytes of a block to "take" piece by piece, as far as the file has them.
template <class Take>
void ReadPieces(LbFile& file, const IndexItem& item, Take take) {
  constexpr std::size_t kPiece = std::size_t{64} * 1024;
  const auto piece = std::make_unique<std::array<unsigned char, kPiece>>();
  for (std::uint64_t done = 0; done < item.size;) {
    const std::size_t wanted = std::min<std::uint64_t>(kPiece, item.size - done);
    const std::size_t count =
        file.ReadStored(item.position + done, std::span(*piece).first(wanted));
    take(std::span<const unsigned char>(*piece).first(count));
    done += count;
    if (count < wanted) {
      throw Failure(FailureCode::Damaged, "the file ends after " + std::to_string(done) + " of " +
                                              Counted(item.size, "byte") + " of the block");
    }
  }
}

/// The stored bytes may be many and the contents more, but the file has so many, and deflate makes
/// no more of them.
void WriteContents(LbFile& file, std::size_t number, AnswerWriter& writer) {
  const IndexItem& item = file.GetIndex().GetItems()[number];
  const LbtLbf::NumberedBlock block{number, LbtTev::Analysis::ShownName(item.name)};
  std::vector<unsigned char> stored;
  ReadPieces(file, item,
             [&stored](Bytes piece) { stored.insert(stored.end(), piece.begin(), piece.end()); });
  if (stored.size() < LbtLbf::kLengthFieldSize) {
    throw Failure(FailureCode::Damaged, TextOf(block) + " is too short for a compressed block");
  }
  const LbtLbf::CompressedBlock compressed{LbtLbf::LengthFromField(stored.data()),
                                           Bytes(stored).subspan(LbtLbf::kLengthFieldSize)};
  const std::uint64_t room = compressed.Room();
  const auto contents = std::make_unique_for_overwrite<unsigned char[]>(room);
  const LbtLbf::Inflated inflated =
      LbtLbf::Inflate(compressed.stream, std::span(contents.get(), room));
  if (inflated.code != 0) {
    throw Failure(FailureCode::Damaged, RefusalText(block));
  }
  Write({contents.get(), static_cast<std::size_t>(inflated.length)}, writer.Text());
}

void AnswerBlock(const Input& input, AnswerWriter& writer, const Arguments& arguments) {
  LbFile file;
  NamingBlocks(file, [&] { OpenContainer(file, input, writer); });
  const auto& items = file.GetIndex().GetItems();
  if (arguments.number >= items.size()) {
    throw UsageError(input.path + ": there is no block " + std::to_string(arguments.number) +
                     "; there are " + std::to_string(items.size()) + ", from 0 on");
  }
  const IndexItem& item = items[arguments.number];
  if (item.IsCompressed() && !arguments.isRaw) {
    WriteContents(file, arguments.number, writer);
  } else {
    std::ostream& stream = writer.Text();
    ReadPieces(file, item, [&stream](Bytes piece) { Write(piece, stream); });
  }
}

/// Bytes of a model may make a terminal do anything.
void RequireNoTerminal(const FileRun& run) {
  if (run.output.empty() && isatty(STDOUT_FILENO) == 1) {
    throw OptionError(
        "a block is no text: name a file with -o, or - for this terminal all the same");
  }
}

constexpr const char* kNotes =
    "Examples:\n"
    "  tev block bracket.tev 5 -o heavy.bin\n"
    "  tev block bracket.tev 1 | hexdump -C\n"
    "Exit status: 0 done, 1 bad usage or no such block, 2 the model failed.";

Action SetUp(CLI::App& app) {
  const auto run = std::make_shared<FileRun>(FileRun{.verb = "block", .layout = TextLayout::Lines});
  const auto arguments = std::make_shared<Arguments>();
  AddModel(app, run);
  app.add_option("NUMBER", arguments->number, "Its number, as \"tev blocks\" tells it")
      ->required()
      ->check(WholeNumberFault)
      ->option_text(" ");
  app.add_flag("--raw", arguments->isRaw, "The bytes as they are stored");
  AddOutputOptions(app, run);
  run->answer = [arguments](const Input& input, AnswerWriter& writer) {
    AnswerBlock(input, writer, *arguments);
  };
  return [run] {
    RequireNoTerminal(*run);
    return RunOverFiles(*run);
  };
}

}  // namespace

Verb BlockVerb() {
  return {.name = "block", .summary = "The bytes of one block", .notes = kNotes, .setUp = SetUp};
}
