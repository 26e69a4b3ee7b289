"""qel dde against a service on a private session bus (tests/dde/dde_service.py)."""
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

SERVICE = pathlib.Path(__file__).resolve().parents[1] / "dde" / "dde_service.py"

pytestmark = pytest.mark.skipif(
    shutil.which("dbus-daemon") is None,
    reason="dbus-daemon is not installed (scripts/setup.sh installs it)")


@pytest.fixture
def bus_env():
    daemon = subprocess.Popen(
        ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1"],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    env = {"DBUS_SESSION_BUS_ADDRESS": daemon.stdout.readline().strip()}
    yield env
    daemon.terminate()
    daemon.wait(5)


@pytest.fixture
def service(bus_env):
    # The module beside the tool in the build tree.
    python_dir = pathlib.Path(os.environ["QEL_TOOL"]).resolve().parent / "python"
    env = dict(os.environ, PYTHONPATH=str(python_dir), **bus_env)
    # A sanitized module loads only into an interpreter with the sanitizer runtime first.
    module = next(python_dir.glob("qelstd/_qelstd*.so"))
    if b"__asan_init" in module.read_bytes():
        runtime = subprocess.run(["clang++", "-print-file-name=libclang_rt.asan-x86_64.so"],
                                 capture_output=True, text=True).stdout.strip()
        env.update(LD_PRELOAD=runtime, ASAN_OPTIONS="detect_leaks=0")
    proc = subprocess.Popen([sys.executable, str(SERVICE), "Caja"], env=env,
                            stdout=subprocess.PIPE, text=True)
    assert proc.stdout.readline().strip() == "READY"
    yield proc
    proc.terminate()
    proc.wait(10)


def test_request_poke_execute_topics(qel, bus_env, service):
    r = qel("dde", "request", "caja", "precios", "PAN", env=bus_env)
    assert (r.status, r.out) == (0, "1200\n")
    r = qel("dde", "poke", "Caja", "Precios", "Pan", "año", env=bus_env)
    assert r.status == 0, r.err
    assert service.stdout.readline().strip() == "CHANGE Pan 'año\\x00'"
    r = qel("dde", "execute", "Caja", "Precios", "[Abrir]", env=bus_env)
    assert r.status == 0, r.err
    assert service.stdout.readline().strip() == "EXECUTE [Abrir]"
    r = qel("dde", "topics", "Caja", env=bus_env)
    assert (r.status, r.out) == (0, "Precios\n")


def test_advise_prints_each_value(qel, bus_env, service):
    advise = subprocess.Popen(
        [os.environ["QEL_TOOL"], "dde", "advise", "--count", "2", "Caja", "Precios", "Leche"],
        env=dict(os.environ, **bus_env), stdout=subprocess.PIPE, text=True)
    assert service.stdout.readline().strip() == "QUERY Leche"
    for value in ("1000", "1100"):
        r = qel("dde", "execute", "Caja", "Precios", "set:Leche=" + value, env=bus_env)
        assert r.status == 0, r.err
    out, _ = advise.communicate(timeout=20)
    assert (advise.returncode, out) == (0, "1000\n1100\n")


def test_failures(qel, bus_env, service):
    cases = [
        (("dde", "request", "Caja", "Ventas", "Pan"), 1,
         "No se pudo establecer una conversación"),
        (("dde", "request", "Caja", "Precios", "Agua"), 1, "Requerimiento no se completó"),
        (("dde", "request", "Otro", "Precios", "Pan"), 1, "org.qelstd.Dde1.otro"),
        (("dde", "request", "Caja", "Precios"), 2, "request recibe 3 argumentos"),
        (("dde", "advise", "--count", "0", "Caja", "Precios", "Pan"), 2, "--count"),
        (("dde", "listen", "Caja"), 2, "operación desconocida"),
    ]
    for args, status, text in cases:
        r = qel(*args, env=bus_env)
        assert r.status == status and text in r.err, (args, r.err)
