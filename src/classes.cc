// The creatable classes by name. Each subsystem adds its classes to kClasses.
#include <memory>

#include "qel/dde/qel_dde.h"
#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/frame/error.h"
#include "qel/frame/object.h"
#include "qel/global/qel_global.h"
#include "qel/inet/qel_inet.h"
#include "qel/props/qel_prop.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_message.h"
#include "qel/records/qel_record.h"
#include "qel/util/qel_language.h"
#include "qel/util/qel_locale.h"
#include "qel/wait/qel_timer.h"
#include "qel/wait/qel_transfer.h"
#include "qel/wait/qel_waiter.h"

namespace qel {
namespace {

struct ClassEntry {
  const char16_t* name;
  ObjectPtr (*make)();
};

template <class T>
ObjectPtr Make() {
  return std::make_shared<T>();
}

// The global object has one instance per thread.
ObjectPtr MakeGlobal() { return QelGlobal::Instance(); }

constexpr ClassEntry kClasses[] = {
    {u"QelLocale", &Make<QelLocale>},
    {u"QelLanguage", &Make<QelLanguage>},
    {u"QelGlobal", &MakeGlobal},
    {u"QelRecordData", &Make<QelRecordData>},
    {u"QelRecordFields", &Make<QelRecordFields>},
    {u"QelProp", [] { return ObjectPtr(QelProp::Create()); }},
    {u"QelProps", &Make<QelProps>},
    {u"QelRecord", &Make<QelRecord>},
    {u"QelMessage", &Make<QelMessage>},
    {u"QelMessages", &Make<QelMessages>},
    {u"QelWaiter", &Make<QelWaiter>},
    {u"QelTimer", &Make<QelTimer>},
    {u"QelTransfer", &Make<QelTransfer>},
    {u"QelInet", &Make<QelInet>},
    {u"QelDde", &Make<QelDde>},
};

}  // namespace

ObjectPtr CreateObject(TextView class_name) {
  const TextView name = Trim(class_name);
  for (const auto& c : kClasses) {
    if (EqualsNoCase(name, c.name)) return c.make();
  }
  RaiseRuntime(kErrCannotCreate);
}

std::vector<Text> CreatableClasses() {
  std::vector<Text> names;
  for (const auto& c : kClasses) names.emplace_back(c.name);
  return names;
}

}  // namespace qel
