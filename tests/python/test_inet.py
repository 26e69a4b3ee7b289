"""QelInet from Python: URLs, requests against the local test server, the GIL released."""
import pathlib
import sys
import threading
import time

import pytest

import qelstd

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "inet"))
import http_server  # noqa: E402


@pytest.fixture(scope="module")
def server():
    with http_server.running() as s, pytest.MonkeyPatch.context() as env:
        for name, value in s["env"].items():
            env.setenv(name, value)
        yield s


def test_split_and_combine():
    inet = qelstd.QelInet()
    assert (inet.URL, inet.Port, inet.Scheme, inet.SchemeName) == ("", 0, 0, "http")
    inet.SplitURL("https://u:p@h.cl/a/b?x=1#f")
    assert (inet.Scheme, inet.SchemeName, inet.HostName, inet.Port) == (
        qelstd.qelSchemeHttps, "https", "h.cl", 443)
    assert (inet.UserName, inet.Password, inet.UrlPath, inet.ExtraInfo) == (
        "u", "p", "/a/b", "?x=1#f")
    assert inet.CombineURL("http://a/b/c/d;p?q", "../g") == "http://a/b/g"
    with pytest.raises(qelstd.QelError) as e:
        inet.SplitURL("http://" + "h" * 256)
    assert (e.value.Number, e.value.Source) == (122, "InternetCrackUrl")
    assert inet.URL == "http://" + "h" * 256 and inet.HostName == ""
    inet.Clear()
    assert inet.URL == ""


def test_requests(server):
    inet = qelstd.QelInet()
    assert inet.HttpGet(server["http"] + "/reply?body=hola") == b"hola"
    assert inet.HttpGet(server["http"] + "/reply?status=204") is None
    assert len(inet.HttpGet(server["http"] + "/gzip?size=3000&enc=GZIP",
                            Options=qelstd.qelHttpOptRequestGzip)) == 3000
    echo = inet.HttpPost(server["http"] + "/echo", "a=1", Headers="X-Uno: 1")
    assert echo.startswith(b"POST /echo") and echo.endswith(b"a=1")
    assert inet.HttpGet(server["https"] + "/reply?body=tls") == b"tls"
    with pytest.raises(qelstd.QelError) as e:
        inet.HttpGet(server["http"] + "/reply?status=404&reason=Not%20Found")
    assert e.value.Number == 0x80040194 - (1 << 32)
    assert e.value.Source == "QelInet.RetrieveHeaders:127.0.0.1"
    assert e.value.Description.endswith("HTTP 404 - Not Found")
    assert inet.Headers.Value("HTTP_STATUS") == 404
    with pytest.raises(qelstd.QelError) as e:
        inet.HttpGet(server["http"] + "/trickle?bytes=3&ms=1000", TimeoutMS=300)
    assert (e.value.Number, e.value.Source) == (12002, "InternetReadFile")


def test_progress_event(server):
    inet = qelstd.QelInet()
    seen = []
    inet.Connect("Progress", lambda received, total: seen.append((received, total)))
    assert len(inet.HttpGet(server["http"] + "/steady?chunks=4&size=1000&ms=20")) == 4000
    assert seen[-1] == (4000, 4000) and len(seen) >= 2


def test_requests_release_the_gil(server):
    inet = qelstd.QelInet()
    done = []
    worker = threading.Thread(
        target=lambda: done.append(inet.HttpGet(server["http"] + "/stall?ms=1500")))
    worker.start()
    time.sleep(0.1)
    start = time.monotonic()
    sum(range(1000))
    elapsed = time.monotonic() - start
    still_running = worker.is_alive()
    worker.join()
    assert still_running and elapsed < 0.7
    assert done == [b"tarde"]
