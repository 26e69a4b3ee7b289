#include "qel/dde/qel_dde.h"

#include "dde/dde_module.h"

namespace qel {

QelDde::QelDde() = default;

QelDde::~QelDde() {
  // Only the service this object started: another QelDde may run the thread's service now.
  if (instance_ != 0 && instance_ == internal::InstanceId()) internal::Terminate();
}

void QelDde::Initialize(TextView service_name) {
  const Text name(service_name);
  topics_ = nullptr;
  name_.clear();
  instance_ = 0;
  topics_ = internal::Initialize(name);
  name_ = name;
  instance_ = internal::InstanceId();
}

void QelDde::Terminate() {
  internal::Terminate();
  topics_ = nullptr;
  name_.clear();
  instance_ = 0;
}

}  // namespace qel
