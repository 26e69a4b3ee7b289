#!/usr/bin/env python3
"""A timer ends a wait with data: the script waits for a "reply" that a timer delivers three
ticks later, while the thread's loop keeps running. Run with the module on PYTHONPATH."""
import sys

import qelstd


def main():
    waiter = qelstd.QelWaiter()
    timer = qelstd.QelTimer()
    ticks = []

    def on_tick():
        ticks.append(len(ticks) + 1)
        print("tick", ticks[-1])
        if len(ticks) == 3:
            waiter.CancelWait("respuesta del host")

    timer.Connect("Execute", on_tick)
    timer.Execute(20)
    try:
        reply = waiter.WaitForEvent("example", 5000)
    except qelstd.QelError as e:
        print("wait failed:", e.Source, e.Description)
        return 1
    finally:
        timer.Cancel()
    print("wait returned:", reply)
    return 0


if __name__ == "__main__":
    sys.exit(main())
