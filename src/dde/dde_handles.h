// The handle tables of a DDE instance: string handles and data handles, both 32-bit and
// never 0.
//
// String handles are atoms: the same text without regard to case always has the same handle
// while any reference to it is held, so comparing handles compares names. Each Acquire adds a
// reference, each Release drops one; the handle goes with the last. Data handles carry a block
// of bytes, its clipboard format and the item it was made for; an application-owned handle
// stays until released, others are released by whoever receives them.
//
// Handles are issued from a counter that skips 0 and handles still in use, so a long-running
// service never hands out a live handle twice.
#ifndef QEL_SRC_DDE_DDE_HANDLES_H_
#define QEL_SRC_DDE_DDE_HANDLES_H_

#include <cstdint>
#include <unordered_map>

#include "dde/named_list.h"
#include "frame/keyed_hash.h"
#include "qel/frame/text.h"
#include "qel/frame/variant.h"

namespace qel::internal {

class StringTable {
 public:
  // A reference to the handle of `text`, made when absent.
  uint32_t Acquire(TextView text);
  // Drops one reference; false for a handle that is not live.
  bool Release(uint32_t handle);
  // The text, or nullptr for a handle that is not live.
  const Text* Find(uint32_t handle) const;
  size_t size() const { return by_handle_.size(); }
  void Clear();

 private:
  struct Entry {
    Text text;
    uint32_t references;
  };
  std::unordered_map<uint32_t, Entry> by_handle_;
  std::unordered_map<Text, uint32_t, KeyedTextHashNoCase, TextEqualNoCase> by_text_;
  uint32_t last_ = 0;
};

struct DataBlock {
  ByteArray bytes;
  uint32_t item = 0;
  uint32_t format = 0;
  bool app_owned = false;
};

class DataTable {
 public:
  uint32_t Add(DataBlock block);
  // nullptr for a handle that is not live.
  const DataBlock* Find(uint32_t handle) const;
  // False for a handle that is not live.
  bool Release(uint32_t handle);
  size_t size() const { return blocks_.size(); }
  void Clear();

 private:
  std::unordered_map<uint32_t, DataBlock> blocks_;
  uint32_t last_ = 0;
};

}  // namespace qel::internal

#endif  // QEL_SRC_DDE_DDE_HANDLES_H_
