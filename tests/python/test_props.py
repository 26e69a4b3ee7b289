import datetime
import decimal

import pytest

import qelstd
from qelstd import Empty, QelError, QelProp, QelProps, Variant


def bag_of(text):
    bag = QelProps()
    bag.LoadFromText(text)
    return bag


def test_collection_protocol_follows_item_and_count():
    bag = bag_of("b=1;A=2;c=[x=1]")
    assert len(bag) == bag.Count == 3
    assert [p.Name for p in bag] == ["b", "A", "c"]
    assert bag["a"].Value == 2 and bag[1].Name == "b"
    assert bag["missing"] is None and bag.Item(0) is None
    assert "C" in bag and "z" not in bag
    for p in bag:  # the iteration works on a snapshot
        bag.Remove(p.Name)
    assert len(bag) == 0


def test_value_reads_with_default_and_writes_value_last():
    bag = QelProps()
    assert bag.Value("missing") == Empty and bag.Value("missing", 7) == 7
    bag.SetValue(" a ", 5)
    bag.SetValue("A", Empty, 6)
    bag.SetValue(Key="b", value="x")
    assert [(p.Name, p.Value) for p in bag] == [("a", 6), ("b", "x")]


def test_nested_bags_are_shared_objects():
    inner = QelProps()
    bag = QelProps()
    bag.SetValue("q", inner)
    inner.SetValue("x", 1)
    assert bag["q"].IsProps and bag["q"].Props == inner and bag.Value("q") == inner
    assert bag.Clone()["q"].Props != inner
    bag.Merge(None)
    bag.Copy(None, "empty")
    assert bag.ToText() == "q=[x=1];empty=[]"


def test_property_value_attribute_and_object_assignments():
    source, target = QelProp(), QelProp()
    source.Value = "first"
    target.Value = source
    source.Value = "second"
    assert target.Value == "first" and target.Name == ""
    with pytest.raises(QelError) as info:
        target.Value = qelstd.QelLocale()
    assert (info.value.Number, info.value.Source, info.value.Description) == (
        -2147024809,
        "QelProp.ValueSet",
        "Asignación de objeto inválido a la propiedad ''",
    )


def test_python_values_round_trip_through_text(es_cl):
    values = {
        "l": 5,
        "i": Variant(-7, 2),
        "c": Variant(decimal.Decimal("1.2345"), 6),
        "m": decimal.Decimal("-1.50"),
        "d": 0.1,
        "t": datetime.datetime(2006, 3, 15),
        "b": True,
        "s": "a \"q\" ;[]\r\nñ€",
        "n": None,
        "e": Empty,
        "bytes": b"\x00\xff",
    }
    bag = QelProps()
    for name, value in values.items():
        bag.SetValue(name, value)
    for form in (qelstd.qelFormatNormal, qelstd.qelFormatIndented):
        back = bag_of(bag.ToText(form))
        assert [(p.Name, p.DataType, p.Value) for p in back] == [
            (p.Name, p.DataType, p.Value) for p in bag
        ]
    assert bag.ToText(qelstd.qelFormatPostData).startswith("l=5&i=-7&c=1%2C2345&m=-1%2C50&")


def test_errors_raise_qelerror():
    bag = QelProps()
    with pytest.raises(QelError) as info:
        bag.LoadFromText("A=1;X=;")
    assert info.value.Source == "QelProps.ToText"
    with pytest.raises(QelError) as info:
        bag.LoadFromText("a=[" * 5000)
    assert info.value.Number == 28


def test_loaders(tmp_path):
    bag = QelProps()
    bag.LoadFromHttp("HTTP/1.1 404 Not Found\r\n\r\n")
    assert bag.Value("HTTP_STATUS") == 404
    bag.LoadFromURL("http://host/p?b=x+y%F1&c")
    assert [(p.Name, p.Value) for p in bag] == [("b", "x yñ"), ("c", None)]
    bag.LoadFromBytes(b'n="a\xf1o"')
    assert bag.Value("n") == "año"
    path = tmp_path / "bag.txt"
    path.write_bytes('\ufeffn="día"'.encode("utf-8"))
    bag.LoadFromFile(path)
    assert bag.Value("n") == "día"
    with pytest.raises(QelError) as info:
        bag.LoadFromFile(str(tmp_path / "missing"))
    assert info.value.Source == "QelProps.LoadFromFile" and bag.Value("n") == "día"


def test_created_by_name():
    bag = qelstd.CreateObject("QelProps")
    assert isinstance(bag, QelProps) and isinstance(qelstd.CreateObject("QelProp"), QelProp)
    bag.Name = "headers"
    assert bag.Name == "headers" and qelstd.qelFormatIndented == 1
