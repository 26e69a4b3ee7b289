"""The binding's own conventions: argument forms, omitted arguments, iteration snapshots,
bounded conversion, handler cycles and the file helpers' no-raise rule."""
import gc
import weakref

import pytest

import qelstd
from qelstd import Empty, QelError


def list_record():
    r = qelstd.QelRecord()
    r.DefLayout("L")
    r.AddField("NAME", qelstd.qelTypeText, 6)
    r.AddField("ITEMS", qelstd.qelTypeList, 3)
    r.AddField("CODE", qelstd.qelTypeText, 4)
    r.AddField("ITEMS", qelstd.qelTypeListEnd, 0)
    r.EndLayout(True)
    return r


def test_setters_take_property_arguments_then_value():
    r = list_record()
    code, name = r["CODE"], r["NAME"]
    labels = r.Labels
    bag = qelstd.QelProps()
    cases = [
        (lambda: code.SetValue("a"), lambda: code.Value(1), "a"),
        (lambda: code.SetValue(2, "b"), lambda: code.Value(2), "b"),
        (lambda: code.SetValue(value="c", Index=3), lambda: code.Value(3), "c"),
        (lambda: code.SetValue(3, value="d"), lambda: code.Value(3), "d"),
        (lambda: code.SetData("e"), lambda: code.Data(1), "e   "),
        (lambda: code.SetData(2, "f"), lambda: code.Data(2), "f   "),
        (lambda: name.SetMid(2, 2, "XY"), lambda: name.Mid(1, 4), " XY "),
        (lambda: code.SetMid(1, 1, 2, "Z"), lambda: code.Mid(1, 1, 2), "Z"),
        (lambda: code.SetMid(Start=2, Length=1, Index=2, value="W"), lambda: code.Data(2), "ZW  "),
        (lambda: bag.SetValue("k", 1), lambda: bag.Value("k"), 1),
        (lambda: bag.SetValue("k", Empty, 2), lambda: bag.Value("k"), 2),
        (lambda: bag.SetValue(value=3, Key="k"), lambda: bag.Value("k"), 3),
        (lambda: labels.SetValue(qelstd.qelLabelJobID, "J1"),
         lambda: labels.Value(qelstd.qelLabelJobID), "J1"),
        (lambda: labels.SetValue(value="J2", Key=qelstd.qelLabelJobID),
         lambda: labels[qelstd.qelLabelJobID].Value, "J2"),
        (lambda: r.SetMid(1, "AB"), lambda: r.Mid(1, 3), "AB "),
        (lambda: r.SetMid(1, 1, "Q"), lambda: r.Mid(1, 3), "QB "),
    ]
    for i, (assign, read, expected) in enumerate(cases):
        assign()
        assert read() == expected, i


@pytest.mark.parametrize("call, message", [
    (lambda f: f.SetValue(), "missing the value"),
    (lambda f: f.SetValue(1, 2, "x"), "too many positional"),
    (lambda f: f.SetValue("x", Indice=2), "unexpected keyword argument 'Indice'"),
    (lambda f: f.SetValue(1, "x", Index=2), "given twice"),
    (lambda f: f.SetMid(1, "x"), "missing argument 'Length'"),
])
def test_setter_misuse_is_a_type_error(call, message):
    with pytest.raises(TypeError, match=message):
        call(list_record()["NAME"])


def test_default_members_give_the_element_not_its_value():
    r = list_record()
    r["NAME"].SetValue("Ana")
    assert isinstance(r["NAME"], qelstd.QelRecordField)
    r.Labels.SetValue(qelstd.qelLabelJobID, "J")
    assert isinstance(r.Labels[qelstd.qelLabelJobID], qelstd.QelRecordLabel)


def test_omitted_arguments_use_the_omitted_marker():
    bag = qelstd.QelProps()
    assert bag.Value("missing") == Empty
    assert bag.Value("missing", None) is None
    r = list_record()
    r["NAME"].SetValue("abcdef")
    assert r.Mid(3) == "cdef" + r.Data[6:]


@pytest.mark.parametrize("nest", [
    lambda x: [x],
    lambda x: (1, [x]),
])
def test_recursive_containers_raise_error_28(nest):
    cycle = []
    cycle.append(nest(cycle))
    bag = qelstd.QelProps()
    for convert in (lambda: bag.SetValue("a", cycle), lambda: qelstd.Variant(cycle, 8204)):
        with pytest.raises(QelError) as info:
            convert()
        assert info.value.Number == 28
    assert bag.Count == 0


