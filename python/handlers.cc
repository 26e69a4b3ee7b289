#include "handlers.h"

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bindings.h"

namespace qel::python {
namespace {

// One connected callable. The library's handler list holds it through a shared_ptr, so copying
// a handler (the event copies it before a call) touches no Python reference count.
class PyHandler {
 public:
  PyHandler(const Object* owner, py::function fn);
  ~PyHandler();
  PyHandler(const PyHandler&) = delete;
  PyHandler& operator=(const PyHandler&) = delete;

  void Call(std::span<Variant> args);
  // Drops the callable (garbage collection); a later raise calls nothing.
  void Clear() { Py_CLEAR(fn_); }
  PyObject* callable() const { return fn_; }

 private:
  const Object* owner_;
  PyObject* fn_;  // strong reference; null once cleared
};

// The connected callables of each object. Touched only under the GIL.
using Registry = std::unordered_map<const Object*, std::vector<PyHandler*>>;
Registry& Handlers() {
  static Registry* registry = new Registry();  // never destroyed: wrappers may outlive exit
  return *registry;
}

PyHandler::PyHandler(const Object* owner, py::function fn)
    : owner_(owner), fn_(fn.release().ptr()) {
  Handlers()[owner_].push_back(this);
}

PyHandler::~PyHandler() {
  if (!Py_IsInitialized()) return;  // objects freed at process exit: leave Python alone
  py::gil_scoped_acquire gil;
  auto it = Handlers().find(owner_);
  if (it != Handlers().end()) {
    std::erase(it->second, this);
    if (it->second.empty()) Handlers().erase(it);
  }
  Py_CLEAR(fn_);
}

void PyHandler::Call(std::span<Variant> args) {
  py::gil_scoped_acquire gil;
  if (fn_ == nullptr) return;
  const auto fn = py::reinterpret_borrow<py::object>(fn_);  // alive even if disconnected meanwhile
  CallPython([&] {
    py::tuple t(args.size());
    for (size_t i = 0; i < args.size(); ++i) t[i] = FromVariant(args[i]);
    // A value returned stands for the last argument, which events that pass it by reference
    // (QelDdeTopic's QueryItem) take back; None leaves the argument as it was.
    py::object returned = fn(*t);
    if (!returned.is_none() && !args.empty()) args.back() = returned.cast<Variant>();
  });
}

long Owners(const Object* o) { return o->weak_from_this().use_count(); }

// Calls f on each object o holds a reference to and that may hold handlers of its own.
template <class F>
void ForEachOwned(const Object* o, F&& f) {
  if (const auto* record = dynamic_cast<const QelRecord*>(o)) {
    if (record->Fields()) f(record->Fields().get());
  } else if (const auto* fields = dynamic_cast<const QelRecordFields*>(o)) {
    for (const auto& field : *fields) f(field.get());
  } else if (const auto* field = dynamic_cast<const QelRecordField*>(o)) {
    if (field->ListFields()) f(field->ListFields().get());
  }
}

// The objects owned by root alone (see handlers.h), root first; empty unless root's wrapper
// holds root's only reference.
std::vector<const Object*> OwnedAlone(const Object* root) {
  if (Owners(root) != 1) return {};
  // References each reachable object gets from the reachable set.
  std::unordered_map<const Object*, long> refs{{root, 1}};
  std::vector<const Object*> order{root};
  for (size_t i = 0; i < order.size(); ++i) {
    ForEachOwned(order[i], [&](const Object* child) {
      if (refs[child]++ == 0) order.push_back(child);
    });
  }
  // Drop objects referenced from outside, then what only they referenced, until stable.
  std::unordered_map<const Object*, bool> dropped;
  for (bool changed = true; changed;) {
    changed = false;
    for (const Object* o : order) {
      if (dropped[o] || refs[o] == Owners(o)) continue;
      dropped[o] = changed = true;
      ForEachOwned(o, [&](const Object* child) { --refs[child]; });
    }
  }
  std::vector<const Object*> out;
  for (const Object* o : order) {
    if (!dropped[o]) out.push_back(o);
  }
  return out;
}

const Object* WrappedObject(PyObject* self) {
  auto* inst = reinterpret_cast<py::detail::instance*>(self);
  for (auto v_h : py::detail::values_and_holders(inst)) {
    if (!v_h.holder_constructed()) return nullptr;
    break;
  }
  try {
    return &py::handle(self).cast<const Object&>();
  } catch (const py::cast_error&) {
    return nullptr;
  }
}

int TraverseObject(PyObject* self, visitproc visit, void* arg) {
  Py_VISIT(Py_TYPE(self));
  if (Handlers().empty()) return 0;
  const Object* root = WrappedObject(self);
  if (root == nullptr) return 0;
  for (const Object* o : OwnedAlone(root)) {
    auto it = Handlers().find(o);
    if (it == Handlers().end()) continue;
    for (PyHandler* h : it->second) Py_VISIT(h->callable());
  }
  return 0;
}

int ClearObject(PyObject* self) {
  const Object* root = WrappedObject(self);
  if (root == nullptr) return 0;
  std::vector<PyHandler*> doomed;
  for (const Object* o : OwnedAlone(root)) {
    auto it = Handlers().find(o);
    if (it != Handlers().end()) doomed.insert(doomed.end(), it->second.begin(), it->second.end());
  }
  // Clearing may run Python code (a callable's last reference goes) but frees no PyHandler:
  // they belong to the object, which this wrapper still holds.
  for (PyHandler* h : doomed) h->Clear();
  return 0;
}

void DeallocObject(PyObject* self) {
  // Untracked first: the C++ destructor may run Python code, and with it the collector, which
  // must not traverse a half-destroyed wrapper.
  PyObject_GC_UnTrack(self);
  py::detail::pybind11_object_dealloc(self);
}

}  // namespace

uint64_t ConnectPython(Object& o, TextView name, py::function handler) {
  auto h = std::make_shared<PyHandler>(&o, std::move(handler));
  return o.ConnectEvent(name, [h](std::span<Variant> args) { h->Call(args); });
}

void SetUpObjectType(PyHeapTypeObject* heap_type) {
  PyTypeObject* type = &heap_type->ht_type;
  type->tp_flags |= Py_TPFLAGS_HAVE_GC;
  type->tp_traverse = TraverseObject;
  type->tp_clear = ClearObject;
  type->tp_dealloc = DeallocObject;
}

}  // namespace qel::python
