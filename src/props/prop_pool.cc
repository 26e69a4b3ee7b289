#include "props/prop_pool.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_POOL_POISON 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define QEL_POOL_POISON 1
#endif
#ifdef QEL_POOL_POISON
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace qel::props {
namespace {

// A free block starts with the link to the next one; when it heads a batch, also with the link
// to the next batch and the batch's length. The rest is poisoned under ASan.
struct FreeBlock {
  FreeBlock* next;
  FreeBlock* next_batch;
  size_t batch_count;
};
static_assert(sizeof(FreeBlock) <= kPoolGrain * 2);

// Block sizes, each a multiple of kPoolGrain: size class c holds blocks of (c + 1) * kPoolGrain
// bytes. The smallest class holds no blocks, being too small for a FreeBlock.
constexpr size_t kClasses = kPoolMaxBlock / kPoolGrain;

// The class of a request; the smallest requests take blocks that hold a FreeBlock.
size_t ClassOf(size_t bytes) {
  return (std::max(bytes, sizeof(FreeBlock)) - 1) / kPoolGrain;
}
size_t BlockBytes(size_t size_class) { return (size_class + 1) * kPoolGrain; }

// Blocks move between threads in batches of at most this many (and are carved this many at a
// time), so that no list is ever walked.
constexpr size_t kBatchBlocks = 512;
// Full batches a thread keeps before handing further ones over.
constexpr size_t kThreadBatches = 4;

void Poison(FreeBlock* b, size_t bytes) {
#ifdef QEL_POOL_POISON
  ASAN_POISON_MEMORY_REGION(b + 1, bytes - sizeof(FreeBlock));
#else
  (void)b;
  (void)bytes;
#endif
}

void Unpoison(FreeBlock* b, size_t bytes) {
#ifdef QEL_POOL_POISON
  ASAN_UNPOISON_MEMORY_REGION(b, bytes);
#else
  (void)b;
  (void)bytes;
#endif
}

// Free blocks, the one freed last first: after a bag is freed, the next one read takes the
// blocks still in the cache (handing out the oldest first was much slower).
struct BlockList {
  FreeBlock* head = nullptr;
  size_t count = 0;

  void Push(FreeBlock* b, size_t bytes) {
    b->next = head;
    Poison(b, bytes);
    head = b;
    ++count;
  }
  FreeBlock* Pop(size_t bytes) {
    FreeBlock* b = head;
    Unpoison(b, bytes);
    head = b->next;
    --count;
    return b;
  }
  // The list as a batch, headed by its first block; the list is left empty.
  FreeBlock* TakeBatch() {
    FreeBlock* b = head;
    b->batch_count = count;
    *this = BlockList();
    return b;
  }
  // REQUIRES: empty.
  void SetBatch(FreeBlock* b) {
    head = b;
    count = b->batch_count;
  }
};

// Chunks are mapped from the system, not taken from malloc: kept for good, they would pin
// malloc's heap, which then maps and unmaps every large buffer of a program afresh (writing a
// large bag after reading one took twice as long, in page faults).
// A chunk holds kBatchBlocks blocks of one size (from 8 to 64 pages).
char* MapPages(size_t bytes) {
  void* mem = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mem == MAP_FAILED) throw std::bad_alloc();
  return static_cast<char*>(mem);
}

// Memory the pool hands out blocks from, which the leak checker must search for pointers.
char* Holding(char* mem, size_t bytes) {
#ifdef QEL_POOL_POISON
  __lsan_register_root_region(mem, bytes);  // properties point to their values
#else
  (void)bytes;
#endif
  return mem;
}

char* MapChunk(size_t chunk_bytes) { return Holding(MapPages(chunk_bytes), chunk_bytes); }

// Once a block size has this many chunks, further ones are carved from regions of kRegionBytes
// aligned on that size and advised as huge pages: a large bag then spreads over a few huge pages
// instead of thousands of small ones, and walking it misses the TLB far less. A program with
// small bags keeps its small chunks.
constexpr size_t kSmallChunks = 4;
constexpr size_t kRegionBytes = size_t{2} << 20;

char* MapRegion() {
  // Mapped twice the size, then trimmed to an aligned region.
  char* const mem = MapPages(2 * kRegionBytes);
  const auto start = reinterpret_cast<uintptr_t>(mem);
  const uintptr_t aligned = (start + kRegionBytes - 1) & ~(kRegionBytes - 1);
  if (aligned > start) munmap(mem, aligned - start);
  const uintptr_t end = start + 2 * kRegionBytes;
  if (end > aligned + kRegionBytes) {
    munmap(reinterpret_cast<void*>(aligned + kRegionBytes), end - aligned - kRegionBytes);
  }
  auto* region = reinterpret_cast<char*>(aligned);
  madvise(region, kRegionBytes, MADV_HUGEPAGE);  // advice only: no huge pages is no error
  return Holding(region, kRegionBytes);
}

// The shared list of one block size. Never destroyed: threads may free blocks while the process
// ends.
struct Shared {
  std::mutex mutex;
  FreeBlock* batches = nullptr;  // linked through next_batch
  size_t free = 0;
  size_t chunks = 0;
  char* region_next = nullptr;  // what is left of the region chunks are carved from
  char* region_end = nullptr;
};

Shared& TheShared(size_t size_class) {
  static Shared* const shared = new Shared[kClasses];
  return shared[size_class];
}

// Hands a batch over to the shared list of its size.
void GiveBatch(size_t size_class, FreeBlock* batch) noexcept {
  Shared& s = TheShared(size_class);
  const std::lock_guard lock(s.mutex);
  batch->next_batch = s.batches;
  s.batches = batch;
  s.free += batch->batch_count;
}

// A thread's lists of one block size.
struct ThreadList {
  BlockList blocks;           // the batch in use
  FreeBlock* full = nullptr;  // full batches, linked through next_batch
  size_t full_batches = 0;
};

struct ThreadLists {
  ThreadList by_class[kClasses];
  bool registered = false;  // the thread's exit hook exists
  bool closed = false;      // the exit hook has run
};

constinit thread_local ThreadLists tl_lists;

// Hands the thread's blocks to the shared lists when the thread ends.
struct ExitHook {
  ~ExitHook() {
    for (size_t c = 0; c < kClasses; ++c) {
      ThreadList& t = tl_lists.by_class[c];
      if (t.blocks.count > 0) GiveBatch(c, t.blocks.TakeBatch());
      while (FreeBlock* b = t.full) {
        t.full = b->next_batch;
        GiveBatch(c, b);
      }
      t.full_batches = 0;
    }
    tl_lists.closed = true;
  }
};

void Register() {
  static thread_local ExitHook hook;
  (void)hook;
  tl_lists.registered = true;
}

// Sets the full batch in use aside, or hands it over when the thread has enough.
void StoreBatch(size_t size_class, ThreadList& t) {
  FreeBlock* batch = t.blocks.TakeBatch();
  if (t.full_batches == kThreadBatches) {
    GiveBatch(size_class, batch);
  } else {
    batch->next_batch = t.full;
    t.full = batch;
    ++t.full_batches;
  }
}

// Fills an empty list from a batch set aside, a shared batch or a new chunk.
void Refill(size_t size_class, ThreadList& t) {
  if (FreeBlock* b = t.full) {
    t.full = b->next_batch;
    --t.full_batches;
    t.blocks.SetBatch(b);
    return;
  }
  if (!tl_lists.registered) Register();
  const size_t bytes = BlockBytes(size_class);
  const size_t chunk_bytes = kBatchBlocks * bytes;
  char* chunk = nullptr;
  {
    Shared& s = TheShared(size_class);
    const std::lock_guard lock(s.mutex);
    if (FreeBlock* b = s.batches) {
      s.batches = b->next_batch;
      s.free -= b->batch_count;
      t.blocks.SetBatch(b);
      return;
    }
    if (s.chunks >= kSmallChunks) {
      if (static_cast<size_t>(s.region_end - s.region_next) < chunk_bytes) {
        s.region_next = MapRegion();
        s.region_end = s.region_next + kRegionBytes;
      }
      chunk = s.region_next;
      s.region_next += chunk_bytes;
    }
    ++s.chunks;
  }
  if (chunk == nullptr) chunk = MapChunk(chunk_bytes);
  for (size_t i = kBatchBlocks; i-- > 0;) {  // handed out in the order of their addresses
    auto* b = reinterpret_cast<FreeBlock*>(chunk + i * bytes);
    t.blocks.Push(b, bytes);
  }
}

}  // namespace

