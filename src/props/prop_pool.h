// Memory for the shared objects that bags make (each property with its name, nested bags): blocks
// of a few sizes kept on free lists, so that reading a large bag text and freeing the bag do not
// go through malloc once per property.
//
// Block sizes are multiples of kPoolGrain up to kPoolMaxBlock, each size with lists of its own.
// Each thread takes blocks from a list of its own without locking, and a block freed on any
// thread goes to that thread's list. Blocks move in batches: a thread keeps a few full batches
// and hands further ones to a list shared by every thread (under a mutex), from which a thread
// that runs out refills before carving a new chunk. A thread that ends hands all its blocks
// over; what it frees after that (while its other thread-local objects are destroyed) goes
// straight to the shared list. Chunks are mapped from the system apart from malloc's heap and
// never returned: the pool keeps as many blocks as were ever in use at once, for later bags. The
// first few chunks of a size are mapped one by one; later ones are carved from 2 MB regions
// advised as huge pages. Under AddressSanitizer a free block is poisoned, so a use after free is
// still caught.
#ifndef QEL_SRC_PROPS_PROP_POOL_H_
#define QEL_SRC_PROPS_PROP_POOL_H_

#include <cstddef>
#include <memory>

namespace qel::props {

// Block sizes: a request is rounded up to a multiple of kPoolGrain; the largest block the pool
// hands out is kPoolMaxBlock bytes.
inline constexpr size_t kPoolGrain = 16;
inline constexpr size_t kPoolMaxBlock = 512;

// A block of at least `bytes` bytes, aligned for any type.
// REQUIRES: 0 < bytes <= kPoolMaxBlock.
void* PoolAllocate(size_t bytes);
// Returns a block from PoolAllocate(bytes), with the same `bytes`, on any thread.
void PoolFree(void* block, size_t bytes) noexcept;

// What the pool holds, for tests, summed over the block sizes: free blocks on the calling
// thread's lists and on the shared lists, and chunks carved so far.
struct PoolCounts {
  size_t thread_free = 0;
  size_t shared_free = 0;
  size_t chunks = 0;
};
PoolCounts CountPool();

// Allocator for std::allocate_shared: an object that fits a block (with its control block, which
// is what allocate_shared asks for) comes from the pool, anything else from operator new.
template <class T>
class PoolAllocator {
 public:
  using value_type = T;

  PoolAllocator() = default;
  template <class U>
  PoolAllocator(const PoolAllocator<U>&) noexcept {}

  T* allocate(size_t n) {
    if (Pooled(n)) return static_cast<T*>(PoolAllocate(sizeof(T)));
    return std::allocator<T>().allocate(n);
  }
  void deallocate(T* p, size_t n) noexcept {
    if (Pooled(n)) {
      PoolFree(p, sizeof(T));
    } else {
      std::allocator<T>().deallocate(p, n);
    }
  }

  friend bool operator==(const PoolAllocator&, const PoolAllocator&) { return true; }

 private:
  static bool Pooled(size_t n) {
    return n == 1 && sizeof(T) <= kPoolMaxBlock && alignof(T) <= alignof(std::max_align_t);
  }
};

}  // namespace qel::props

#endif  // QEL_SRC_PROPS_PROP_POOL_H_
