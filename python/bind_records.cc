// Records: QelRecord, its labels, the header and label enumerations, and messages.
#include "arguments.h"
#include "bindings.h"
#include "qel/frame/convert.h"

namespace qel::python {
namespace {

struct Constant {
  const char* name;
  int32_t value;
};

constexpr Constant kConstants[] = {
    {"qelOpcodeTransaction", qelOpcodeTransaction},
    {"qelOpcodeConnect", qelOpcodeConnect},
    {"qelOpcodeReply", qelOpcodeReply},
    {"qelOpcodeBroadcast", qelOpcodeBroadcast},
    {"qelOpcodeOperator", qelOpcodeOperator},
    {"qelOpcodeQuit", qelOpcodeQuit},
    {"qelOpcodeReplyAndHold", qelOpcodeReplyAndHold},
    {"qelOpcodeReleaseHold", qelOpcodeReleaseHold},
    {"qelOpcodeSessionID", qelOpcodeSessionID},
    {"qelOpcodeHostTransaction", qelOpcodeHostTransaction},
    {"qelOpcodeOperatorMessage", qelOpcodeOperatorMessage},
    {"qelOpcodeReplyWithEnc", qelOpcodeReplyWithEnc},
    {"qelOpcodeBroadcastWithEnc", qelOpcodeBroadcastWithEnc},
    {"qelOpcodeHostEncryption", qelOpcodeHostEncryption},
    {"qelOpcodeReplyWithEncAndHold", qelOpcodeReplyWithEncAndHold},
    {"qelOpcodeReplyAndLink", qelOpcodeReplyAndLink},
    {"qelOpcodeReplyWithEncAndLink", qelOpcodeReplyWithEncAndLink},
    {"qelOpcodeReinit", qelOpcodeReinit},
    {"qelOpcodeUnsolicited", qelOpcodeUnsolicited},
    {"qelOpcodeFatalAndHold", qelOpcodeFatalAndHold},
    {"qelRcodeNull", qelRcodeNull},
    {"qelRcodeAbort", qelRcodeAbort},
    {"qelRcodeAck", qelRcodeAck},
    {"qelRcodeNack", qelRcodeNack},
    {"qelProtectionNone", qelProtectionNone},
    {"qelProtection0", qelProtection0},
    {"qelProtection1", qelProtection1},
    {"qelProtection2", qelProtection2},
    {"qelProtection3", qelProtection3},
    {"qelProtection4", qelProtection4},
    {"qelProtection5", qelProtection5},
    {"qelProtection6", qelProtection6},
    {"qelProtection7", qelProtection7},
    {"qelProtection8", qelProtection8},
    {"qelProtection9", qelProtection9},
    {"qelProtectionInputOnly", qelProtectionInputOnly},
    {"qelProtectionDisplayOnly", qelProtectionDisplayOnly},
    {"qelLabelCodeMask", qelLabelCodeMask},
    {"qelLabelCodeBase", qelLabelCodeBase},
    {"qelLabelDynClass", qelLabelDynClass},
    {"qelLabelDynGroup", qelLabelDynGroup},
    {"qelLabelDynQueue", qelLabelDynQueue},
    {"qelLabelDynPriority", qelLabelDynPriority},
    {"qelLabelDynClientName", qelLabelDynClientName},
    {"qelLabelDynUserName", qelLabelDynUserName},
    {"qelLabelUserName", qelLabelUserName},
    {"qelLabelDynChatGroup", qelLabelDynChatGroup},
    {"qelLabelClientName", qelLabelClientName},
    {"qelLabelError", qelLabelError},
    {"qelLabelFormName", qelLabelFormName},
    {"qelLabelGsLocation", qelLabelGsLocation},
    {"qelLabelHostName", qelLabelHostName},
    {"qelLabelJobID", qelLabelJobID},
    {"qelLabelChecksum", qelLabelChecksum},
    {"qelLabelMD5", qelLabelMD5},
    {"qelLabelProcessID", qelLabelProcessID},
    {"qelLabelServerName", qelLabelServerName},
    {"qelLabelTranName", qelLabelTranName},
    {"qelLabelUniqueID", qelLabelUniqueID},
    {"qelLabelWindow", qelLabelWindow},
    {"qelLabelBootHost", qelLabelBootHost},
    {"qelLabelDefaultHost", qelLabelDefaultHost},
    {"qelLabelQelLinkName", qelLabelQelLinkName},
    {"qelLabelSignature", qelLabelSignature},
    {"qelLabelLocalHost", qelLabelLocalHost},
    {"qelLabelOriginator", qelLabelOriginator},
    {"qelLabelProcessName", qelLabelProcessName},
    {"qelLabelSecurityHost", qelLabelSecurityHost},
    {"qelLabelTimestamp", qelLabelTimestamp},
};

}  // namespace

void BindRecordCodes(py::module_& m) {
  for (const auto& c : kConstants) m.attr(c.name) = c.value;
}

void BindQelRecordLabel(PyClass<QelRecordLabel>& c) {
  c.def_property_readonly("Code", &QelRecordLabel::Code, "The label code (qelLabel...).")
      .def_property_readonly("CodeChar", &QelRecordLabel::CodeChar,
                             "The character that stands for the code in the link text.")
      .def_property(
          "Value", &QelRecordLabel::Value,
          [](QelRecordLabel& l, const Variant& v) { l.SetValue(CStr(v)); }, "The label's text.");
}

void BindQelRecordLabels(PyClass<QelRecordLabels>& c) {
  c.def("Add", py::overload_cast<int32_t>(&QelRecordLabels::Add), py::arg("Code"),
        "Adds a label with code Code (or returns the existing one).")
      .def("Item", &QelRecordLabels::Item, py::arg("Key"),
           "The label with code Key, or at 1-based position Key; None when absent.")
      .def("Remove", &QelRecordLabels::Remove, py::arg("Key"),
           "Removes label Key; answers whether it existed.")
      .def("Exists", &QelRecordLabels::Exists, py::arg("Key"), "Whether label Key exists.")
      .def("Value", &QelRecordLabels::Value, py::arg("Key"),
           "The text of label Key; empty when absent.")
      .def(
          "SetValue",
          [](QelRecordLabels& l, py::args args, py::kwargs kwargs) {
            const auto a = SetterArguments("SetValue", {{"Key", {}}}, args, kwargs);
            l.SetValue(a[0].cast<Variant>(), a[1].cast<Variant>());
          },
          "SetValue(Key, value): sets the text of label Key, adding the label when absent.")
      .def_property_readonly("Count", &QelRecordLabels::Count, "The number of labels.")
      .def("Clear", &QelRecordLabels::Clear, "Removes every label.")
      .def("__len__", &QelRecordLabels::Count)
      .def("__getitem__", &QelRecordLabels::Item, py::arg("Key"))
      .def("__iter__", [](const QelRecordLabels& l) { return SnapshotIterator(l); });
}

void BindQelRecord(PyClass<QelRecord>& c) {
  c.def(py::init<>())
      .def_property("Sequence", &QelRecord::Sequence, &QelRecord::SetSequence,
                    "Header: the sequence code (33..95).")
      .def_property("OpCode", &QelRecord::OpCode, &QelRecord::SetOpCode,
                    "Header: the operation code (qelOpcode...).")
      .def_property("ServerCode", &QelRecord::ServerCode, &QelRecord::SetServerCode,
                    "Header: the server code.")
      .def_property("SessionID", &QelRecord::SessionID, &QelRecord::SetSessionID,
                    "Header: the session code.")
      .def_property("TranCode", &QelRecord::TranCode, &QelRecord::SetTranCode,
                    "Header: the transaction code.")
      .def_property("ReplyCode", &QelRecord::ReplyCode, &QelRecord::SetReplyCode,
                    "Header: the reply code (qelRcode...), kept in the transaction code.")
      .def_property("FormCode", &QelRecord::FormCode, &QelRecord::SetFormCode,
                    "Header: the form code.")
      .def_property("Protection", &QelRecord::Protection, &QelRecord::SetProtection,
                    "Header: the protection code (qelProtection...).")
      .def_property_readonly("Fields", &QelRecord::Fields, "The QelRecordFields of the layout.")
      .def_property_readonly("Labels", &QelRecord::Labels, "The QelRecordLabels.")
      .def("Exists", &QelRecord::Exists, py::arg("Key"), "Whether field Key exists.")
      .def_property(
          "Name", &QelRecord::Name, [](QelRecord& r, const Variant& v) { r.SetName(CStr(v)); },
          "The record (layout) name.")
      .def_property_readonly("Length", &QelRecord::Length, "The record length.")
      .def_property("Layout", &QelRecord::Layout, &QelRecord::SetLayout,
                    "The signature text; assigning it rebuilds the fields.")
      .def_property_readonly("Dump", &QelRecord::Dump, "The layout text.")
      .def_property_readonly("Signature", &QelRecord::Signature, "The layout digest.")
      .def_property("SignANSI", &QelRecord::SignANSI, &QelRecord::SetSignANSI,
                    "Whether signed numbers are written in the ANSI style.")
      .def_property("Data", &QelRecord::Data, &QelRecord::SetData,
                    "The data text; assigning it raises Change on the fields.")
      .def_property_readonly("Text", &QelRecord::Text, "The data as display text.")
      .def(
          "Mid",
          [](const QelRecord& r, int32_t start, const OptionalVariant& length) {
            return r.Mid(start, length.OrEmpty());
          },
          py::arg("Start"), py::arg("Length") = OmittedType{},
          "Length characters of the data from Start (1-based); to the end when Length is "
          "left out.")
      .def(
          "SetMid",
          [](QelRecord& r, py::args args, py::kwargs kwargs) {
            const auto a = SetterArguments(
                "SetMid", {{"Start", {}}, {"Length", py::cast(OmittedType{})}}, args, kwargs);
            r.SetMid(a[0].cast<int32_t>(), a[1].cast<OptionalVariant>().OrEmpty(),
                     a[2].cast<Variant>());
          },
          "SetMid(Start[, Length], value): writes value's text into the data from Start.")
      .def_property("Fill", nullptr, &QelRecord::SetFill,
                    "Write-only: fills the data with a character (a text's first, or a code); "
                    "None writes null fillers.")
      .def("Clear", &QelRecord::Clear, "Removes the layout, labels and data; resets the header.")
      .def("Initialize", &QelRecord::Initialize, py::arg("Source") = nullptr,
           "Sets every field to its default, or takes the header and data of Source.")
      .def("Copy", &QelRecord::Copy, py::arg("Source"),
           "Makes this record a copy of Source: layout, header, labels and data.")
      .def("Clone", &QelRecord::Clone, "A new record that is a copy of this one.")
      .def("MoveCorresponding", &QelRecord::MoveCorresponding, py::arg("Source"),
           "Copies the values of Source's fields into the fields of the same name.")
      .def(
          "DefLayout", [](QelRecord& r, const Variant& name) { r.DefLayout(CStr(name)); },
          py::arg("Name"), "Starts declaring a layout named Name.")
      .def(
          "AddField",
          [](QelRecord& r, const Variant& name, int32_t type, int32_t length,
             const OptionalVariant& precision, const OptionalVariant& def) {
            r.AddField(CStr(name), type, length, precision.OrEmpty(), def.OrEmpty());
          },
          py::arg("Name"), py::arg("DataType"), py::arg("Length"),
          py::arg("Precision") = OmittedType{}, py::arg("Default") = OmittedType{},
          "Declares the next field of the layout begun by DefLayout.")
      .def("EndLayout", &QelRecord::EndLayout, py::arg("Apply"),
           "Ends the declaration and returns the signature text; Apply makes it the record's "
           "layout.")
      .def("Serialize", &QelRecord::Serialize, "The link text: header, labels and data.")
      .def(
          "UnSerialize", [](QelRecord& r, const Variant& m) { r.UnSerialize(CStr(m)); },
          py::arg("Message"), "Loads the header, labels and data from a link text.")
      .def("ForURL", &QelRecord::ForURL, "The fields as URL query parameters.")
      .def(
          "Eval",
          [](QelRecord& r, const Variant& e, const std::shared_ptr<QelProps>& formulas) {
            return r.Eval(CStr(e), formulas);
          },
          py::arg("Expression"), py::arg("Formulas") = nullptr,
          "Evaluates a formula over the record's fields; '@NAME' refers to the formula NAME "
          "of the bag Formulas.")
      .def(
          "__getitem__",
          [](const QelRecord& r, const Variant& key) { return r.Fields()->Item(key); },
          py::arg("Key"));
}

void BindQelMessage(PyClass<QelMessage>& c) {
  c.def(py::init<>())
      .def_property(
          "Name", &QelMessage::Name,
          [](QelMessage& msg, const Variant& v) { msg.SetName(CStr(v)); },
          "The message name (blanks removed).")
      .def_property(
          "Sender", &QelMessage::Sender,
          [](QelMessage& msg, const Variant& v) { msg.SetSender(CStr(v)); }, "The sender.")
      .def_property("Data", &QelMessage::Data, &QelMessage::SetData, "The payload.")
      .def_property_readonly("IsObject", &QelMessage::IsObject, "Whether the payload is an object.")
      .def_property_readonly("IsProps", &QelMessage::IsProps, "Whether the payload is a bag.")
      .def_property_readonly("IsRecord", &QelMessage::IsRecord, "Whether the payload is a record.")
      .def_property("Props", &QelMessage::Props, &QelMessage::SetProps,
                    "The payload as a QelProps, or None.")
      .def_property("Record", &QelMessage::Record, &QelMessage::SetRecord,
                    "The payload as a QelRecord, or None.");
}

void BindQelMessages(PyClass<QelMessages>& c) {
  c.def(py::init<>())
      .def(
          "Add",
          [](QelMessages& msgs, QelMessagePtr msg, const OptionalVariant& name) {
            msgs.Add(std::move(msg), name.value ? CStr(*name.value) : Text());
          },
          py::arg("Message"), py::arg("Name") = OmittedType{},
          "Adds Message under Name (its own name when left out).")
      .def("Item", &QelMessages::Item, py::arg("Key"),
           "The message named Key or at 1-based position Key; QelError when absent.")
      .def("Find", &QelMessages::Find, py::arg("Key"), "The message Key; None when absent.")
      .def("Remove", &QelMessages::Remove, py::arg("Key"),
           "Removes message Key; answers whether it existed.")
      .def_property_readonly("Count", &QelMessages::Count, "The number of messages.")
      .def("Clear", &QelMessages::Clear, "Removes every message.")
      .def("__len__", &QelMessages::Count)
      .def("__getitem__", &QelMessages::Item, py::arg("Key"))
      .def("__iter__", [](const QelMessages& msgs) {
        py::list items;
        for (const auto& e : msgs) items.append(py::cast(e.message));
        return py::iter(items);
      });
}

}  // namespace qel::python
