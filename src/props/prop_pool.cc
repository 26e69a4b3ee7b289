#include "props/prop_pool.h"

#include <cstdint>
#include <mutex>

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
  ASAN_POISON_MEMORY_REGION(reinterpret_cast<char*>(b) + sizeof(FreeBlock),
                            kPoolBlockSize - sizeof(FreeBlock));
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

// Hands over the `count` blocks linked from `head`.
void GiveBatch(FreeBlock* head, size_t count) noexcept {
  if (count == 0) return;
  Shared& s = TheShared();
  const std::lock_guard lock(s.mutex);
  head->batch_count = count;
  head->next_batch = s.batches;
  s.batches = head;
  s.free += count;
}

struct ThreadList {
  FreeBlock* head = nullptr;  // the batch in use
  size_t count = 0;
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
    GiveBatch(t.head, t.count);
    while (FreeBlock* b = t.full) {
      t.full = b->next_batch;
      GiveBatch(b, kBatchBlocks);
    }
    t = ThreadList{nullptr, 0, nullptr, 0, true, true};
  }
};

void Register(ThreadList& t) {
  static thread_local ExitHook hook;
  (void)hook;
  t.registered = true;
}

void Push(ThreadList& t, FreeBlock* b) {
  b->next = t.head;
  Poison(b);
  t.head = b;
  ++t.count;
}

// Sets the full batch in use aside, or hands it over when the thread has enough.
void StoreBatch(ThreadList& t) {
  if (t.full_batches == kThreadBatches) {
    GiveBatch(t.head, t.count);
  } else {
    t.head->next_batch = t.full;
    t.full = t.head;
    ++t.full_batches;
  }
  t.head = nullptr;
  t.count = 0;
}

// Fills an empty list from a batch set aside, a shared batch or a new chunk.
void Refill(ThreadList& t) {
  if (FreeBlock* b = t.full) {
    t.full = b->next_batch;
    --t.full_batches;
    t.head = b;
    t.count = kBatchBlocks;
    return;
  }
  if (!t.registered) Register(t);
  {
    Shared& s = TheShared();
    const std::lock_guard lock(s.mutex);
    if (FreeBlock* b = s.batches) {
      s.batches = b->next_batch;
      s.free -= b->batch_count;
      t.head = b;
      t.count = b->batch_count;
      return;
    }
    ++s.chunks;
  }
  auto* chunk = static_cast<char*>(::operator new(kBatchBlocks* kPoolBlockSize));
  for (size_t i = kBatchBlocks; i-- > 0;) {
    Push(t, reinterpret_cast<FreeBlock*>(chunk + i * kPoolBlockSize));
  }
}

}  // namespace

void* PoolAllocate() {
  ThreadList& t = tl_list;
  if (t.head == nullptr) [[unlikely]] {
    if (t.closed) return ::operator new(kPoolBlockSize);  // joins the pool when freed
    Refill(t);
  }
  FreeBlock* b = t.head;
  Unpoison(b);
  t.head = b->next;
  --t.count;
  return b;
}

void PoolFree(void* block) noexcept {
  ThreadList& t = tl_list;
  auto* b = static_cast<FreeBlock*>(block);
  if (t.count == kBatchBlocks || !t.registered || t.closed) [[unlikely]] {
    if (t.closed) {
      b->next = nullptr;
      Poison(b);
      GiveBatch(b, 1);
      return;
    }
    if (!t.registered) Register(t);
    if (t.count == kBatchBlocks) StoreBatch(t);
  }
  Push(t, b);
}

PoolCounts CountPool() {
  Shared& s = TheShared();
  const std::lock_guard lock(s.mutex);
  const ThreadList& t = tl_list;
  return {t.count + t.full_batches * kBatchBlocks, s.free, s.chunks};
}

}  // namespace qel::props