def nested(depth):
    value = 1
    for _ in range(depth):
        value = [value]
    return value


def test_nesting_limit_is_256_levels():
    bag = qelstd.QelProps()
    bag.SetValue("deep", nested(256))
    assert bag.Value("deep") == nested(256)
    with pytest.raises(QelError) as info:
        bag.SetValue("deeper", nested(257))
    assert info.value.Number == 28


def test_iterating_fields_survives_relayout():
    r = list_record()
    other = list_record()
    other.DefLayout("OTHER")
    other.AddField("X", qelstd.qelTypeText, 2)
    other.EndLayout(True)
    names = []
    for field in r.Fields:
        names.append(field.Name)
        r.Layout = other.Layout  # replaces the collection's vector under the loop
    assert names == ["NAME", "ITEMS", "CODE", "ITEMS"]
    assert [f.Name for f in r.Fields] == ["X"]


def test_iterating_labels_survives_additions():
    labels = qelstd.QelRecord().Labels
    labels.Add(qelstd.qelLabelJobID)
    seen = []
    for label in labels:
        seen.append(label.Code)
        for code in range(qelstd.qelLabelCodeBase + 1, qelstd.qelLabelCodeBase + 40):
            labels.Add(code)  # grows the vector under the loop
    assert seen == [qelstd.qelLabelJobID]
    assert len(labels) > 1


def connect_to_field(r, seen):
    f = r["CODE"]
    f.Connect("Change", lambda index: seen.append(f.Value(index)))
    return f


def connect_to_record(r, seen):
    f = r["CODE"]
    f.Connect("Change", lambda index: seen.append(r["CODE"].Value(index)))
    return f


@pytest.mark.parametrize("connect", [connect_to_field, connect_to_record])
def test_handler_cycles_are_collected(connect):
    seen = []
    r = list_record()
    f = weakref.ref(connect(r, seen))
    r["CODE"].SetValue(2, "x")
    del r
    gc.collect()
    assert f() is None
    assert seen == ["x"]


@pytest.mark.parametrize("connect", [connect_to_field, connect_to_record])
def test_collection_keeps_handlers_of_live_objects(connect):
    seen = []
    r = list_record()
    connect(r, seen)
    gc.collect()
    r["CODE"].SetValue(3, "y")
    assert seen == ["y"]


def test_handlers_run_on_other_threads():
    import threading
    r = list_record()
    seen = []
    r["CODE"].Connect("Change", seen.append)
    t = threading.Thread(target=lambda: r["CODE"].SetValue(2, "t"))
    t.start()
    t.join()
    assert seen == [2]


@pytest.mark.parametrize("arg", [None, 3, 2.5, b"/tmp", ["/tmp"], Empty])
def test_file_helpers_never_raise(arg, es_cl):
    g = qelstd.QelGlobal()
    for helper in ("DeleteFile", "MakeDirectory", "RemoveDirectory", "OpenDocument"):
        assert getattr(qelstd, helper)(arg) is False, helper
        assert getattr(g, helper)(arg) is False, helper
    assert qelstd.OpenDocument("/nonexistent", Hwnd="x") is False


def test_file_helpers_accept_paths_and_keywords(tmp_path):
    g = qelstd.QelGlobal()
    sub = tmp_path / "sub"
    assert qelstd.MakeDirectory(DirectoryPath=sub)
    assert not g.MakeDirectory(str(sub))
    (sub / "a.txt").write_text("x")
    assert not qelstd.RemoveDirectory(sub)
    assert g.DeleteFile(FileName=str(sub / "*.txt"))
    assert g.RemoveDirectory(DirectoryPath=sub)
    assert not qelstd.OpenDocument(DocumentPath="", Hwnd=0)


def test_every_creatable_class_comes_back_as_its_python_type():
    created = []
    for name, cls in vars(qelstd).items():
        if not isinstance(cls, type) or not name.startswith("Qel") or issubclass(cls, Exception):
            continue
        try:
            obj = qelstd.CreateObject(name.lower())
        except QelError as e:
            assert e.Number == 429, name  # not creatable by name
            continue
        assert type(obj) is cls and obj.ClassName == name, name
        created.append(name)
    assert {"QelWaiter", "QelTimer", "QelTransfer", "QelInet", "QelDde", "QelRecord"} <= set(
        created)
