#include "props/prop_pool.h"

#include <sys/mman.h>

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
static_assert(sizeof(FreeBlock) <= kPoolBlockSize);

// Blocks move between threads in batches of at most this many (and are carved this many at a
// time), so that no list is ever walked.
constexpr size_t kBatchBlocks = 512;
// Full batches a thread keeps before handing further ones over.
constexpr size_t kThreadBatches = 4;

void Poison(FreeBlock* b) {
#ifdef QEL_POOL_POISON
  ASAN_POISON_MEMORY_REGION(b + 1, kPoolBlockSize - sizeof(FreeBlock));
#else
  (void)b;
#endif
}

void Unpoison(FreeBlock* b) {
#ifdef QEL_POOL_POISON
  ASAN_UNPOISON_MEMORY_REGION(b, kPoolBlockSize);
#else
  (void)b;
#endif
}

// Free blocks, the one freed last first: after a bag is freed, the next one read takes the
// blocks still in the cache (handing out the oldest first was much slower).
struct BlockList {
  FreeBlock* head = nullptr;
  size_t count = 0;

  void Push(FreeBlock* b) {
    b->next = head;
    Poison(b);
    head = b;
    ++count;
  }
  FreeBlock* Pop() {
    FreeBlock* b = head;
    Unpoison(b);
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
constexpr size_t kChunkBytes = kBatchBlocks * kPoolBlockSize;  // 18 pages

char* MapChunk() {
  void* mem =
      mmap(nullptr, kChunkBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mem == MAP_FAILED) throw std::bad_alloc();
#ifdef QEL_POOL_POISON
  __lsan_register_root_region(mem, kChunkBytes);  // properties point to their names and values
#endif
  return static_cast<char*>(mem);
}

// Never destroyed: threads may free blocks while the process ends.
struct Shared {
  std::mutex mutex;
  FreeBlock* batches = nullptr;  // linked through next_batch
  size_t free = 0;
  size_t chunks = 0;
};

Shared& TheShared() {
  static Shared* const shared = new Shared;
  return *shared;
}

// Hands a batch over to the shared list.
void GiveBatch(FreeBlock* batch) noexcept {
  Shared& s = TheShared();
  const std::lock_guard lock(s.mutex);
  batch->next_batch = s.batches;
  s.batches = batch;
  s.free += batch->batch_count;
}

struct ThreadList {
  BlockList blocks;           // the batch in use
  FreeBlock* full = nullptr;  // full batches, linked through next_batch
  size_t full_batches = 0;
  bool registered = false;  // the thread's exit hook exists
  bool closed = false;      // the exit hook has run
};

constinit thread_local ThreadList tl_list;

// Hands the thread's blocks to the shared list when the thread ends.
struct ExitHook {
  ~ExitHook() {
    ThreadList& t = tl_list;
    if (t.blocks.count > 0) GiveBatch(t.blocks.TakeBatch());
    while (FreeBlock* b = t.full) {
      t.full = b->next_batch;
      GiveBatch(b);
    }
    t.full_batches = 0;
    t.closed = true;
  }
};

void Register(ThreadList& t) {
  static thread_local ExitHook hook;
  (void)hook;
  t.registered = true;
}

// Sets the full batch in use aside, or hands it over when the thread has enough.
void StoreBatch(ThreadList& t) {
  FreeBlock* batch = t.blocks.TakeBatch();
  if (t.full_batches == kThreadBatches) {
    GiveBatch(batch);
  } else {
    batch->next_batch = t.full;
    t.full = batch;
    ++t.full_batches;
  }
}

// Fills an empty list from a batch set aside, a shared batch or a new chunk.
void Refill(ThreadList& t) {
  if (FreeBlock* b = t.full) {
    t.full = b->next_batch;
    --t.full_batches;
    t.blocks.SetBatch(b);
    return;
  }
  if (!t.registered) Register(t);
  {
    Shared& s = TheShared();
    const std::lock_guard lock(s.mutex);
    if (FreeBlock* b = s.batches) {
      s.batches = b->next_batch;
      s.free -= b->batch_count;
      t.blocks.SetBatch(b);
      return;
    }
    ++s.chunks;
  }
  char* chunk = MapChunk();
  for (size_t i = kBatchBlocks; i-- > 0;) {  // handed out in the order of their addresses
    auto* b = reinterpret_cast<FreeBlock*>(chunk + i * kPoolBlockSize);
    t.blocks.Push(b);
  }
}

}  // namespace

void* PoolAllocate() {
  ThreadList& t = tl_list;
  if (t.blocks.head == nullptr) [[unlikely]] {
    if (t.closed) return ::operator new(kPoolBlockSize);  // joins the pool when freed
    Refill(t);
  }
  FreeBlock* b = t.blocks.Pop();
  return b;
}

void PoolFree(void* block) noexcept {
  ThreadList& t = tl_list;
  auto* b = static_cast<FreeBlock*>(block);
  if (t.blocks.count == kBatchBlocks || !t.registered || t.closed) [[unlikely]] {
    if (t.closed) {
      BlockList one;
      one.Push(b);
      GiveBatch(one.TakeBatch());
      return;
    }
    if (!t.registered) Register(t);
    if (t.blocks.count == kBatchBlocks) StoreBatch(t);
  }
  t.blocks.Push(b);
}

PoolCounts CountPool() {
  Shared& s = TheShared();
  const std::lock_guard lock(s.mutex);
  const ThreadList& t = tl_list;
  return {t.blocks.count + t.full_batches * kBatchBlocks, s.free, s.chunks};
}

}  // namespace qel::props
