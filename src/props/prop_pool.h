// Memory for the shared QelProp objects that bags make: fixed-size blocks kept on free lists, so
// that reading a large bag text and freeing the bag do not go through malloc once per property.
//
// Each thread takes blocks from a list of its own without locking, and a block freed on any
// thread goes to that thread's list. Blocks move in batches: a thread keeps a few full batches
// and hands further ones to a list shared by every thread (under a mutex), from which a thread
// that runs out refills before carving a new chunk. A thread that ends hands all its blocks
// over; what it frees after that (while its other thread-local objects are destroyed) goes
// straight to the shared list. Chunks are mapped from the system apart from malloc's heap and
// never returned: the pool keeps as many blocks as were ever in use at once, for later bags. Under
// AddressSanitizer a free block is poisoned, so a use after free is still caught.
#ifndef QEL_SRC_PROPS_PROP_POOL_H_
#define QEL_SRC_PROPS_PROP_POOL_H_

#include <cstddef>
#include <memory>

namespace qel::props {

// Size of a block: a QelProp together with the control block of its shared_ptr.
inline constexpr size_t kPoolBlockSize = 144;

// A block of kPoolBlockSize bytes, aligned for any type.
void* PoolAllocate();
// Returns a block from PoolAllocate, on any thread.
void PoolFree(void* block) noexcept;

// What the pool holds, for tests: free blocks on the calling thread's list and on the shared
// list, and chunks carved so far.
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
    if (Pooled(n)) return static_cast<T*>(PoolAllocate());
    return std::allocator<T>().allocate(n);
  }
  void deallocate(T* p, size_t n) noexcept {
    if (Pooled(n)) {
      PoolFree(p);
    } else {
      std::allocator<T>().deallocate(p, n);
    }
  }

  friend bool operator==(const PoolAllocator&, const PoolAllocator&) { return true; }

 private:
  static bool Pooled(size_t n) {
    return n == 1 && sizeof(T) <= kPoolBlockSize && alignof(T) <= alignof(std::max_align_t);
  }
};

}  // namespace qel::props

#endif  // QEL_SRC_PROPS_PROP_POOL_H_
