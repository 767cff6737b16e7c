#!/usr/bin/python3
# Drives the program from outside, as a screen reader does: through AT-SPI. Finds whatever can have the focus, hears what
# MEASURE and SOURCE say and when they say nothing, and does a download without seeing it.
#   accessibility_test.py PX40AP
# Started anew below a session bus and a screen of its own. Ends with 77 where something for it is missing.

import os
import shutil
import subprocess
import sys
import tempfile
import time
import warnings

warnings.simplefilter("ignore", DeprecationWarning)  # the binding's own
SECONDS = 60  # the longest that anything may take

if "PX40_INSIDE" not in os.environ:
    for tool in ("dbus-run-session", "xvfb-run"):
        if not shutil.which(tool):
            print(f"Skipped: {tool} is not installed.")
            sys.exit(77)
    if not os.path.exists("/usr/share/dbus-1/services/org.a11y.Bus.service"):
        print("Skipped: at-spi2-core is not installed.")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as home:
        inside = dict(os.environ, PX40_INSIDE="1", HOME=home, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb")
        for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "AT_SPI_BUS_ADDRESS", "WAYLAND_DISPLAY"):
            inside.pop(name, None)
        inside["XDG_RUNTIME_DIR"] = home
        # Without -noreset the server cuts off whoever is just connecting when its last client goes, as the bus's launcher does.
        sys.exit(subprocess.call(
            ["xvfb-run", "-a", "-s", "-screen 0 1600x1200x24 -noreset", "dbus-run-session", "--", sys.executable] + sys.argv,
            env=inside))

try:
    import gi
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib
except (ImportError, ValueError) as why:
    print(f"Skipped: python3-gi and gir1.2-atspi-2.0 are not installed ({why}).")
    sys.exit(77)


def turn():
    """Lets events come for a moment."""
    context = GLib.MainContext.default()
    while context.pending():
        context.iteration(False)
    time.sleep(0.02)


def await_(what, condition):
    end = time.monotonic() + SECONDS
    while time.monotonic() < end:
        turn()
        try:
            found = condition()
        except (AttributeError, GLib.Error):  # not all of it is there yet, or it has gone while it was looked at
            found = None
        if found:
            return found
    sys.exit(f"accessibility_test: {what} did not come.\n" + tree(program()))


def program():
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(index)
        if child and child.get_name().startswith("px40ap"):
            return child
        if child and "PX40" in (child.get_name() or ""):
            return child
    return None


def all_below(root):
    """Without the cells of tables, which are as many as there are readings."""
    if root is None:
        return
    yield root
    if root.get_role() in (Atspi.Role.TABLE,):
        return
    for index in range(root.get_child_count()):
        child = root.get_child_at_index(index)
        if child:
            yield from all_below(child)


def tree(root, depth=0):
    if root is None:
        return "(nothing)"
    text = "  " * depth + f"{root.get_role_name()} '{root.get_name()}'\n"
    if root.get_role() != Atspi.Role.TABLE:
        for index in range(root.get_child_count()):
            child = root.get_child_at_index(index)
            text += tree(child, depth + 1) if child else ""
    return text


def window(name):
    app = program()
    for index in range(app.get_child_count() if app else 0):
        child = app.get_child_at_index(index)
        if child and child.get_name() == name and child.get_state_set().contains(Atspi.StateType.SHOWING):
            return child
    return None


def find(root, name, role=None):
    for one in all_below(root):
        if one.get_name() == name and (role is None or one.get_role_name() == role):
            return one
    return None


def act(one):
    """What Enter or a click does."""
    action = one.get_action_iface()
    names = [action.get_action_name(i).lower() for i in range(action.get_n_actions())]
    for wanted in ("press", "toggle", "showmenu"):
        if wanted in names:
            action.do_action(names.index(wanted))
            return
    sys.exit(f"accessibility_test: '{one.get_name()}' can only {names}.")


