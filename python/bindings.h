// Shared declarations of the binding files.
//
// The module is built in two passes: module.cc first declares every class (so that every
// signature and docstring can name any class), then attaches each class's members through
// one Bind function per class. Conveniences that are plain Python live in qelstd/__init__.py.
#ifndef QEL_PYTHON_BINDINGS_H_
#define QEL_PYTHON_BINDINGS_H_

#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "qel/dde/qel_dde.h"
#include "qel/fields/qel_record_data.h"
#include "qel/fields/qel_record_field.h"
#include "qel/fields/qel_record_fields.h"
#include "qel/frame/error.h"
#include "qel/frame/object.h"
#include "qel/global/qel_global.h"
#include "qel/inet/qel_inet.h"
#include "qel/props/qel_prop.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_message.h"
#include "qel/records/qel_record.h"
#include "qel/records/qel_record_labels.h"
#include "qel/util/qel_language.h"
#include "qel/util/qel_locale.h"
#include "qel/wait/qel_timer.h"
#include "qel/wait/qel_transfer.h"
#include "qel/wait/qel_waiter.h"
#include "variant_caster.h"

namespace qel::python {

namespace py = pybind11;

// A library class as Python sees it: derived from Object, held by shared_ptr.
template <class T>
using PyClass = py::class_<T, Object, std::shared_ptr<T>>;

// Every class of the module, declared before any member is attached.
struct Classes {
  py::class_<EmptyType> empty;
  py::class_<TypedVariant> variant;
  py::class_<Object, std::shared_ptr<Object>> object;
  PyClass<QelLocale> locale;
  PyClass<QelLanguage> language;
  PyClass<QelGlobal> global;
  PyClass<QelRecordData> record_data;
  PyClass<QelRecordField> record_field;
  PyClass<QelRecordFields> record_fields;
  PyClass<QelProp> prop;
  PyClass<QelProps> props;
  PyClass<QelRecordLabel> record_label;
  PyClass<QelRecordLabels> record_labels;
  PyClass<QelRecord> record;
  PyClass<QelMessage> message;
  PyClass<QelMessages> messages;
  PyClass<QelWaiter> waiter;
  PyClass<QelTimer> timer;
  PyClass<QelTransfer> transfer;
  PyClass<QelInet> inet;
  PyClass<QelDde> dde;
  PyClass<QelDdeTopics> dde_topics;
  PyClass<QelDdeTopic> dde_topic;
  PyClass<QelDdeItems> dde_items;
  PyClass<QelDdeItem> dde_item;
};

Classes DeclareClasses(py::module_& m);

// Frame.
void BindQelError(py::module_& m);
void BindEmpty(py::module_& m, py::class_<EmptyType>& c);
void BindVariant(py::class_<TypedVariant>& c);
void BindObject(py::class_<Object, std::shared_ptr<Object>>& c);
void BindFrameFunctions(py::module_& m);
// Desktop utilities.
void BindQelLocale(PyClass<QelLocale>& c);
void BindQelLanguage(PyClass<QelLanguage>& c);
// Field values.
void BindFieldTypes(py::module_& m);
void BindQelGlobal(PyClass<QelGlobal>& c);
void BindGlobalFunctions(py::module_& m);
void BindQelRecordData(PyClass<QelRecordData>& c);
void BindQelRecordField(PyClass<QelRecordField>& c);
void BindQelRecordFields(PyClass<QelRecordFields>& c);
// Property bags.
void BindFormatTypes(py::module_& m);
void BindQelProp(PyClass<QelProp>& c);
void BindQelProps(PyClass<QelProps>& c);
// Records.
void BindRecordCodes(py::module_& m);
void BindQelRecordLabel(PyClass<QelRecordLabel>& c);
void BindQelRecordLabels(PyClass<QelRecordLabels>& c);
void BindQelRecord(PyClass<QelRecord>& c);
void BindQelMessage(PyClass<QelMessage>& c);
void BindQelMessages(PyClass<QelMessages>& c);
// Waiting and timing.
void BindQelWaiter(PyClass<QelWaiter>& c);
void BindQelTimer(PyClass<QelTimer>& c);
void BindQelTransfer(PyClass<QelTransfer>& c);
void BindWaitFunctions(py::module_& m);
// Internet client.
void BindInetEnums(py::module_& m);
void BindQelInet(PyClass<QelInet>& c);
// DDE service.
void BindQelDde(PyClass<QelDde>& c);
void BindQelDdeTopics(PyClass<QelDdeTopics>& c);
void BindQelDdeTopic(PyClass<QelDdeTopic>& c);
void BindQelDdeItems(PyClass<QelDdeItems>& c);
void BindQelDdeItem(PyClass<QelDdeItem>& c);

// Runs a Python callable from library code: a QelError it raises becomes the same qel::Error,
// so that the library's error rules apply to it; any other Python error propagates as is.
template <class F>
decltype(auto) CallPython(F&& body) {
  try {
    return body();
  } catch (py::error_already_set& e) {
    if (e.matches(py::module_::import("qelstd").attr("QelError"))) {
      py::object v = e.value();
      throw Error(v.attr("Number").cast<int32_t>(), v.attr("Source").cast<Text>(),
                  v.attr("Description").cast<Text>());
    }
    throw;
  }
}

// A list of Python objects made from a snapshot of a C++ range, so that changing the
// collection while Python iterates cannot invalidate anything.
template <class Range>
py::iterator SnapshotIterator(const Range& range) {
  py::list items;
  for (const auto& item : range) items.append(py::cast(item));
  return py::iter(items);
}

}  // namespace qel::python

#endif  // QEL_PYTHON_BINDINGS_H_
