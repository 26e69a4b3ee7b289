"""The DDE service on a private session bus, driven by peers that are not this library: gdbus,
busctl and a GDBus connection of PyGObject. The service runs in a process of its own
(tests/dde/dde_service.py) on its own GLib main loop or inside QelWaiter.WaitForEvent."""
import pathlib
import queue
import subprocess
import sys
import threading

import pytest

SERVICE = pathlib.Path(__file__).resolve().parents[1] / "dde" / "dde_service.py"
BUS_NAME = "org.qelstd.Dde1.caja"
PATH = "/org/qelstd/Dde1"
IFACE = "org.qelstd.Dde1"


class Service:
    """The service process and the lines it prints."""

    def __init__(self, name="Caja", mode="mainloop"):
        self.proc = subprocess.Popen([sys.executable, str(SERVICE), name, mode],
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.proc.stdout:
            self.lines.put(line.rstrip("\n"))
        self.lines.put(None)

    def line(self, timeout=10):
        return self.lines.get(timeout=timeout)

    def drain(self):
        out = []
        while not self.lines.empty():
            out.append(self.lines.get())
        return out

    def stop(self):
        if self.proc.poll() is None:
            self.proc.terminate()
        self.proc.wait(10)


@pytest.fixture(params=["mainloop", "waiter"])
def service(bus, request):
    s = Service(mode=request.param)
    assert s.line() == "READY"
    yield s
    s.stop()


def gdbus(*args):
    return subprocess.run(
        ["gdbus", "call", "--session", "--dest", BUS_NAME, "--object-path", PATH,
         "--method"] + list(args), capture_output=True, text=True, timeout=20)


def busctl(address, *args):
    return subprocess.run(["busctl", "--address=" + address, "call", BUS_NAME, PATH, IFACE]
                          + list(args), capture_output=True, text=True, timeout=20)


def peer(address):
    """A connection of its own to the bus, as a separate program would have."""
    from gi.repository import Gio
    return Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)


def call(conn, method, signature, *args):
    """Calls method with args of signature "(...)" made of basic types and "ay"; byte arrays
    are handed over whole rather than byte by byte."""
    from gi.repository import GLib
    params = None
    if signature:
        types, body = [], signature[1:-1]
        while body:
            size = 2 if body.startswith("ay") else 1
            types.append(body[:size])
            body = body[size:]
        params = GLib.Variant.new_tuple(*[
            GLib.Variant.new_from_bytes(GLib.VariantType.new("ay"), GLib.Bytes.new(a), True)
            if t == "ay" else GLib.Variant(t, a) for t, a in zip(types, args)])
    return conn.call_sync(BUS_NAME, PATH, IFACE, method, params, None, 0, 10000, None)


def advice(params):
    conv, topic, item, data = params.unpack()
    return conv, topic, item, bytes(data)


def test_gdbus_requests_pokes_and_executes(service):
    r = gdbus(IFACE + ".RequestOnce", "Precios", "pan")
    assert r.returncode == 0, r.stderr
    assert r.stdout.strip() == "(b'1200',)"  # the text and its terminating zero
    r = gdbus(IFACE + ".PokeOnce", "precios", "Pan", "b'1500'")
    assert r.returncode == 0, r.stderr
    r = gdbus(IFACE + ".ExecuteOnce", "Precios", "b'[Abrir]'")
    assert r.returncode == 0, r.stderr
    r = gdbus(IFACE + ".Topics")
    assert r.stdout.strip() == "(['Precios'],)"
    assert service.line() == "CHANGE Pan '1500\\x00'"
    assert service.line() == "EXECUTE [Abrir]"
    # An item never supplied gets no data, and the application is not asked.
    r = gdbus(IFACE + ".RequestOnce", "Precios", "Leche")
    assert "org.qelstd.Dde1.Error.NotProcessed" in r.stderr
    r = gdbus(IFACE + ".RequestOnce", "Ventas", "Pan")
    assert "org.qelstd.Dde1.Error.NoConversation" in r.stderr
    assert "No se pudo establecer una conversación" in r.stderr


