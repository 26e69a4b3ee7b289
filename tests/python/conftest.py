import os
import shutil
import subprocess

import pytest

import qelstd

@pytest.fixture
def es_cl():
    """Pins the thread's locale to es_CL for one test."""
    qelstd.SetThreadLocale("es_CL.UTF-8")
    yield
    qelstd.SetThreadLocale("C")


@pytest.fixture
def bus():
    """A private session bus for one test: its address, also set in os.environ for the test's
    own connections and the processes it starts. Skips the test without dbus-daemon."""
    if shutil.which("dbus-daemon") is None:
        pytest.skip("dbus-daemon is not installed (scripts/setup.sh installs it)")
    daemon = subprocess.Popen(
        ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1"],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    address = daemon.stdout.readline().strip()
    saved = os.environ.get("DBUS_SESSION_BUS_ADDRESS")
    os.environ["DBUS_SESSION_BUS_ADDRESS"] = address
    yield address
    if saved is None:
        del os.environ["DBUS_SESSION_BUS_ADDRESS"]
    else:
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = saved
    daemon.terminate()
    daemon.wait(5)
