"""The DDE object model from Python: collections, events and the value a QueryItem handler
returns. Initialize needs a session bus: a private one is started for each test."""
import pytest

import qelstd


@pytest.fixture
def dde(bus):
    service = qelstd.QelDde()
    service.Initialize("Prueba")
    yield service
    service.Terminate()


def test_collections(dde):
    assert dde.Name == "Prueba"
    topics = dde.Topics
    a = topics.Add("Precios")
    b = topics.Add("Stock")
    assert [t.Name for t in topics] == ["Precios", "Stock"]
    assert topics["PRECIOS"] == a and topics[2] == b and len(topics) == 2
    assert topics.Find("nada") is None
    with pytest.raises(qelstd.QelError) as e:
        topics.Item("nada")
    assert (e.value.Number, e.value.Source, e.value.Description) == (
        5, "QelDdeTopics.Item", "Tópico DDE 'nada' no existe")
    item = a.Items.Add("Pan")
    assert item.LinkName == "Prueba|Precios!Pan" and a.LinkName == "Prueba|Precios!"
    assert item.Data is None
    item.SetData("año")
    assert item.Data == b"a\xf1o\0"
    assert a.Items.Remove("PAN") and item.hItem == 0
    assert topics.Remove(1) and a.hTopic == 0 and topics.Count == 1


def test_query_item_takes_the_value_the_handler_returns(dde):
    topic = dde.Topics.Add("T")
    answers = {"a": "1", "b": b"x\xf1", "c": ""}
    seen = []

    def query(name, data):
        seen.append((name, data))
        return answers.get(name)

    topic.Connect("QueryItem", query)
    assert topic.QueryItem("z") is None and topic.Items.Count == 0
    assert topic.QueryItem("a").Data == b"1\0"
    assert topic.QueryItem("b").Data == b"x\xf1\0"
    assert topic.QueryItem("c").Data == b"\0"
    assert seen[0] == ("z", None)  # ItemData enters as None


def test_handler_errors_pass_through_topic_methods(dde):
    topic = dde.Topics.Add("T")
    got = []
    topic.Connect("Execute", got.append)
    topic.Connect("ChangeItem", lambda name, data: got.append((name, data)))
    topic.Execute("cmd")
    topic.ChangeItem("i", "v")
    assert got == ["cmd", ("i", "v")]

    def fail(command):
        error = qelstd.QelError("malo")
        error.Number, error.Source, error.Description = 5, "App", "malo"
        raise error

    topic.Connect("Execute", fail)
    with pytest.raises(qelstd.QelError) as e:
        topic.Execute("x")
    assert e.value.Source == "QelDdeTopic.Execute:App"
