// Inflating a zlib stream: whole or in pieces, it comes to what `uncompress` makes of it.

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Lbf/Inflation.h"
#include "support/ContainerWriter.h"
#include "support/MemoryAllowance.h"

namespace LbtLbf {
namespace {

using tevtest::Deflate;

std::span<const unsigned char> BytesOf(std::string_view text) {
  const void* bytes = text.data();
  return {static_cast<const unsigned char*>(bytes), text.size()};
}

Inflated InPieces(std::string_view stream, std::uint64_t room, std::size_t piece,
                  std::size_t window) {
  std::span<const unsigned char> left = BytesOf(stream);
  std::vector<unsigned char> output(window);
  return Inflate(
      [&] {
        const auto next = left.first(std::min(piece, left.size()));
        left = left.subspan(next.size());
        return next;
      },
      room, output);
}

/// What zlib's own function returns, and the length that it gives.
Inflated ByZlib(std::string_view stream, std::uint64_t room) {
  std::vector<unsigned char> output(room + 1);
  uLongf length = room;
  const int code = uncompress(output.data(), &length, BytesOf(stream).data(), stream.size());
  return {.code = code, .length = length};
}

void ExpectAsZlib(std::string_view stream, std::uint64_t room) {
  const Inflated expected = ByZlib(stream, room);
  std::vector<unsigned char> contents(room);
  const Inflated whole = Inflate(BytesOf(stream), contents);
  EXPECT_EQ(whole.code, expected.code) << stream.size() << " of room " << room;
  EXPECT_EQ(whole.length, expected.length);
  for (const std::size_t piece : {1U, 7U}) {
    const Inflated pieces = InPieces(stream, room, piece, 3);
    EXPECT_EQ(pieces.code, expected.code) << stream.size() << " of room " << room;
    EXPECT_EQ(pieces.length, expected.length);
    EXPECT_EQ(pieces.isCut, whole.isCut);
  }
}

TEST(Inflation, EveryRoom_GivesWhatZlibGives) {
  const std::string text = "some data, some more data, and some data again";
  const std::string stream = Deflate(text);
  for (std::uint64_t room = 0; room <= text.size() + 2; ++room) {
    ExpectAsZlib(stream, room);
  }
}

TEST(Inflation, NothingWanted_GivesWhatZlibGives) {
  for (const std::string_view text : {"", "a", "ab"}) {
    ExpectAsZlib(Deflate(text), 0);
  }
}

TEST(Inflation, EveryCutAndEveryChangedByte_GivesWhatZlibGives) {
  const std::string stream = Deflate("abcabcabcabcabcabc, and something else");
  for (std::size_t size = 0; size < stream.size(); ++size) {
    ExpectAsZlib(stream.substr(0, size), 38);
    std::string changed = stream;
    changed[size] = static_cast<char>(changed[size] ^ 0x10);
    ExpectAsZlib(changed, 38);
  }
}

TEST(Inflation, BytesAfterTheStream_DoNotMatter) { ExpectAsZlib(Deflate("abc") + "more", 3); }

TEST(Inflation, CutStream_IsToldFromADamagedOne) {
  const std::string stream = Deflate("abcabcabc");
  std::vector<unsigned char> contents(9);
  EXPECT_TRUE(Inflate(BytesOf(stream.substr(0, stream.size() - 1)), contents).isCut);
  EXPECT_FALSE(Inflate(BytesOf("no zlib stream"), contents).isCut);
  EXPECT_FALSE(Inflate(BytesOf(stream), contents).isCut);
}

TEST(Inflation, CheckSum_IsThatOfZlib) {
  std::string bytes;
  for (std::size_t i = 0; i < 6000; ++i) {
    bytes += static_cast<char>(i * i % 251);
  }
  bytes += std::string(100000, '\xFF');  // the largest sums
  const auto byZlib = [](std::uint32_t sum, std::string_view text) {
    return static_cast<std::uint32_t>(
        adler32(sum, BytesOf(text).data(), static_cast<uInt>(text.size())));
  };
  for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 351U, 352U, 353U, 5000U, 106000U}) {
    const std::string_view text = std::string_view(bytes).substr(0, size);
    EXPECT_EQ(Adler32(1, BytesOf(text)), byZlib(1, text)) << size;
    const std::string_view last = std::string_view(bytes).substr(bytes.size() - size);
    EXPECT_EQ(Adler32(0xFFF0FFF0U, BytesOf(last)), byZlib(0xFFF0FFF0U, last)) << size;
  }
}

TEST(Inflation, OrdinaryStreams_AreInflatedWithoutZlibsCheckSum) {
  std::string longText;
  for (std::size_t i = 0; i < 300000; ++i) {
    longText += static_cast<char>(i * i % 241);
  }
  for (const std::string& text : {std::string("a"), std::string("some data"), longText}) {
    const std::string stream = Deflate(text);
    for (const std::size_t spare : {0U, 5U}) {
      std::string contents(text.size() + spare, '\0');
      void* start = contents.data();
      const std::span room(static_cast<unsigned char*>(start), contents.size());
      EXPECT_EQ(InflateSound(BytesOf(stream + "more"), room), text.size());
      EXPECT_EQ(contents.substr(0, text.size()), text);
    }
  }
}

TEST(Inflation, WhatIsNotOrdinary_IsLeftToZlib) {
  const std::string text = "abcabcabcabcabcabc, and something else";
  const std::string stream = Deflate(text);
  std::vector<unsigned char> contents(text.size());
  for (std::size_t size = 0; size < stream.size(); ++size) {
    EXPECT_FALSE(InflateSound(BytesOf(stream.substr(0, size)), contents)) << size;
    for (unsigned int bit = 1; bit < 256; bit *= 2) {
      std::string changed = stream;
      changed[size] = static_cast<char>(static_cast<unsigned char>(changed[size]) ^ bit);
      const bool isSound = ByZlib(changed, text.size()).code == Z_OK;  // some bits only fill up
      EXPECT_EQ(InflateSound(BytesOf(changed), contents).has_value(), isSound) << size;
    }
  }
  EXPECT_FALSE(InflateSound(BytesOf(stream), std::span(contents).first(text.size() - 1)));
  std::string ofSmallWindow = stream;  // whose two first bytes agree
  ofSmallWindow.replace(0, 2, "\x68\x81");
  EXPECT_FALSE(InflateSound(BytesOf(ofSmallWindow), contents));
  EXPECT_EQ(ByZlib(ofSmallWindow, text.size()).code, Z_OK);
}

TEST(Inflation, RoomForARecordedLength_IsWhatDeflateCanMakeAtMost) {
  EXPECT_EQ(RoomToInflate(1000, 100), 1000U);
  EXPECT_EQ(RoomToInflate(4294967295U, 100), 100U * 1032 + 64);
  EXPECT_EQ(RoomToInflate(4294967295U, 0), 64U);
  EXPECT_EQ(RoomToInflate(0, 100), 0U);
}

#if !defined(TEVTEST_SANITIZED)

TEST(Inflation, WithoutMemoryForZlib_GivesItsCodeForThat) {
  const std::string stream = Deflate("some data");
  std::vector<unsigned char> contents(9);
  constexpr std::size_t kLeastOfZlib = 4096;
  const auto inflate = [&] {
    tevtest::TakeAllPiecesFrom(kLeastOfZlib);
    if (Inflate(BytesOf(stream), contents).code == Z_MEM_ERROR) {
      throw std::bad_alloc();
    }
  };
  EXPECT_EQ(tevtest::DoWithin(0, inflate), tevtest::Allowed::TooLittle);
}

#endif

}  // namespace
}  // namespace LbtLbf
