#include "dde/dde_handles.h"

#include <utility>

namespace qel::internal {
namespace {

// The next handle after `last` that is neither 0 nor live in `table`.
template <class Map>
uint32_t NextHandle(uint32_t& last, const Map& table) {
  do {
    ++last;
  } while (last == 0 || table.contains(last));
  return last;
}

}  // namespace

uint32_t StringTable::Acquire(TextView text) {
  auto it = by_text_.find(Text(text));
  if (it != by_text_.end()) {
    ++by_handle_.at(it->second).references;
    return it->second;
  }
  const uint32_t handle = NextHandle(last_, by_handle_);
  by_handle_.emplace(handle, Entry{Text(text), 1});
  by_text_.emplace(Text(text), handle);
  return handle;
}

bool StringTable::Release(uint32_t handle) {
  auto it = by_handle_.find(handle);
  if (it == by_handle_.end()) return false;
  if (--it->second.references == 0) {
    by_text_.erase(it->second.text);
    by_handle_.erase(it);
  }
  return true;
}

const Text* StringTable::Find(uint32_t handle) const {
  auto it = by_handle_.find(handle);
  return it == by_handle_.end() ? nullptr : &it->second.text;
}

void StringTable::Clear() {
  by_handle_.clear();
  by_text_.clear();
}

uint32_t DataTable::Add(DataBlock block) {
  const uint32_t handle = NextHandle(last_, blocks_);
  blocks_.emplace(handle, std::move(block));
  return handle;
}

const DataBlock* DataTable::Find(uint32_t handle) const {
  auto it = blocks_.find(handle);
  return it == blocks_.end() ? nullptr : &it->second;
}

bool DataTable::Release(uint32_t handle) { return blocks_.erase(handle) != 0; }

void DataTable::Clear() { blocks_.clear(); }

}  // namespace qel::internal
