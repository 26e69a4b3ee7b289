import decimal

import pytest

import qelstd
from qelstd import QelError

FS, GS = "\x1c", "\x1d"


def order_record():
    r = qelstd.QelRecord()
    r.DefLayout("ORDER")
    r.AddField("CLIENT", qelstd.qelTypeText, 10)
    r.AddField("AMOUNT", qelstd.qelTypeNumeric, 9, 2)
    r.AddField("ITEMS", qelstd.qelTypeList, 3)
    r.AddField("CODE", qelstd.qelTypeText, 4)
    r.AddField("ITEMS", qelstd.qelTypeListEnd, 0)
    sig = r.EndLayout(True)
    return r, sig


def test_declare_fill_serialize_and_read_back(es_cl):
    r, sig = order_record()
    assert sig.startswith("SD:1.0:ORDER:")
    assert r.Length == 10 + 9 + 12
    r["CLIENT"].SetValue(value="Ana")
    r.Fields.Item("AMOUNT").SetValue(value=decimal.Decimal("1234.5"))
    r["CODE"].SetValue(2, "X1")
    r.OpCode = qelstd.qelOpcodeHostTransaction
    r.ReplyCode = qelstd.qelRcodeAck
    r.Labels.SetValue(qelstd.qelLabelUniqueID, "JUAN   ")
    text = r.Serialize()
    assert text.startswith("!9" + FS + "UJUAN" + GS)
    other = qelstd.CreateObject("QelRecord")
    other.Layout = r.Layout
    other.UnSerialize(text)
    assert other["AMOUNT"].Value() == decimal.Decimal("1234.5")
    assert other["CODE"].Value(2) == "X1"
    assert other.ReplyCode == qelstd.qelRcodeAck
    assert [lab.CodeChar for lab in other.Labels] == ["U"]
    assert other.Clone().Serialize() == text


def test_header_lets_and_fill():
    r, _ = order_record()
    r.Protection = qelstd.qelProtectionDisplayOnly
    assert r.Protection == qelstd.qelProtectionDisplayOnly
    r.Fill = None
    assert r.Data == "\x1a" * r.Length
    assert r.Mid(1, 2) is None  # a slot of null fillers reads as Null


def test_eval_with_formulas(es_cl):
    r, _ = order_record()
    r["AMOUNT"].SetValue(value=150)
    r["CLIENT"].SetValue(value=" Ana ")
    assert r.Eval("AMOUNT > 0 AND $Trim(CLIENT) <> ''") is True
    formulas = qelstd.QelProps()
    formulas.SetValue("BIG", "AMOUNT > '100'")
    assert r.Eval("@BIG", formulas) is True
    with pytest.raises(QelError) as info:
        r.Eval("@NOPE", Formulas=formulas)
    assert info.value.Source == "QelRecord.Eval:QelRecord.EvalFormula"
    assert info.value.Description.splitlines() == [
        "No se pudo evaluar la fórmula '@NOPE'", "Fórmula 'NOPE' no está definida"]


def test_messages_carry_records_and_bags():
    msgs = qelstd.CreateObject("QelMessages")
    m = qelstd.QelMessage()
    m.Name = "MY MSG"
    r, _ = order_record()
    m.Record = r
    assert (m.Name, m.IsRecord, m.IsProps) == ("MYMSG", True, False)
    assert m.Record == r
    msgs.Add(m, "A")
    msgs.Add(m)
    assert len(msgs) == 2 and msgs["a"] == m and msgs.Find("X") is None
    assert [x.Name for x in msgs] == ["MYMSG", "MYMSG"]
