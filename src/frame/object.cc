#include "qel/frame/object.h"

#include "qel/frame/error.h"

namespace qel {

ObjectPtr Object::Self() {
  ObjectPtr self = weak_from_this().lock();
  if (!self) RaiseRuntime(kErrObjectNotSet);
  return self;
}

uint64_t Object::ConnectEvent(TextView, GenericHandler) { RaiseRuntime(kErrNoSuchMember); }

bool Object::DisconnectEvent(uint64_t) { return false; }

}  // namespace qel
