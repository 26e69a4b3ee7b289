"""A DDE service for the bus tests: serves on the session bus named by the environment until a
client executes "quit".

    dde_service.py NAME [mainloop|waiter]

It offers the topic "Precios" with the item "Pan" (1200); its QueryItem handler answers from a
table ("Leche" 990, "Vacia" the empty text) and refuses other names. It prints one line per
event on stdout ("READY", "QUERY name", "CHANGE name data", "EXECUTE command"); the command
"set:NAME=VALUE" changes the table and notifies the clients advising NAME. The loop is
GLib.MainLoop (the application's own loop) or QelWaiter.WaitForEvent.
"""
import sys

from gi.repository import GLib

import qelstd


def say(*words):
    print(*words, flush=True)


def main():
    name = sys.argv[1]
    mode = sys.argv[2] if len(sys.argv) > 2 else "mainloop"
    dde = qelstd.QelDde()
    try:
        dde.Initialize(name)
    except qelstd.QelError as e:
        say("ERROR", e.Number, e.Source, repr(e.Description))
        return 3
    values = {"leche": "990", "vacia": "", "pan": "1300"}
    topic = dde.Topics.Add("Precios")
    topic.Items.Add("Pan").SetData("1200")
    loop = GLib.MainLoop()
    waiter = qelstd.QelWaiter()

    def query(item, data):
        say("QUERY", item)
        return values.get(item.lower())

    def change(item, data):
        say("CHANGE", item, repr(data))

    def execute(command):
        command = command.rstrip("\0")
        say("EXECUTE", command)
        if command == "quit":
            if mode == "waiter":
                waiter.CancelWait("fin")
            else:
                loop.quit()
        elif command.startswith("set:"):
            key, value = command[4:].split("=", 1)
            values[key.lower()] = value
            topic.NotifyChange(key)
        elif command == "fail":
            error = qelstd.QelError("falla pedida")
            error.Number, error.Source, error.Description = 5, "Servicio.Execute", "falla pedida"
            raise error

    topic.Connect("QueryItem", query)
    topic.Connect("ChangeItem", change)
    topic.Connect("Execute", execute)
    say("READY")
    if mode == "waiter":
        say("WAITED", waiter.WaitForEvent("dde_service"))
    else:
        loop.run()
    dde.Terminate()
    return 0


if __name__ == "__main__":
    sys.exit(main())
