"""qel url and qel http against the local test server."""
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "inet"))
import http_server  # noqa: E402


@pytest.fixture(scope="module")
def server():
    with http_server.running() as s:
        yield s


def test_url_split_and_combine(qel):
    r = qel("url", "split", "https://u:p@h.cl/a?x#f", "ftp://f")
    assert r.status == 0
    assert "Scheme=4\nSchemeName=https\nHostName=h.cl\nPort=443\nUserName=u\nPassword=p\n" \
           "UrlPath=/a\nExtraInfo=?x#f\n" in r.out
    assert "Port=21" in r.out
    assert qel("url", "combine", "http://a/b/c/d;p?q", "../../g").out == "http://a/g\n"
    r = qel("url", "split", "sin-esquema")
    assert r.status == 1 and "12006" in r.err and "InternetCrackUrl" in r.err
    assert qel("url").status == 2 and qel("url", "combine", "x").status == 2


def test_http_get_writes_body_and_headers(qel, server, tmp_path):
    r = qel("http", "get", server["http"] + "/reply?body=hola&header=X-Uno:1", env=server["env"])
    assert r.status == 0 and r.out_bytes == b"hola"
    assert "HTTP_STATUS" in r.err and "X-Uno" in r.err
    target = tmp_path / "cuerpo.bin"
    r = qel("http", "get", server["https"] + "/gzip?size=4000", "--gzip", "--output", target,
            env=server["env"])
    assert r.status == 0 and "Content-Encoding" in r.out
    assert len(target.read_bytes()) == 4000


def test_http_post_and_failures(qel, server, tmp_path):
    r = qel("http", "post", server["http"] + "/echo", "a=1", "--header", "X-Mio: 2",
            env=server["env"])
    assert r.status == 0 and b"X-Mio: 2" in r.out_bytes and r.out_bytes.endswith(b"a=1")
    target = tmp_path / "nada.bin"
    r = qel("http", "get", server["http"] + "/reply?status=404&reason=Not%20Found", "--output",
            target, env=server["env"])
    assert r.status == 1 and "HTTP 404 - Not Found" in r.err and "HTTP_STATUS" in r.out
    assert not target.exists()
    r = qel("http", "get", server["http"] + "/stall?ms=2000", "--timeout", "200",
            env=server["env"])
    assert r.status == 1 and "12002" in r.err
    assert qel("http", "get", "x", "--timeout", "ab").status == 2
    assert qel("http", "post", "x").status == 2


@pytest.mark.skipif(shutil.which("script") is None, reason="needs script(1) for a terminal")
def test_progress_line_only_on_a_terminal(qel, server, tmp_path):
    url = server["http"] + "/steady?chunks=15&size=100000&ms=10"
    target = tmp_path / "b.bin"
    plain = qel("http", "get", url, "--output", target, env=server["env"])
    assert plain.status == 0 and "MB de" not in plain.err
    command = "%s http get '%s' --output %s" % (os.environ["QEL_TOOL"], url, target)
    run = subprocess.run(["script", "-qec", command, "/dev/null"], capture_output=True,
                         env=dict(os.environ, **server["env"]), timeout=60)
    assert run.returncode == 0 and b"MB de 1,4 MB" in run.stdout
    assert target.stat().st_size == 1500000
