// The extension module behind the qelstd package: every class is declared first, then each
// class's members are attached by its Bind function (bind_<subsystem>.cc).
#include "arguments.h"
#include "bindings.h"
#include "handlers.h"

namespace qel::python {

Classes DeclareClasses(py::module_& m) {
  py::class_<OmittedType>(m, "_OmittedType", "The default of arguments that may be left out.")
      .def("__repr__", [](const OmittedType&) { return "<omitted>"; });
  return Classes{
      .empty = py::class_<EmptyType>(
          m, "EmptyType",
          "The type of qelstd.Empty, the automation Empty value (an uninitialized variant). "
          "It is false, equal only to itself, and differs from None (Null)."),
      .variant = py::class_<TypedVariant>(
          m, "Variant",
          "Variant(value, vartype): value converted to exactly the automation type vartype "
          "(2 Integer, 3 Long, 4 Single, 5 Double, 6 Currency, 7 Date, 8 String, 11 Boolean, "
          "14 Decimal, 17 Byte, ...), for a call that needs that type."),
      .object = py::class_<Object, std::shared_ptr<Object>>(
          m, "Object",
          "Base of every library class: Self, the object-safety methods and events by name "
          "(Connect, Disconnect).",
          py::custom_type_setup(SetUpObjectType)),
      .locale = PyClass<QelLocale>(m, "QelLocale",
                                   "Locale texts: decimal and thousands separators, date "
                                   "separator and order of a locale (the thread's by default)."),
      .language = PyClass<QelLanguage>(m, "QelLanguage",
                                       "The user's language, as an RFC 1766 tag (es-cl)."),
      .global = PyClass<QelGlobal>(
          m, "QelGlobal",
          "The global object, one per thread: RUT routines, value conversion and comparison, "
          "file helpers and the thread's defaults. Its methods are also module functions and "
          "its properties module attributes (qelstd.QelDefaultSignANSI)."),
      .record_data = PyClass<QelRecordData>(
          m, "QelRecordData",
          "A record's data text and its SignANSI flag, shared by the fields that read and "
          "write slots of it."),
      .record_field = PyClass<QelRecordField>(
          m, "QelRecordField",
          "A typed fixed-width field of a record: Value/SetValue convert, Data/SetData and "
          "Mid/SetMid read and write the slot raw. A field in a list has one occurrence per "
          "repetition, chosen by Index (1-based).\n\n"
          "Events (obj.Connect(name, handler)):\n"
          "  Change(Index): raised after the field's data changed; Index is the occurrence."),
      .record_fields = PyClass<QelRecordFields>(
          m, "QelRecordFields",
          "The fields of a layout, keyed by name (case-insensitive) or 1-based position. "
          "Assigning Layout rebuilds them from a signature text and checks its digest. "
          "c[key] is Item(key), len(c) is Count, iteration walks a snapshot."),
      .prop = PyClass<QelProp>(m, "QelProp",
                               "One named value of a property bag; the value may be a nested "
                               "bag (IsProps, Props)."),
      .props = PyClass<QelProps>(
          m, "QelProps",
          "A property bag: named values (names case-insensitive) in insertion order, "
          "nestable, with a text form (ToText, LoadFromText) and loaders. bag[key] is "
          "Item(key) (None when absent), len(bag) is Count, iteration walks a snapshot."),
      .record_label =
          PyClass<QelRecordLabel>(m, "QelRecordLabel",
                                  "A label of a record: a code and a text value carried in the "
                                  "link text."),
      .record_labels = PyClass<QelRecordLabels>(
          m, "QelRecordLabels",
          "A record's labels, keyed by label code or 1-based position. labels[key] is "
          "Item(key), the QelRecordLabel (not its value); iteration walks a snapshot."),
      .record = PyClass<QelRecord>(
          m, "QelRecord",
          "A fixed-width record: a layout (DefLayout, AddField, EndLayout or Layout), the "
          "transaction header codes, labels and data, with its link text (Serialize, "
          "UnSerialize) and a formula evaluator (Eval). rec[name] is the field "
          "(Fields.Item(name)), not its value."),
      .message = PyClass<QelMessage>(m, "QelMessage",
                                     "A message envelope: a name, a sender and a payload that is a "
                                     "value, a property bag or a record."),
      .messages = PyClass<QelMessages>(
          m, "QelMessages",
          "A collection of messages keyed by name (case-insensitive) or 1-based position. "
          "msgs[key] is Item(key), iteration walks a snapshot."),
      .waiter = PyClass<QelWaiter>(
          m, "QelWaiter",
          "Blocks its thread until CancelWait or CancelWithError delivers a result, while the "
          "thread's GLib main context keeps dispatching (timers, hand-overs, other sources).\n\n"
          "Other Python threads run during the wait; handlers run on the waiting thread."),
      .timer = PyClass<QelTimer>(
          m, "QelTimer",
          "A periodic timer raising the event 'Execute' (no arguments) on the thread that "
          "started it, from the thread's GLib loop or inside QelWaiter.WaitForEvent. Exceptions "
          "of handlers are logged and swallowed."),
      .transfer = PyClass<QelTransfer>(
          m, "QelTransfer",
          "Hands work over to the thread's loop: Throw arms one 'Catch' event (no arguments) "
          "about 1 ms later. Exceptions of handlers are logged and swallowed."),
      .inet = PyClass<QelInet>(
          m, "QelInet",
          "The internet client: splits and joins URLs (SplitURL, CombineURL) and sends HTTP "
          "and HTTPS GET and POST requests (HttpGet, HttpPost), leaving the reply's headers "
          "in Headers.\n\n"
          "Events (obj.Connect(name, handler)):\n"
          "  Progress(BytesReceived, BytesTotal): while a body arrives; BytesTotal is the "
          "announced length, 0 when none. A handler that raises stops the request."),
      .dde = PyClass<QelDde>(
          m, "QelDde",
          "The DDE-style service of the calling thread: Initialize(ServiceName) publishes it "
          "on the D-Bus session bus as 'org.qelstd.Dde1.' + the name in lower case (see the "
          "README); transactions arrive from the thread's GLib loop (GLib.MainLoop, GTK) or "
          "inside QelWaiter.WaitForEvent."),
      .dde_topics = PyClass<QelDdeTopics>(
          m, "QelDdeTopics",
          "The topics of a service, keyed by name (case-insensitive) or 1-based position. "
          "topics[key] is Item(key), iteration walks a snapshot."),
      .dde_topic = PyClass<QelDdeTopic>(
          m, "QelDdeTopic",
          "A topic of the service with its items and three events: 'Execute'(Command), "
          "'QueryItem'(ItemName, ItemData) and 'ChangeItem'(ItemName, ItemData). A QueryItem "
          "handler supplies the item's value by returning it (a str, or bytes taken as "
          "Windows-1252 text); returning None refuses the advise."),
      .dde_items = PyClass<QelDdeItems>(
          m, "QelDdeItems",
          "The items of a topic, keyed by name (case-insensitive) or 1-based position. "
          "items[key] is Item(key), iteration walks a snapshot."),
      .dde_item = PyClass<QelDdeItem>(
          m, "QelDdeItem",
          "An item of a topic holding its current value as Windows-1252 text with a "
          "terminating zero (Data)."),
  };
}

}  // namespace qel::python

