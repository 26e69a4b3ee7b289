// DDE service: QelDde, its topics and items. Transactions run the topics' events on the
// thread that initialised the service, from its GLib loop; handlers take the GIL through the
// generic event wrapper of Object.Connect, and a QueryItem handler returns the item's value.
#include "bindings.h"

namespace qel::python {

void BindQelDde(PyClass<QelDde>& c) {
  c.def(py::init<>(), "A service not yet initialised.")
      .def_property_readonly("Name", &QelDde::Name,
                             "The service name given to Initialize; '' after Terminate.")
      .def_property_readonly("Topics", &QelDde::Topics,
                             "The topics of the service; None before Initialize.")
      .def("Initialize", &QelDde::Initialize, py::arg("ServiceName"),
           "Ends the thread's running service, then publishes this one on the session bus. "
           "QelError 'No se pudo registrar el servicio DDE ...' when the name is taken.")
      .def("Terminate", &QelDde::Terminate,
           "Ends the thread's service, removing its topics and items. Never fails.");
}

void BindQelDdeTopics(PyClass<QelDdeTopics>& c) {
  c.def_property_readonly("ServiceName", &QelDdeTopics::ServiceName, "The service name.")
      .def("Add", &QelDdeTopics::Add, py::arg("TopicName"),
           "A new topic without items; QelError for a name already there.")
      .def("Item", &QelDdeTopics::Item, py::arg("Key"),
           "The topic named Key (case-insensitive) or at 1-based position Key; QelError when "
           "absent.")
      .def(
          "Find", [](const QelDdeTopics& t, const Variant& key) { return t.Find(key); },
          py::arg("Key"), "As Item, but None when absent.")
      .def("Remove", &QelDdeTopics::Remove, py::arg("Key"),
           "Removes the topic and its items; answers whether it existed.")
      .def("Clear", &QelDdeTopics::Clear, "Removes every topic.")
      .def_property_readonly("Count", &QelDdeTopics::Count, "The number of topics.")
      .def("__len__", &QelDdeTopics::Count)
      .def("__getitem__", &QelDdeTopics::Item, py::arg("Key"))
      .def("__iter__", [](const QelDdeTopics& t) { return SnapshotIterator(t.NewEnum()); });
}

void BindQelDdeTopic(PyClass<QelDdeTopic>& c) {
  c.def_property_readonly("Name", &QelDdeTopic::Name, "The topic name.")
      .def_property_readonly("ServiceName", &QelDdeTopic::ServiceName, "The service name.")
      .def_property_readonly("LinkName", &QelDdeTopic::LinkName,
                             "ServiceName + '|' + Name + '!', ready for an item name.")
      .def_property_readonly("hTopic", &QelDdeTopic::hTopic,
                             "The string handle of the name (0 once removed).")
      .def_property_readonly("Items", &QelDdeTopic::Items, "The items of the topic.")
      .def("NotifyChange", &QelDdeTopic::NotifyChange, py::arg("ItemName"),
           "Tells the clients advising the item that it changed; they get its value from "
           "the QueryItem event. A name no item has refreshes every advise loop of the topic.")
      .def("QueryItem", &QelDdeTopic::QueryItem, py::arg("ItemName"),
           "Raises QueryItem; the value a handler returns is stored in the item (created when "
           "absent), which is returned. None when no handler returned a value.")
      .def("ChangeItem", &QelDdeTopic::ChangeItem, py::arg("ItemName"), py::arg("ItemData"),
           "Raises ChangeItem(ItemName, ItemData).")
      .def("Execute", &QelDdeTopic::Execute, py::arg("Command"), "Raises Execute(Command).");
}

void BindQelDdeItems(PyClass<QelDdeItems>& c) {
  c.def_property_readonly("ServiceName", &QelDdeItems::ServiceName, "The service name.")
      .def_property_readonly("TopicName", &QelDdeItems::TopicName, "The topic name.")
      .def_property_readonly("hTopic", &QelDdeItems::hTopic, "The topic's string handle.")
      .def("Add", &QelDdeItems::Add, py::arg("ItemName"),
           "A new item without value; QelError for a name already there.")
      .def("Item", &QelDdeItems::Item, py::arg("Key"),
           "The item named Key (case-insensitive) or at 1-based position Key; QelError when "
           "absent.")
      .def(
          "Find", [](const QelDdeItems& t, const Variant& key) { return t.Find(key); },
          py::arg("Key"), "As Item, but None when absent.")
      .def("Remove", &QelDdeItems::Remove, py::arg("Key"),
           "Removes the item; answers whether it existed.")
      .def("Clear", &QelDdeItems::Clear, "Removes every item.")
      .def_property_readonly("Count", &QelDdeItems::Count, "The number of items.")
      .def("__len__", &QelDdeItems::Count)
      .def("__getitem__", &QelDdeItems::Item, py::arg("Key"))
      .def("__iter__", [](const QelDdeItems& t) { return SnapshotIterator(t.NewEnum()); });
}

void BindQelDdeItem(PyClass<QelDdeItem>& c) {
  c.def_property_readonly("Name", &QelDdeItem::Name, "The item name.")
      .def_property_readonly("TopicName", &QelDdeItem::TopicName, "The topic name.")
      .def_property_readonly("ServiceName", &QelDdeItem::ServiceName, "The service name.")
      .def_property_readonly("LinkName", &QelDdeItem::LinkName,
                             "ServiceName + '|' + TopicName + '!' + Name.")
      .def_property_readonly("hItem", &QelDdeItem::hItem,
                             "The string handle of the name (0 once removed).")
      .def_property_readonly("hTopic", &QelDdeItem::hTopic, "The topic's string handle.")
      .def_property_readonly("hData", &QelDdeItem::hData,
                             "The data handle of the current value; 0 when none.")
      .def_property_readonly("Data", &QelDdeItem::Data,
                             "The current value as bytes (Windows-1252 text and its "
                             "terminating zero); None when there is none.")
      .def("SetData", &QelDdeItem::SetData, py::arg("ItemData"),
           "Replaces the value: bytes are taken as Windows-1252 text, anything else is "
           "converted to text. Clients are told only by the topic's NotifyChange.");
}

}  // namespace qel::python
