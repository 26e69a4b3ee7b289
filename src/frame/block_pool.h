// A pool of small fixed-size blocks, for objects made and freed by the hundred thousand (the
// properties of a large bag), where the general allocator's per-object bookkeeping and the
// scattering of neighbours among unrelated allocations dominate the cost.
//
// Blocks come in size classes of 16 bytes up to kMaxPooledBytes, each class carving its blocks
// from chunks of kChunkBytes taken from the system allocator. A chunk whose last block is freed
// goes back to it, except one empty chunk per class kept to absorb a load that repeatedly fills
// and empties one chunk; so freeing a large structure returns its memory and nothing stays
// pinned for the life of the process. Each class has
// its own lock, taken once the process has a second thread: a block may be freed on another
// thread than the one that took it.
//
// Under AddressSanitizer every request goes to the system allocator, so that the sanitizer
// still sees each object on its own.
//
// Use it through PoolAllocator, e.g. std::allocate_shared<T>(PoolAllocator<T>(), ...): one
// block then holds the object and its shared_ptr control block.
#ifndef QEL_SRC_FRAME_BLOCK_POOL_H_
#define QEL_SRC_FRAME_BLOCK_POOL_H_

#include <cstddef>
#include <new>

namespace qel::internal {

inline constexpr size_t kMaxPooledBytes = 256;
inline constexpr size_t kChunkBytes = size_t{64} << 10;

// A block of at least `bytes` bytes, aligned to 16. REQUIRES: 0 < bytes <= kMaxPooledBytes.
// Raises std::bad_alloc when the system has no memory.
void* PoolAllocate(size_t bytes);
// Gives back a block. REQUIRES: `block` came from PoolAllocate(bytes) and is not yet freed.
void PoolFree(void* block, size_t bytes) noexcept;

// The number of chunks mapped for pooled blocks at present (the spare ones included).
size_t PoolChunksForTesting();

// A standard allocator over the pool. Requests for more than one object, or for objects larger
// than a pooled block or aligned beyond 16, go to the system allocator.
template <class T>
class PoolAllocator {
 public:
  using value_type = T;

  PoolAllocator() = default;
  template <class U>
  PoolAllocator(const PoolAllocator<U>&) noexcept {}

  T* allocate(size_t n) {
    if (Pooled(n)) return static_cast<T*>(PoolAllocate(sizeof(T)));
    return static_cast<T*>(::operator new (n * sizeof(T), std::align_val_t{alignof(T)}));
  }
  void deallocate(T* p, size_t n) noexcept {
    if (Pooled(n)) {
      PoolFree(p, sizeof(T));
    } else {
      ::operator delete (p, std::align_val_t{alignof(T)});
    }
  }

  template <class U>
  bool operator==(const PoolAllocator<U>&) const noexcept {
    return true;
  }

 private:
  static constexpr bool Pooled(size_t n) {
    return n == 1 && sizeof(T) <= kMaxPooledBytes && alignof(T) <= 16;
  }
};

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_BLOCK_POOL_H_
