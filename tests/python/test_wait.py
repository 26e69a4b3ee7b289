"""QelWaiter, QelTimer and QelTransfer from Python: the wait releases the GIL and runs Python
handlers on the waiting thread; timers also fire inside GLib.MainLoop."""
import threading
import time

import pytest

import qelstd

E_FAIL = -2147467259
# Generous bound for "at once": far above a slice, far below a hang.
PROMPTLY = 2.0


def later(fn):
    """Runs fn from the calling thread's loop shortly after the current call."""
    t = qelstd.QelTransfer()

    def catch():
        holder.clear()
        fn()

    holder = [t]
    t.Connect("Catch", catch)
    t.Throw(0)


def stop_event_name():
    return "QELTHREADSTOP%X" % threading.get_native_id()


@pytest.mark.parametrize("data", [42, "texto", 2.5, None, True])
def test_timer_handler_cancels_with_data(data):
    w = qelstd.QelWaiter()
    timer = qelstd.QelTimer()
    timer.Connect("Execute", lambda: w.CancelWait(data))
    timer.Execute(5)
    assert w.WaitForEvent("test", 5000) == data
    assert not w.IsWaiting
    timer.Cancel()


def test_cancel_without_data_gives_none_and_an_object_comes_back_itself():
    w = qelstd.QelWaiter()
    later(lambda: w.CancelWait())
    assert w.WaitForEvent("") is None
    payload = qelstd.QelProps()
    later(lambda: w.CancelWait(payload))
    assert w.WaitForEvent("") is payload


def test_timeout_and_cancel_with_error_raise_qel_errors():
    w = qelstd.QelWaiter()
    with pytest.raises(qelstd.QelError) as e:
        w.WaitForEvent("", 30)
    assert (e.value.Number, e.value.Source, e.value.Description) == (
        E_FAIL, "QelWaiter.WaitForEvent:TimeoutExpired", "Tiempo de espera ha expirado")
    with pytest.raises(qelstd.QelError, match="Sin respuesta"):
        w.WaitForEvent("", TimeoutMS=30, TimeoutError="Sin respuesta")
    later(lambda: w.CancelWithError())  # every argument omitted
    with pytest.raises(qelstd.QelError) as e:
        w.WaitForEvent("")
    assert (e.value.Number, e.value.Source, e.value.Description) == (
        E_FAIL, "QelWaiter.WaitForEvent", "")


def test_stop_event_from_another_thread_ends_every_wait_until_reset():
    w = qelstd.QelWaiter()
    name = stop_event_name()
    setter = threading.Thread(target=lambda: (time.sleep(0.03), qelstd.SetNamedEvent(name)))
    setter.start()
    with pytest.raises(qelstd.QelError) as e:
        w.WaitForEvent("", 5000)
    assert e.value.Source == "QelWaiter.WaitForEvent:ThreadTerminate"
    setter.join()
    assert qelstd.ResetNamedEvent(name)
    later(lambda: w.CancelWait("sigue"))
    assert w.WaitForEvent("") == "sigue"
    assert not qelstd.SetNamedEvent("QELNOBODYHOLDSTHIS")


def test_other_python_threads_run_and_cancel_during_the_wait():
    w = qelstd.QelWaiter()
    counted = []

    def other():
        while not w.IsWaiting:
            time.sleep(0.001)
        for i in range(5):  # needs the GIL the wait gave up
            counted.append(i)
        w.CancelWait("otra hebra")

    t = threading.Thread(target=other)
    t.start()
    start = time.monotonic()
    assert w.WaitForEvent("") == "otra hebra"
    assert time.monotonic() - start < PROMPTLY
    t.join()
    assert counted == [0, 1, 2, 3, 4]


def test_worker_thread_waits_with_python_handlers():
    result = []

    def worker():
        w = qelstd.QelWaiter()
        timer = qelstd.QelTimer()
        timer.Connect("Execute", lambda: w.CancelWait(threading.get_native_id()))
        timer.Execute(5)
        result.append(w.WaitForEvent("", 5000) == threading.get_native_id())

    t = threading.Thread(target=worker)
    t.start()
    t.join()
    assert result == [True]


def test_timer_and_transfer_fire_inside_glib_main_loop():
    GLib = pytest.importorskip("gi.repository.GLib")
    loop = GLib.MainLoop()
    timer = qelstd.QelTimer()
    transfer = qelstd.QelTransfer()
    ticks = []
    caught = []

    def tick():
        ticks.append(1)
        if len(ticks) == 3:
            loop.quit()

    timer.Connect("Execute", tick)
    transfer.Connect("Catch", lambda: caught.append(1))
    timer.Execute(10)
    transfer.Throw(qelstd.ThreadWindow())
    guard = GLib.timeout_add(int(PROMPTLY * 1000), loop.quit)
    loop.run()
    GLib.source_remove(guard)
    timer.Cancel()
    assert len(ticks) == 3
    assert caught == [1]


def test_handler_exceptions_are_swallowed():
    w = qelstd.QelWaiter()
    timer = qelstd.QelTimer()
    ticks = []

    def tick():
        ticks.append(1)
        if len(ticks) == 1:
            raise ValueError("falla en el manejador")
        if len(ticks) == 2:
            raise qelstd.QelError("error de qel")
        w.CancelWait(len(ticks))

    timer.Connect("Execute", tick)
    timer.Execute(5)
    assert w.WaitForEvent("", 5000) == 3
    timer.RaiseExecute()  # direct calls swallow too


def test_handlers_may_destroy_their_own_objects():
    w = qelstd.QelWaiter()
    objects = {"timer": qelstd.QelTimer(), "transfer": qelstd.QelTransfer()}
    ticks = []

    def tick():
        ticks.append(1)
        del objects["timer"]

    def catch():
        del objects["transfer"]
        w.CancelWait("sin objetos")

    objects["timer"].Connect("Execute", tick)
    objects["transfer"].Connect("Catch", catch)
    objects["timer"].Execute(5)
    later(lambda: objects["transfer"].Throw(0))
    assert w.WaitForEvent("", 5000) == "sin objetos"
    with pytest.raises(qelstd.QelError):
        w.WaitForEvent("", 60)
    assert ticks == [1]
    assert objects == {}
