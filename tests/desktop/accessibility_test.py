"""The preference window as a screen reader meets it: its accessibility tree read through AT-SPI on
a private display and session bus (run under dbus-run-session), in English and under a German
locale generated for the test.

usage: accessibility_test.py BIN_FOLDER PLUGIN
"""
import os
import subprocess
import sys
import tempfile
import unittest

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

BIN, PLUGIN = sys.argv[1], sys.argv[2]


# What the tree tells when it changes: an application or window comes or goes, a node is added,
# renamed or changes state.
CHANGES = ("object:children-changed", "object:property-change", "object:state-changed", "window")


def wait_for(what, limit=30.0):
    """`what()` once it is true, or None when it is not within `limit` seconds. It is asked once,
    then again each time the accessibility tree tells of a change, never on a timer."""
    loop = GLib.MainLoop()
    found = None

    def ask(_event=None):
        nonlocal found
        found = what()
        if found:
            loop.quit()

    listener = Atspi.EventListener.new(ask)
    for change in CHANGES:
        listener.register(change)
    ask()
    if not found:
        timer = GLib.timeout_add(int(limit * 1000), loop.quit)
        loop.run()
        if found:
            GLib.source_remove(timer)
    for change in CHANGES:
        listener.deregister(change)
    return found


def walk(node):
    yield node
    for i in range(node.get_child_count()):
        child = node.get_child_at_index(i)
        if child is not None:
            yield from walk(child)


class Window:
    """bkgcolors-prefs on its own Xvfb, found in the accessibility tree by its process id."""

    def __init__(self, folder, store, language=None):
        self.xvfb = subprocess.Popen(
            ["Xvfb", "-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        display = ":" + self.xvfb.stdout.readline().decode().strip()
        self.xvfb.stdout.close()
        env = dict(os.environ, DISPLAY=display, GSK_RENDERER="cairo", GDK_DEBUG="gl-disable",
                   GSETTINGS_BACKEND="memory")
        env.pop("GTK_A11Y", None)
        env.pop("LANGUAGE", None)
        if language:
            env.update(LANG=language, LC_ALL=language, LOCPATH=os.path.join(folder, "locales"))
        self.program = subprocess.Popen(
            [os.path.join(BIN, "bkgcolors-prefs"), "--plugin", PLUGIN, "--defaults", store,
             "--color", "#3366CC"], env=env, stderr=subprocess.DEVNULL)
        self.app = wait_for(self._find)

    def _find(self):
        desktop = Atspi.get_desktop(0)
        for i in range(desktop.get_child_count()):
            app = desktop.get_child_at_index(i)
            if app is not None and app.get_process_id() == self.program.pid and \
                    app.get_child_count() > 0:
                return app
        return None

    def nodes(self):
        return list(walk(self.app)) if self.app else []

    def named(self, role, name):
        return wait_for(lambda: next((n for n in self.nodes()
                                      if n.get_role() == role and n.get_name() == name), None))

    def close(self):
        self.program.kill()
        self.program.wait()
        self.xvfb.kill()
        self.xvfb.wait()


class AccessibilityTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        # A file where the store's folder should be: Apply fails and a message appears.
        with open(os.path.join(self.folder.name, "blocker"), "w") as blocker:
            blocker.write("not a folder")
        self.store = os.path.join(self.folder.name, "blocker", "defaults.plist")

    def tearDown(self):
        self.folder.cleanup()

    def check_window(self, language, texts):
        window = Window(self.folder.name, self.store, language)
        self.addCleanup(window.close)
        self.assertIsNotNone(window.app, "the window never showed in the accessibility tree")
        self.assertIsNotNone(window.named(Atspi.Role.FRAME, texts["title"]))
        new = window.named(Atspi.Role.PUSH_BUTTON, texts["new"])
        self.assertIsNotNone(new, "the new colour's control is named after its label")
        self.assertEqual(new.get_description(), "#3366CC")
        for name in ("revert", "apply"):
            self.assertIsNotNone(window.named(Atspi.Role.PUSH_BUTTON, texts[name]), name)
        current = window.named(Atspi.Role.IMAGE, texts["current"])
        self.assertIsNotNone(current, "the current colour is a picture")
        self.assertEqual(current.get_n_actions(), 0, "nothing to activate on the current colour")
        self.assertEqual(current.get_description(), "#E6E6E6")
        focusable = [n for n in window.nodes()
                     if n.get_state_set().contains(Atspi.StateType.FOCUSABLE)]
        self.assertTrue(focusable)
        for node in focusable:
            name = node.get_name()
            self.assertTrue(name and "_" not in name, "a control named %r" % name)

        apply = window.named(Atspi.Role.PUSH_BUTTON, texts["apply"])
        self.assertTrue(apply.do_action(0))
        alert = window.named(Atspi.Role.ALERT, texts["refused"])
        self.assertIsNotNone(alert, "the refused store is told in an alert")
        self.assertIn(texts["why"], alert.get_description(), "the alert says why")
        # Now with the notice shown in the window as well.
        for node in window.nodes():
            self.assertFalse(node.get_name().startswith("Gtk"),
                             "a %s named after its class" % node.get_role_name())

    def test_english_names_roles_and_actions(self):
        self.check_window(None, {"title": "Background Colour", "new": "New colour",
                                 "current": "Current colour", "revert": "Revert",
                                 "apply": "Apply", "refused": "The colour could not be stored",
                                 "why": "Not a directory"})

    def test_german_texts(self):
        locales = os.path.join(self.folder.name, "locales")
        os.mkdir(locales)
        subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8",
                        os.path.join(locales, "de_DE.UTF-8")], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.assertTrue(os.path.isdir(os.path.join(locales, "de_DE.UTF-8")),
                        "localedef made no German locale")
        self.check_window("de_DE.UTF-8", {
            "title": "Hintergrundfarbe", "new": "Neue Farbe", "current": "Aktuelle Farbe",
            "revert": "Zurücksetzen", "apply": "Anwenden",
            "refused": "Die Farbe konnte nicht gespeichert werden",
            "why": "Ist kein Verzeichnis"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
