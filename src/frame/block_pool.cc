#include "frame/block_pool.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <utility>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define QEL_POOL_KNOWS_THREADS 1
#endif

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_POOL_USES_SYSTEM 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) && !defined(QEL_POOL_USES_SYSTEM)
#define QEL_POOL_USES_SYSTEM 1
#endif

namespace qel::internal {
namespace {

constexpr size_t kGranule = 16;

std::atomic<size_t> mapped_chunks{0};

#ifndef QEL_POOL_USES_SYSTEM

constexpr size_t kClassCount = kMaxPooledBytes / kGranule;

// A chunk starts with this header; its blocks follow. Chunks are aligned to kChunkBytes, so a
// block finds its chunk by clearing the low bits of its address.
struct Chunk {
  Chunk* prev;
  Chunk* next;
  void* free_list;  // freed blocks, linked through their first word
  char* bump;       // the first block never handed out
  uint32_t used;    // blocks handed out and not freed
  bool listed;      // on its class's list of chunks with room
};
constexpr size_t kHeaderBytes = (sizeof(Chunk) + kGranule - 1) / kGranule * kGranule;

char* ChunkEnd(Chunk* chunk) { return reinterpret_cast<char*>(chunk) + kChunkBytes; }

Chunk* ChunkOf(void* block) {
  return reinterpret_cast<Chunk*>(reinterpret_cast<uintptr_t>(block) & ~(kChunkBytes - 1));
}

// Chunks come from the system allocator, which hands out memory it has already touched
// and takes it back when the pool is done with it.
Chunk* MapChunk() {
  void* p = std::aligned_alloc(kChunkBytes, kChunkBytes);
  if (p == nullptr) throw std::bad_alloc();
  mapped_chunks.fetch_add(1, std::memory_order_relaxed);
  return static_cast<Chunk*>(p);
}

void UnmapChunk(Chunk* chunk) {
  std::free(chunk);
  mapped_chunks.fetch_sub(1, std::memory_order_relaxed);
}

// Taking a class's lock costs about as much as the rest of a pool operation. A process that
// has never started a second thread cannot race, and the C library tells so (the flag turns
// false, for good, when the first thread is created, which no pool operation does).
std::unique_lock<std::mutex> LockIfThreaded(std::mutex& mutex) {
#ifdef QEL_POOL_KNOWS_THREADS
  if (__libc_single_threaded) return std::unique_lock<std::mutex>(mutex, std::defer_lock);
#endif
  return std::unique_lock<std::mutex>(mutex);
}

// The blocks of one size. `partial` lists the chunks that have room; full chunks are on no
// list (a free puts them back), and the empty ones beyond the one spare are unmapped.
class SizeClass {
 public:
  void* Allocate(size_t block_bytes) {
    const auto lock = LockIfThreaded(mutex_);
    Chunk* chunk = partial_;
    if (chunk == nullptr) {
      chunk = spare_ != nullptr ? std::exchange(spare_, nullptr) : MapChunk();
      chunk->free_list = nullptr;
      chunk->bump = reinterpret_cast<char*>(chunk) + kHeaderBytes;
      chunk->used = 0;
      Link(chunk);
    }
    void* block;
    if (chunk->free_list != nullptr) {
      block = chunk->free_list;
      chunk->free_list = *static_cast<void**>(block);
    } else {
      block = chunk->bump;
      chunk->bump += block_bytes;
    }
    ++chunk->used;
    if (chunk->free_list == nullptr && chunk->bump + block_bytes > ChunkEnd(chunk)) Unlink(chunk);
    return block;
  }

  void Free(void* block) noexcept {
    Chunk* chunk = ChunkOf(block);
    Chunk* unmap = nullptr;
    {
      const auto lock = LockIfThreaded(mutex_);
      *static_cast<void**>(block) = chunk->free_list;
      chunk->free_list = block;
      if (--chunk->used == 0) {
        if (chunk->listed) Unlink(chunk);
        if (spare_ == nullptr) {
          spare_ = chunk;
        } else {
          unmap = chunk;
        }
      } else if (!chunk->listed) {
        Link(chunk);
      }
    }
    if (unmap != nullptr) UnmapChunk(unmap);
  }

 private:
  void Link(Chunk* chunk) {
    chunk->prev = nullptr;
    chunk->next = partial_;
    if (partial_ != nullptr) partial_->prev = chunk;
    partial_ = chunk;
    chunk->listed = true;
  }

  void Unlink(Chunk* chunk) {
    if (chunk->prev != nullptr) {
      chunk->prev->next = chunk->next;
    } else {
      partial_ = chunk->next;
    }
    if (chunk->next != nullptr) chunk->next->prev = chunk->prev;
    chunk->listed = false;
  }

  std::mutex mutex_;
  Chunk* partial_ = nullptr;
  Chunk* spare_ = nullptr;
};

// Never destroyed: blocks may be freed by destructors of static objects that run after this
// translation unit's.
std::array<SizeClass, kClassCount>& Classes() {
  static auto* classes = new std::array<SizeClass, kClassCount>();
  return *classes;
}

size_t ClassIndex(size_t bytes) { return (bytes - 1) / kGranule; }

#endif

}  // namespace

#ifdef QEL_POOL_USES_SYSTEM

void* PoolAllocate(size_t bytes) { return ::operator new (bytes, std::align_val_t{kGranule}); }

void PoolFree(void* block, size_t) noexcept {
  ::operator delete (block, std::align_val_t{kGranule});
}

#else

void* PoolAllocate(size_t bytes) {
  const size_t c = ClassIndex(bytes);
  return Classes()[c].Allocate((c + 1) * kGranule);
}

void PoolFree(void* block, size_t bytes) noexcept { Classes()[ClassIndex(bytes)].Free(block); }

#endif

size_t PoolChunksForTesting() { return mapped_chunks.load(std::memory_order_relaxed); }

}  // namespace qel::internal