def test_advise_data_arrives_as_signals_addressed_to_the_peer(bus, service):
    from gi.repository import GLib
    conn = peer(bus)
    other = peer(bus)
    got = []
    conn.signal_subscribe(BUS_NAME, IFACE, "Advise", PATH, None, 0,
                          lambda *a: got.append(advice(a[5])))
    overheard = []
    other.signal_subscribe(None, IFACE, "Advise", None, None, 0,
                           lambda *a: overheard.append(advice(a[5])))
    (conv,) = call(conn, "Connect", "(s)", "Precios").unpack()
    call(conn, "StartAdvise", "(us)", conv, "Leche")
    assert service.line() == "QUERY Leche"
    (conv2,) = call(other, "Connect", "(s)", "Precios").unpack()
    call(other, "Execute", "(uay)", conv2, b"set:Leche=1000\0")
    ctx = GLib.MainContext.default()
    for _ in range(200):
        if got:
            break
        ctx.iteration(True) if ctx.pending() else GLib.usleep(10000)
    assert got == [(conv, "Precios", "Leche", b"1000\0")]
    assert overheard == []  # a unicast signal: nobody else gets it
    call(conn, "StopAdvise", "(us)", conv, "Leche")
    conn.close_sync(None)
    other.close_sync(None)


def test_a_peer_that_vanishes_mid_advise_is_forgotten(bus, service):
    gone = peer(bus)
    (conv,) = call(gone, "Connect", "(s)", "Precios").unpack()
    call(gone, "StartAdvise", "(us)", conv, "Pan")
    assert service.line() == "QUERY Pan"
    gone.close_sync(None)
    # The change of an item nobody advises any longer asks the application for nothing.
    r = gdbus(IFACE + ".ExecuteOnce", "Precios", "b'set:Pan=1'")
    assert r.returncode == 0, r.stderr
    assert service.line() == "EXECUTE set:Pan=1"
    r = gdbus(IFACE + ".ExecuteOnce", "Precios", "b'noop'")
    assert service.line() == "EXECUTE noop"
    assert service.drain() == []


def test_malformed_calls_get_errors_and_the_service_keeps_serving(bus, service):
    from gi.repository import GLib
    # busctl shows the error's message: GDBus's for a wrong signature, the service's texts.
    cases = [
        (("Request", "s", "x"), "does not match expected type"),
        (("Request", "us", "999", "Pan"), "Identificador de transacción inválido"),
        (("Poke", "usay", "0", "Pan", "0"), "Identificador de transacción inválido"),
        (("Connect", "s", "x" * 300), "Parámetro inválido: un nombre excede 255 caracteres"),
        (("Frobnicate",), "Frobnicate"),
    ]
    for args, error in cases:
        r = busctl(bus, *args)
        assert r.returncode != 0 and error in r.stderr, (args, r.stderr)
    conn = peer(bus)
    (conv,) = call(conn, "Connect", "(s)", "Precios").unpack()
    huge = b"x" * (1024 * 1024 + 1)
    for method, sig, args in [("Poke", "(usay)", (conv, "Pan", huge)),
                              ("PokeOnce", "(ssay)", ("Precios", "Pan", huge)),
                              ("Execute", "(uay)", (conv, huge))]:
        with pytest.raises(GLib.Error, match="InvalidParameter"):
            call(conn, method, sig, *args)
    # Someone else's conversation is not the caller's.
    with pytest.raises(GLib.Error, match="UnknownConversation"):
        busctl_conn = peer(bus)
        call(busctl_conn, "Request", "(us)", conv, "Pan")
    # An error inside the application's handler reaches the log, not the client.
    with pytest.raises(GLib.Error, match="NotProcessed"):
        call(conn, "Execute", "(uay)", conv, b"fail\0")
    assert bytes(call(conn, "Request", "(us)", conv, "pan").unpack()[0]) == b"1200\0"
    conn.close_sync(None)


def test_a_second_service_of_the_same_name_fails_initialize(bus, service):
    second = Service(name="CAJA")
    assert second.line() == ("ERROR -2147467259 QelDDE.Initialize "
                             "\"No se pudo registrar el servicio DDE 'CAJA'\"")
    assert second.proc.wait(10) == 3
    r = gdbus(IFACE + ".RequestOnce", "Precios", "Pan")
    assert r.returncode == 0, r.stderr


def test_quit_ends_the_service(service):
    r = gdbus(IFACE + ".ExecuteOnce", "Precios", "b'quit'")
    assert r.returncode == 0, r.stderr
    assert service.line() == "EXECUTE quit"
    assert service.proc.wait(10) == 0