def check_names(root, where):
    nameless = [
        f"{one.get_role_name()} below '{one.get_parent().get_name()}'" for one in all_below(root)
        if one.get_state_set().contains(Atspi.StateType.FOCUSABLE) and one.get_state_set().contains(Atspi.StateType.SHOWING)
        and one.get_role() != Atspi.Role.LABEL  # which can be clicked to copy its text
        and (not one.get_name() or one.get_role() in (Atspi.Role.UNKNOWN, Atspi.Role.INVALID))
    ]
    if nameless:
        sys.exit(f"accessibility_test: without a name or a role, in {where}: {nameless}\n{tree(root)}")


def check_dialog(item, name):
    main = window(title)
    act(await_(item, lambda: find(main, item, "menu item")))
    dialog = await_(name, lambda: window(name))
    check_names(dialog, name)
    act(await_("its button", lambda: find(dialog, "Cancel") or find(dialog, "Close")))
    await_(f"the end of {name}", lambda: not window(name))


running = subprocess.Popen([sys.argv[1], "--demo", "--no-splash", "--data-dir", os.environ["HOME"]])
try:
    title = "PX40 Communication Software – DEMO (simulated instrument)"
    await_("the main window", lambda: window(title))
    measure = await_("MEASURE", lambda: window("MEASURE"))
    source = await_("SOURCE", lambda: window("SOURCE"))

    # Heard on demand, and only then.
    def reading(side):
        for one in all_below(side):
            words = one.get_name().split()
            if len(words) >= 2 and words[0].replace(".", "", 1).isdigit():
                return one
        return None

    face = await_("a reading in MEASURE", lambda: reading(measure))
    if not face.get_name().endswith(" volts DC"):
        sys.exit(f"accessibility_test: MEASURE reads '{face.get_name()}'.")
    unasked = []
    listeners = []
    for kind in ("object:property-change:accessible-name", "object:text-changed"):
        listener = Atspi.EventListener.new(lambda event: unasked.append(f"{event.type} of {event.source.get_name()}"))
        listener.register(kind)
        listeners.append((listener, kind))
    heard = {face.get_name()}
    await_("three new readings", lambda: heard.add(face.get_name()) or len(heard) > 3)
    for listener, kind in listeners:
        listener.deregister(kind)
    if unasked:
        sys.exit(f"accessibility_test: nobody has asked for these: {unasked}")

    before = await_("a reading in SOURCE", lambda: reading(source)).get_name()
    act(await_("a step button", lambda: find(source, "raise digit 3")))
    after = await_("another reading in SOURCE",
                   lambda: reading(source).get_name() if reading(source).get_name() != before else None)
    if float(after.split()[0]) <= float(before.split()[0]):
        sys.exit(f"accessibility_test: digit 3 was raised from '{before}' to '{after}'.")

    # A download by what is heard.
    main = window(title)
    check_names(main, "the main window")
    check_names(measure, "MEASURE")
    check_names(source, "SOURCE")
    act(await_("MEMORY-mode", lambda: find(main, "MEMORY-mode", "menu item")))
    question = await_("the question about a worksheet", lambda: window("PX40 Communication Software"))
    check_names(question, "the question")
    act(await_("No", lambda: find(question, "No")))
    table = await_("the table", lambda: next((one for one in all_below(window(title)) if one.get_role() == Atspi.Role.TABLE), None))
    await_("the end of the download", lambda: not window("Receive MEMORY-mode data"))
    await_("the last of 50 rows", lambda: table.get_table_iface().get_n_rows() == 50)
    check_names(window(title), "the main window with readings")
    for item, name in (("Communications Port...", "Communications Port setup"), ("Graph...", "Graph setup"),
                       ("Forward to Microsoft Excel...", "Forward to Microsoft Excel"),
                       ("About PX40 Communication Software...", "About PX40 Communication Software")):
        check_dialog(item, name)
    print(f"MEASURE read {sorted(heard)}, SOURCE '{before}' and then '{after}'.")
finally:
    running.terminate()
    try:
        running.wait(SECONDS)
    except subprocess.TimeoutExpired:
        running.kill()
