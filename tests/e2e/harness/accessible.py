"""The application as a screen reader meets it: from outside, over the accessibility bus (AT-SPI)."""

import os
import pathlib
import re
import shutil
import subprocess
import time

from . import application

ROOT = "/org/a11y/atspi/accessible/root"
ACCESSIBLE = "org.a11y.atspi.Accessible"
LABELLED_BY = 2  # AtspiRelationType
LAUNCHERS = ["/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher"]


def missing():
    """What is not installed of what these tests need; empty when nothing is."""
    programs = {"dbus-daemon": "dbus-daemon", "gdbus": "libglib2.0-bin"}
    lacking = [package for name, package in programs.items() if not shutil.which(name)]
    if not any(os.path.exists(path) for path in LAUNCHERS):
        lacking.append("at-spi2-core")
    return lacking


class Bus:
    """A session bus of the test's own, which starts the accessibility bus when somebody asks. As on
    a desktop, that bus tells the display where it is: on X11 Qt 5.15 looks there, and where it does
    not find it, it sometimes registers before it is connected, and is lost."""

    def __init__(self, screen, folder):
        folder = pathlib.Path(folder)
        runtime = folder / "runtime"
        runtime.mkdir(mode=0o700, exist_ok=True)
        self._log = open(folder / "bus.log", "wb")
        self._daemon = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"],
            env={"PATH": "/usr/bin:/bin", "HOME": str(folder), "XDG_RUNTIME_DIR": str(runtime),
                 "DISPLAY": screen.display, "LC_ALL": "C.UTF-8"},
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self._log)
        session = self._daemon.stdout.readline().decode().strip()
        answer = call(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus.GetAddress")
        self.address = texts(answer)[0]
        self.environment = {"DBUS_SESSION_BUS_ADDRESS": session,
                            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        self._registry = Node(self.address, "org.a11y.atspi.Registry", ROOT)

    def program(self, name, timeout=15):
        """The application of that name, once it is on the bus and shows a window."""
        deadline = time.monotonic() + timeout * application.patience()
        while True:
            for program in self._registry.children():
                if program.name == name and program.children():
                    return program
            if time.monotonic() > deadline:
                raise AssertionError(f"{name} is not on the accessibility bus")
            time.sleep(0.2)

    def close(self):
        self._daemon.terminate()
        self._daemon.wait(10)
        self._daemon.stdout.close()
        self._log.close()


def call(address, destination, path, method, *arguments):
    """A call's answer in GVariant's text form."""
    done = subprocess.run(
        ["gdbus", "call", "--address", address, "--dest", destination, "--object-path", path,
         "--method", method, *map(str, arguments)],
        capture_output=True, text=True, timeout=30, env={"PATH": "/usr/bin:/bin",
                                                         "LC_ALL": "C.UTF-8"})
    if done.returncode != 0:
        raise AssertionError(f"{method} of {path}: {done.stderr}")
    return done.stdout


def texts(answer):
    """The strings in an answer. None of the application's holds a quotation mark."""
    return re.findall(r"'([^']*)'", answer)


class Node:
    """One accessible object."""

    def __init__(self, address, owner, path):
        self._address, self._owner, self._path = address, owner, path

    def _call(self, method, *arguments):
        return call(self._address, self._owner, self._path, method, *arguments)

    def _property(self, name):
        return texts(self._call("org.freedesktop.DBus.Properties.Get", ACCESSIBLE, name))[0]

    @property
    def name(self):
        return self._property("Name")

    @property
    def description(self):
        return self._property("Description")

    @property
    def role(self):
        return texts(self._call(ACCESSIBLE + ".GetRoleName"))[0]

    def children(self):
        pairs = texts(self._call(ACCESSIBLE + ".GetChildren"))
        return [Node(self._address, owner, path) for owner, path in zip(pairs[::2], pairs[1::2])]

    def label(self):
        """The name of what labels it; empty when nothing does."""
        answer = self._call(ACCESSIBLE + ".GetRelationSet")
        match = re.search(rf"\((?:uint32 )?{LABELLED_BY}, \[\('([^']*)', (?:objectpath )?'([^']*)'",
                          answer)
        return Node(self._address, match[1], match[2]).name if match else ""

    def walk(self):
        """Itself and all below, depth first, with roles; what is in selectors is left out."""
        role = self.role
        yield role, self
        if role != "combo box":
            for child in self.children():
                yield from child.walk()

    def index(self):
        """All of walk() by role and name."""
        return {(role, node.name): node for role, node in self.walk()}

    def press(self):
        """Its first action, as the user of a switch or of speech would trigger it."""
        self._call("org.a11y.atspi.Action.DoAction", 0)