void* PoolAllocate(size_t bytes) {
  const size_t c = ClassOf(bytes);
  ThreadList& t = tl_lists.by_class[c];
  if (t.blocks.head == nullptr) [[unlikely]] {
    if (tl_lists.closed) return ::operator new(BlockBytes(c));  // joins the pool when freed
    Refill(c, t);
  }
  return t.blocks.Pop(BlockBytes(c));
}

void PoolFree(void* block, size_t bytes) noexcept {
  const size_t c = ClassOf(bytes);
  ThreadList& t = tl_lists.by_class[c];
  auto* b = static_cast<FreeBlock*>(block);
  if (t.blocks.count == kBatchBlocks || !tl_lists.registered || tl_lists.closed) [[unlikely]] {
    if (tl_lists.closed) {
      BlockList one;
      one.Push(b, BlockBytes(c));
      GiveBatch(c, one.TakeBatch());
      return;
    }
    if (!tl_lists.registered) Register();
    if (t.blocks.count == kBatchBlocks) StoreBatch(c, t);
  }
  t.blocks.Push(b, BlockBytes(c));
}

PoolCounts CountPool() {
  PoolCounts counts;
  for (size_t c = 0; c < kClasses; ++c) {
    Shared& s = TheShared(c);
    const std::lock_guard lock(s.mutex);
    const ThreadList& t = tl_lists.by_class[c];
    counts.thread_free += t.blocks.count + t.full_batches * kBatchBlocks;
    counts.shared_free += s.free;
    counts.chunks += s.chunks;
  }
  return counts;
}

}  // namespace qel::props
