#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/Exception.h"

namespace LbtTev::Analysis {

/// Compares blocks of two files as they are stored: equal bytes have equal contents, which need be
/// inflated but once.
class TwinBlocks {
 public:
  TwinBlocks(LbtLbf::LbFile& a, LbtLbf::LbFile& b) : a_(&a), b_(&b) {}

  [[nodiscard]] bool HaveSameBytes(std::size_t entryOfA, std::size_t entryOfB) {
    const auto [known, isNew] = known_.try_emplace({entryOfA, entryOfB});
    if (isNew) {
      known->second =
          Compare(a_->GetIndex().GetItems()[entryOfA], b_->GetIndex().GetItems()[entryOfB]);
    }
    return known->second;
  }

 private:
  [[nodiscard]] bool Compare(const LbtLbf::IndexItem& a, const LbtLbf::IndexItem& b) const {
    constexpr std::size_t kPiece = std::size_t{256} * 1024;
    if (a.size != b.size || a.IsCompressed() != b.IsCompressed()) {
      return false;
    }
    std::vector<unsigned char> ofA(std::min<std::size_t>(kPiece, a.size));
    std::vector<unsigned char> ofB(ofA.size());
    try {
      for (std::size_t done = 0; done < a.size; done += ofA.size()) {
        const std::size_t count = std::min<std::size_t>(ofA.size(), a.size - done);
        const auto piece = std::span(ofA).first(count);
        const auto pieceOfB = std::span(ofB).first(count);
        if (a_->ReadStored(a.position + done, piece) != count ||
            b_->ReadStored(b.position + done, pieceOfB) != count ||
            !std::ranges::equal(piece, pieceOfB)) {
          return false;
        }
      }
    } catch (const Lbt::Util::Exception&) {
      return false;  // what cannot be read is told where it is loaded
    }
    return true;
  }

  LbtLbf::LbFile* a_;
  LbtLbf::LbFile* b_;
  std::map<std::pair<std::size_t, std::size_t>, bool> known_;
};

}  // namespace LbtTev::Analysis