PYBIND11_MODULE(_qelstd, m) {
  using namespace qel::python;
  m.doc() = "qelstd native module; import the qelstd package instead.";
  Classes c = DeclareClasses(m);

  BindQelError(m);
  BindEmpty(m, c.empty);
  BindVariant(c.variant);
  BindObject(c.object);
  BindFrameFunctions(m);

  BindQelLocale(c.locale);
  BindQelLanguage(c.language);

  BindFieldTypes(m);
  BindQelGlobal(c.global);
  BindGlobalFunctions(m);
  BindQelRecordData(c.record_data);
  BindQelRecordField(c.record_field);
  BindQelRecordFields(c.record_fields);

  BindFormatTypes(m);
  BindQelProp(c.prop);
  BindQelProps(c.props);

  BindRecordCodes(m);
  BindQelRecordLabel(c.record_label);
  BindQelRecordLabels(c.record_labels);
  BindQelRecord(c.record);
  BindQelMessage(c.message);
  BindQelMessages(c.messages);

  BindQelWaiter(c.waiter);
  BindQelTimer(c.timer);
  BindQelTransfer(c.transfer);
  BindWaitFunctions(m);

  BindInetEnums(m);
  BindQelInet(c.inet);
  BindQelDde(c.dde);
  BindQelDdeTopics(c.dde_topics);
  BindQelDdeTopic(c.dde_topic);
  BindQelDdeItems(c.dde_items);
  BindQelDdeItem(c.dde_item);
}
