#include "qel/props/qel_prop.h"

#include <chrono>
#include <cstring>
#include <new>

#include "props/prop_pool.h"
#include "props/props_format.h"
#include "qel/fields/qel_record_field.h"
#include "qel/frame/error.h"
#include "qel/props/qel_props.h"

namespace qel {
namespace props {

bool IsNameToken(TextView name) {
  if (name.empty() || !IsNameStart(name[0])) return false;
  const char16_t* end = name.data() + name.size();
  return SkipNameChars(name.data() + 1, end) == end;
}

namespace {

uint64_t Mix(uint64_t h) {
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdULL;
  h ^= h >> 33;
  h *= 0xc4ceb9fe1a85ec53ULL;
  h ^= h >> 33;
  return h;
}

uint64_t ProcessSeed() {
  static const uint64_t seed =
      Mix(static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
          reinterpret_cast<uintptr_t>(&seed));
  return seed;
}

}  // namespace

uint32_t KeyHash(TextView key) {
  // Two code units that UpperChar makes equal differ at most in bit 5 (a-z and A-Z, the Latin-1
  // pairs 0xE0-0xFE and 0xC0-0xDE), so hashing the units with that bit cleared gives names that
  // are equal ignoring case the same hash; the few unequal names it also merges are told apart
  // by the comparison after the lookup. Eight units are hashed at a time, as two words of which
  // only one goes through the chain of multiplications (names are mostly longer than eight
  // units, and that chain is what the hash waits on), then four, then the rest.
  constexpr uint64_t kFold = 0xFFDFFFDFFFDFFFDFULL;
  constexpr uint64_t kMul = 0x9E3779B97F4A7C15ULL;
  constexpr uint64_t kMul2 = 0xC2B2AE3D27D4EB4FULL;
  uint64_t h = ProcessSeed() ^ (key.size() * kMul);
  size_t i = 0;
  for (; i + 8 <= key.size(); i += 8) {
    uint64_t w[2];
    std::memcpy(w, key.data() + i, sizeof w);
    h = ((h ^ (w[0] & kFold)) * kMul) ^ ((w[1] & kFold) * kMul2);
    h ^= h >> 29;
  }
  if (i + 4 <= key.size()) {
    uint64_t w;
    std::memcpy(&w, key.data() + i, sizeof w);
    h = (h ^ (w & kFold)) * kMul;
    h ^= h >> 29;
    i += 4;
  }
  if (i < key.size()) {
    // The last one to three units: in a longer key, as the last four units (overlapping some
    // already hashed) in one load; in a key of one to three, gathered by shifts (a memcpy of a
    // variable length here costs a library call and a stalled load).
    uint64_t w = 0;
    if (key.size() >= 4) {
      std::memcpy(&w, key.data() + key.size() - 4, sizeof w);
    } else {
      for (size_t k = 0; k < key.size(); ++k) w |= uint64_t{key[k]} << (16 * k);
    }
    h = (h ^ (w & kFold)) * kMul;
  }
  return static_cast<uint32_t>(Mix(h));
}

}  // namespace props

// A property's block: the control block of its shared_ptr (kControlBytes, made through
// Allocator), the QelProp, then the name's code units. The block comes from the pool, or from
// operator new when a long name makes it larger than the pool's blocks. Deleter destroys the
// property when the last shared_ptr goes and leaves the block's size in its place; the
// allocator frees the block when the control block goes, after the last weak_ptr.
struct PropBlock {
  // What the control block of a shared_ptr with an empty deleter and a one-pointer allocator
  // takes in libstdc++; a larger one (libc++'s takes 40) is allocated apart.
  static constexpr size_t kControlBytes = 32;

  static size_t Bytes(size_t name_size) {
    return kControlBytes + sizeof(QelProp) + name_size * sizeof(char16_t);
  }

  static char* Allocate(size_t bytes) {
    return static_cast<char*>(bytes <= props::kPoolMaxBlock ? props::PoolAllocate(bytes)
                                                            : ::operator new(bytes));
  }

