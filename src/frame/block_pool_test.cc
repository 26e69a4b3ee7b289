#include "frame/block_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace qel::internal {
namespace {

struct Taken {
  unsigned char* block;
  size_t bytes;
  unsigned char fill;
};

// Blocks of every size stay apart: each keeps the bytes written into it while blocks of all
// classes are taken and freed around it in random order.
TEST(BlockPool, BlocksOfEverySizeKeepTheirBytes) {
  std::mt19937 rng(7);
  std::vector<Taken> live;
  for (int step = 0; step < 60000; ++step) {
    if (live.empty() || rng() % 3 != 0) {
      const size_t bytes = 1 + rng() % kMaxPooledBytes;
      auto* block = static_cast<unsigned char*>(PoolAllocate(bytes));
      ASSERT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
      const auto fill = static_cast<unsigned char>(step);
      std::memset(block, fill, bytes);
      live.push_back({block, bytes, fill});
    } else {
      const size_t i = rng() % live.size();
      const Taken t = live[i];
      ASSERT_TRUE(
          std::all_of(t.block, t.block + t.bytes, [&](unsigned char c) { return c == t.fill; }));
      PoolFree(t.block, t.bytes);
      live[i] = live.back();
      live.pop_back();
    }
  }
  for (const Taken& t : live) {
    ASSERT_TRUE(
        std::all_of(t.block, t.block + t.bytes, [&](unsigned char c) { return c == t.fill; }));
    PoolFree(t.block, t.bytes);
  }
}

// Freeing everything a large structure took gives its chunks back: at most one spare chunk per
// size class remains.
TEST(BlockPool, FreeingALargeStructureReturnsItsChunks) {
  const size_t before = PoolChunksForTesting();
  std::vector<std::shared_ptr<std::array<char, 100>>> many;
  for (int i = 0; i < 200000; ++i) {
    many.push_back(
        std::allocate_shared<std::array<char, 100>>(PoolAllocator<std::array<char, 100>>()));
  }
  many.clear();
  EXPECT_LE(PoolChunksForTesting(), before + 1);
}

// A block may be freed on another thread than the one that took it.
TEST(BlockPool, BlocksFreedOnOtherThreads) {
  std::vector<std::shared_ptr<int>> shared;
  for (int i = 0; i < 20000; ++i)
    shared.push_back(std::allocate_shared<int>(PoolAllocator<int>(), i));
  std::thread other([&] {
    for (size_t i = 0; i < shared.size(); i += 2) shared[i].reset();
    for (int i = 0; i < 20000; ++i) std::allocate_shared<int>(PoolAllocator<int>(), i);
  });
  for (int i = 0; i < 20000; ++i) std::allocate_shared<int>(PoolAllocator<int>(), -i);
  other.join();
  for (size_t i = 1; i < shared.size(); i += 2) ASSERT_EQ(*shared[i], static_cast<int>(i));
}

}  // namespace
}  // namespace qel::internal
