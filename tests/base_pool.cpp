// Memory of value trees: blocks never overlap, and what was given back is used again, whichever thread gave it.

#include "Tessra/base/pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace tessra {
namespace {

/// Blocks of many sizes, each filled with a mark of its own.
class Blocks {
 public:
  explicit Blocks(unsigned seed) : random_(seed) {}
  Blocks(const Blocks&) = delete;
  Blocks& operator=(const Blocks&) = delete;
  ~Blocks() { give(blocks_.size()); }

  void take(std::size_t count) {
    for (; count > 0; --count) {
      const std::size_t bytes = 1 + random_() % (random_() % 8 == 0 ? 2200 : 200);
      Block block{Pool::take(bytes), bytes, static_cast<unsigned char>(random_())};
      std::memset(block.memory, block.mark, bytes);
      blocks_.push_back(block);
    }
  }
  /// Gives so many back, in any order.
  void give(std::size_t count) {
    for (; count > 0; --count) {
      std::swap(blocks_[random_() % blocks_.size()], blocks_.back());
      const Block block = blocks_.back();
      blocks_.pop_back();
      const auto* bytes = static_cast<const unsigned char*>(block.memory);
      EXPECT_TRUE(std::all_of(bytes, bytes + block.bytes, [&](unsigned char byte) { return byte == block.mark; }));
      Pool::give(block.memory, block.bytes);
    }
  }

 private:
  struct Block {
    void* memory;
    std::size_t bytes;
    unsigned char mark;
  };
  std::mt19937 random_;
  std::vector<Block> blocks_;
};

TEST(Pool, UsesAgainWhatWasGivenBack) {
  const std::size_t used = Pool::used_bytes();
  {
    Blocks lasting(1);  // what stays lies between what goes
    Blocks passing(2);
    std::size_t held = 0;
    for (int round = 0; round < 40; ++round) {
      for (int some = 0; some < 100; ++some) {
        passing.take(40);
        if (round == 0) lasting.take(2);
      }
      passing.give(4000);
      if (round == 4) held = Pool::held_bytes();
    }
    for (int some = 0; some < 40'000; ++some) {  // a part of memory may be free again before it was full
      passing.take(1);
      passing.give(1);
    }
    EXPECT_LE(Pool::held_bytes(), held + held / 20);
  }
  EXPECT_EQ(Pool::used_bytes(), used);
}

TEST(Pool, BlocksMayEndOnAnotherThread) {
  Blocks blocks(3);
  std::size_t held = 0;
  for (int round = 0; round < 20; ++round) {
    std::thread([&] { blocks.take(3000); }).join();  // the next thread goes on with what the last one left
    blocks.give(1000);
    std::thread([&] { blocks.give(2000); }).join();
    if (round == 2) held = Pool::held_bytes();
  }
  EXPECT_LE(Pool::held_bytes(), held + held / 20);
}

}  // namespace
}  // namespace tessra
