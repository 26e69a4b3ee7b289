// Records: QelRecord, its labels, the header and label enumerations, and messages.
#include "bindings.h"
#include "qel/frame/convert.h"
#include "qel/props/qel_props.h"
#include "qel/records/qel_message.h"
#include "qel/records/qel_record.h"
#include "qel/records/qel_record_labels.h"

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

void BindRecords(py::module_& m) {
  for (const auto& c : kConstants) m.attr(c.name) = c.value;

  py::class_<QelRecordLabel, Object, std::shared_ptr<QelRecordLabel>>(m, "QelRecordLabel")
      .def_property_readonly("Code", &QelRecordLabel::Code)
      .def_property_readonly("CodeChar", &QelRecordLabel::CodeChar)
      .def_property(
          "Value", &QelRecordLabel::Value,
          [](QelRecordLabel& l, const Variant& v) { l.SetValue(CStr(v)); });

  py::class_<QelRecordLabels, Object, std::shared_ptr<QelRecordLabels>>(m, "QelRecordLabels")
      .def("Add", py::overload_cast<int32_t>(&QelRecordLabels::Add), py::arg("Code"))
      .def("Item", &QelRecordLabels::Item, py::arg("Key"))
      .def("Remove", &QelRecordLabels::Remove, py::arg("Key"))
      .def("Exists", &QelRecordLabels::Exists, py::arg("Key"))
      .def("Value", &QelRecordLabels::Value, py::arg("Key"))
      .def("SetValue", &QelRecordLabels::SetValue, py::arg("Key"), py::arg("value"))
      .def_property_readonly("Count", &QelRecordLabels::Count)
      .def("Clear", &QelRecordLabels::Clear)
      .def("__len__", &QelRecordLabels::Count)
      .def("__getitem__", &QelRecordLabels::Item)
      .def(
          "__iter__",
          [](const QelRecordLabels& c) { return py::make_iterator(c.begin(), c.end()); },
          py::keep_alive<0, 1>());

  py::class_<QelRecord, Object, std::shared_ptr<QelRecord>>(m, "QelRecord")
      .def(py::init<>())
      .def_property("Sequence", &QelRecord::Sequence, &QelRecord::SetSequence)
      .def_property("OpCode", &QelRecord::OpCode, &QelRecord::SetOpCode)
      .def_property("ServerCode", &QelRecord::ServerCode, &QelRecord::SetServerCode)
      .def_property("SessionID", &QelRecord::SessionID, &QelRecord::SetSessionID)
      .def_property("TranCode", &QelRecord::TranCode, &QelRecord::SetTranCode)
      .def_property("ReplyCode", &QelRecord::ReplyCode, &QelRecord::SetReplyCode)
      .def_property("FormCode", &QelRecord::FormCode, &QelRecord::SetFormCode)
      .def_property("Protection", &QelRecord::Protection, &QelRecord::SetProtection)
      .def_property_readonly("Fields", &QelRecord::Fields)
      .def_property_readonly("Labels", &QelRecord::Labels)
      .def("Exists", &QelRecord::Exists, py::arg("Key"))
      .def_property("Name", &QelRecord::Name,
                    [](QelRecord& r, const Variant& v) { r.SetName(CStr(v)); })
      .def_property_readonly("Length", &QelRecord::Length)
      .def_property("Layout", &QelRecord::Layout, &QelRecord::SetLayout)
      .def_property_readonly("Dump", &QelRecord::Dump)
      .def_property_readonly("Signature", &QelRecord::Signature)
      .def_property("SignANSI", &QelRecord::SignANSI, &QelRecord::SetSignANSI)
      .def_property("Data", &QelRecord::Data, &QelRecord::SetData)
      .def_property_readonly("Text", &QelRecord::Text)
      .def("Mid", &QelRecord::Mid, py::arg("Start"), py::arg("Length") = Variant())
      .def(
          "SetMid",
          [](QelRecord& r, int32_t start, const Variant& length, const Variant& v) {
            r.SetMid(start, length, v);
          },
          py::arg("Start"), py::arg("Length") = Variant(), py::arg("value"))
      .def_property("Fill", nullptr, &QelRecord::SetFill)
      .def("Clear", &QelRecord::Clear)
      .def("Initialize", &QelRecord::Initialize, py::arg("Source") = nullptr)
      .def("Copy", &QelRecord::Copy, py::arg("Source"))
      .def("Clone", &QelRecord::Clone)
      .def("MoveCorresponding", &QelRecord::MoveCorresponding, py::arg("Source"))
      .def(
          "DefLayout", [](QelRecord& r, const Variant& name) { r.DefLayout(CStr(name)); },
          py::arg("Name"))
      .def(
          "AddField",
          [](QelRecord& r, const Variant& name, int32_t type, int32_t length,
             const Variant& precision, const Variant& def) {
            r.AddField(CStr(name), type, length, precision, def);
          },
          py::arg("Name"), py::arg("DataType"), py::arg("Length"),
          py::arg("Precision") = Variant(), py::arg("Default") = Variant())
      .def("EndLayout", &QelRecord::EndLayout, py::arg("Apply"))
      .def("Serialize", &QelRecord::Serialize)
      .def(
          "UnSerialize", [](QelRecord& r, const Variant& m) { r.UnSerialize(CStr(m)); },
          py::arg("Message"))
      .def("ForURL", &QelRecord::ForURL)
      .def(
          "Eval",
          [](QelRecord& r, const Variant& e, const std::shared_ptr<QelProps>& formulas) {
            return r.Eval(CStr(e), formulas);
          },
          py::arg("Expression"), py::arg("Formulas") = nullptr)
      .def("__getitem__", [](const QelRecord& r, const Variant& key) {
        return r.Fields()->Item(key);
      });

  py::class_<QelMessage, Object, std::shared_ptr<QelMessage>>(m, "QelMessage")
      .def(py::init<>())
      .def_property("Name", &QelMessage::Name,
                    [](QelMessage& msg, const Variant& v) { msg.SetName(CStr(v)); })
      .def_property("Sender", &QelMessage::Sender,
                    [](QelMessage& msg, const Variant& v) { msg.SetSender(CStr(v)); })
      .def_property("Data", &QelMessage::Data, &QelMessage::SetData)
      .def_property_readonly("IsObject", &QelMessage::IsObject)
      .def_property_readonly("IsProps", &QelMessage::IsProps)
      .def_property_readonly("IsRecord", &QelMessage::IsRecord)
      .def_property("Props", &QelMessage::Props, &QelMessage::SetProps)
      .def_property("Record", &QelMessage::Record, &QelMessage::SetRecord);

  py::class_<QelMessages, Object, std::shared_ptr<QelMessages>>(m, "QelMessages")
      .def(py::init<>())
      .def(
          "Add",
          [](QelMessages& c, QelMessagePtr msg, const Variant& name) {
            c.Add(std::move(msg), name.IsEmpty() ? Text() : CStr(name));
          },
          py::arg("Message"), py::arg("Name") = Variant())
      .def("Item", &QelMessages::Item, py::arg("Key"))
      .def("Find", &QelMessages::Find, py::arg("Key"))
      .def("Remove", &QelMessages::Remove, py::arg("Key"))
      .def_property_readonly("Count", &QelMessages::Count)
      .def("Clear", &QelMessages::Clear)
      .def("__len__", &QelMessages::Count)
      .def("__getitem__", &QelMessages::Item)
      .def("__iter__", [](const QelMessages& c) {
        py::list items;
        for (const auto& e : c) items.append(py::cast(e.message));
        return py::iter(items);
      });
}

}  // namespace qel::python
