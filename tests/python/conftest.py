import pytest

import qelstd


@pytest.fixture
def es_cl():
    """Pins the thread's locale to es_CL for one test."""
    qelstd.SetThreadLocale("es_CL.UTF-8")
    yield
    qelstd.SetThreadLocale("C")


@pytest.fixture
def en_us():
    qelstd.SetThreadLocale("en_US.UTF-8")
    yield
    qelstd.SetThreadLocale("C")