  // REQUIRES: the property that lay in `block` has been destroyed by Deleter.
  static void Free(char* block) noexcept {
    size_t bytes;
    std::memcpy(&bytes, block + kControlBytes, sizeof bytes);
    if (bytes <= props::kPoolMaxBlock) {
      props::PoolFree(block, bytes);
    } else {
      ::operator delete(block);
    }
  }

  struct Deleter {
    void operator()(QelProp* p) const noexcept {
      const size_t bytes = Bytes(p->Name().size());
      p->~QelProp();
      std::memcpy(static_cast<void*>(p), &bytes, sizeof bytes);
    }
  };

  // Hands out the room at the start of the block for the control block, the one thing the
  // shared_ptr allocates; freeing the control block frees the block.
  template <class T>
  struct Allocator {
    using value_type = T;

    explicit Allocator(char* b) noexcept : block(b) {}
    template <class U>
    Allocator(const Allocator<U>& other) noexcept : block(other.block) {}

    T* allocate(size_t n) {
      if (n * sizeof(T) <= kControlBytes && alignof(T) <= alignof(std::max_align_t)) {
        return reinterpret_cast<T*>(block);
      }
      return std::allocator<T>().allocate(n);
    }
    void deallocate(T* p, size_t n) noexcept {
      if (reinterpret_cast<char*>(p) != block) std::allocator<T>().deallocate(p, n);
      Free(block);
    }

    friend bool operator==(const Allocator& a, const Allocator& b) { return a.block == b.block; }

    char* block;
  };
};

std::shared_ptr<QelProp> QelProp::Make(TextView trimmed_name, uint32_t key_hash, bool is_token) {
  if (trimmed_name.size() > kNameSizeMask) throw std::bad_alloc();
  const auto size = static_cast<uint32_t>(trimmed_name.size());
  char* const block = PropBlock::Allocate(PropBlock::Bytes(size));
  auto* prop = new (block + PropBlock::kControlBytes)
      QelProp(key_hash, size | (is_token ? kNameIsToken : 0));
  if (size > 0) {
    std::memcpy(static_cast<void*>(prop + 1), trimmed_name.data(), size * sizeof(char16_t));
  }
  // The control block takes the room set aside for it, or, on a library whose control block is
  // larger, memory of its own; if that fails the shared_ptr has called the deleter.
  try {
    return std::shared_ptr<QelProp>(prop, PropBlock::Deleter(), PropBlock::Allocator<char>(block));
  } catch (...) {
    PropBlock::Free(block);
    throw;
  }
}

std::shared_ptr<QelProp> QelProp::Create(TextView name) {
  const TextView trimmed = Trim(name);
  return Make(trimmed, props::KeyHash(trimmed), props::IsNameToken(trimmed));
}

Text QelProp::StrName() const {
  const TextView name = Name();
  return name_is_token() ? Text(name) : QuoteText(name);
}

std::shared_ptr<QelProps> QelProp::Props() const {
  return std::dynamic_pointer_cast<QelProps>(value_.AsObject());
}

void QelProp::SetValue(const Variant& value) {
  if (!value.IsObject()) {
    value_ = value;
    return;
  }
  const ObjectPtr obj = value.AsObject();
  if (!obj) {
    RaiseError(E_INVALIDARG, u"QelProp.ValueSet", u"Asignación de objeto nulo a la propiedad '%1'",
               {Variant(Name())});
  }
  if (auto other = std::dynamic_pointer_cast<QelProp>(obj)) {
    Variant copy = other->value_;  // a copy even when other is this property
    value_ = std::move(copy);
  } else if (std::dynamic_pointer_cast<QelProps>(obj)) {
    value_ = value;
  } else if (auto field = std::dynamic_pointer_cast<QelRecordField>(obj)) {
    value_ = field->Value(1);  // the field's value of its first occurrence, not the field
  } else {
    RaiseError(E_INVALIDARG, u"QelProp.ValueSet",
               u"Asignación de objeto inválido a la propiedad '%1'", {Variant(Name())});
  }
}

}  // namespace qel
