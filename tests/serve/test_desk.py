"""Two clients at once and one that never reads, while the camera is unplugged and plugged in again.

KORV_SCAN_SECONDS: how long; 20 unless given.
"""

import os
import random
import socket
import subprocess
import tempfile
import threading
import time
import unittest
import xml.etree.ElementTree as ElementTree

import scanner
from scanner import Server, settings

SECONDS = float(os.environ.get("KORV_SCAN_SECONDS", "20"))
# An emulator keeps what it has translated of the program.
GROWTH = 20_000 * scanner.SLOWNESS  # kB


def memory(process):
    """Kilobytes of its own, and open descriptors."""
    with open(f"/proc/{process}/status", encoding="ascii") as file:
        kilobytes = next(int(line.split()[1]) for line in file if line.startswith("RssAnon"))
    return kilobytes, len(os.listdir(f"/proc/{process}/fd"))


def read_back(kind, page):
    """Raises unless another program can read the page."""
    command = ["djpeg", "-outfile", os.devnull]
    with tempfile.NamedTemporaryFile(suffix=".pdf") as file:
        if kind == "application/pdf":
            file.write(page)
            file.flush()
            command = ["qpdf", "--check", file.name]
            page = None
        subprocess.run(command, input=page, stdout=subprocess.DEVNULL, check=True)


class Client(threading.Thread):
    """Scans as programs do: asks again when the scanner is busy, and takes what it gets."""

    def __init__(self, server, seed, end):
        super().__init__()
        self.server, self.end = server, end
        self.random = random.Random(seed)
        self.pages = 0
        self.gone = 0
        self.busy = 0
        self.problems = []

    def run(self):
        # a busy machine may need longer for a page of each
        while time.monotonic() < self.end + (0 if self.pages else 100):
            try:
                self.scan()
                if self.random.random() < 0.2:
                    self.look()
            except Exception as error:  # the thread's end must not hide it
                self.problems.append(repr(error))
                return

    def scan(self):
        wanted = {"dpi": self.random.choice([75, 150]),
                  "color": self.random.choice(["RGB24", "Grayscale8", "BlackAndWhite1"]),
                  "format": self.random.choice(["image/jpeg", "application/pdf"]),
                  "source": self.random.choice(["Platen"] * 9 + ["Feeder"])}
        status, headers, body = self.server.ask("POST", "/eSCL/ScanJobs", settings(**wanted))
        if status == 503:
            self.busy += 1
            time.sleep(0.05)
            return
        if status != 201:
            raise RuntimeError(f"{status}: {body!r}")
        job = headers["Location"]
        if self.random.random() < 0.1:
            status = self.server.ask("DELETE", job)[0]
            if status != 200:
                raise RuntimeError(f"DELETE: {status}")
            return
        while self.fetch(job + "/NextDocument", wanted["format"]) and wanted["source"] == "Feeder":
            pass
        time.sleep(0.2)  # whoever puts down the next sheet lets others come first

    def fetch(self, path, kind):
        """Takes a page; whether there was one."""
        status, headers, body = self.server.ask("GET", path)
        if status in (500, 503):  # no camera; taken by nobody else, but on its way out
            self.gone += 1
        elif status == 200:
            begin = b"%PDF" if kind == "application/pdf" else b"\xff\xd8"
            end = b"%%EOF" if kind == "application/pdf" else b"\xff\xd9"
            if headers["Content-Type"] != kind or not body.startswith(begin) or end not in body[-8:]:
                raise RuntimeError(f"no whole {kind}: {body[:20]!r} ... {body[-20:]!r}")
            if self.random.random() < 0.2:
                read_back(kind, body)
            self.pages += 1
        elif status != 404:  # the feeder is empty
            raise RuntimeError(f"{status}: {body!r}")
        return status == 200

    def look(self):
        """Asks what the scanner is and does."""
        for name in "ScannerCapabilities", "ScannerStatus":
            status, _, body = self.server.ask("GET", "/eSCL/" + name)
            if status != 200 or not ElementTree.fromstring(body).tag.endswith(name):
                raise RuntimeError(f"{name}: {status}, {body!r}")


class Desk(unittest.TestCase):
    def setUp(self):
        self.desk = self.enterContext(scanner.Desk())

    def never_read(self, server):
        """A client that asks for a page and leaves it in the pipe."""
        job = server.create(dpi=300)
        idle = socket.create_connection(("127.0.0.1", server.port), 30)
        idle.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        idle.sendall(f"GET {job}/NextDocument HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
        self.addCleanup(idle.close)
        deadline = time.monotonic() + 60
        while b"Idle" not in server.ask("GET", "/eSCL/ScannerStatus")[2]:
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.1)

    def test_clients_and_camera_come_and_go(self):
        with Server("--hands-free", "--still", "3", desk=self.desk.folder) as server:
            server.scan(dpi=300)
            before = memory(server.process.pid)
            for _ in range(3):
                self.never_read(server)
            end = time.monotonic() + SECONDS
            clients = [Client(server, seed, end) for seed in range(2)]
            for client in clients:
                client.start()
            replugs = 0
            while time.monotonic() < end:
                time.sleep(2)
                self.desk.plug(False)
                time.sleep(1)
                self.desk.plug(True)
                replugs += 1
                if replugs % 20 == 0:
                    print(f"{replugs} replugs, memory and descriptors {memory(server.process.pid)}",
                          flush=True)
            for client in clients:
                client.join(300)
            pages = [client.pages for client in clients]
            print(f"{pages} pages, {sum(client.gone for client in clients)} without a camera, "
                  f"{sum(client.busy for client in clients)} times busy, {replugs} replugs")
            self.assertEqual([client.problems for client in clients], [[], []])
            self.assertTrue(all(pages), "each client has got a page")
            self.check_rest(server, before)

    def check_rest(self, server, before):
        """The server works, and holds no more than at the beginning."""
        deadline = time.monotonic() + 90
        while True:  # a job of a client that left may still be active
            status, headers, _ = server.ask("POST", "/eSCL/ScanJobs", settings(dpi=300))
            if status == 201 or time.monotonic() > deadline:
                break
            time.sleep(1)
        self.assertEqual(status, 201)
        self.assertEqual(server.ask("GET", headers["Location"] + "/NextDocument")[0], 200)
        root = ElementTree.fromstring(server.ask("GET", "/eSCL/ScannerStatus")[2])
        self.assertTrue(root.tag.endswith("ScannerStatus"))
        after = memory(server.process.pid)
        print(f"memory {before[0]} kB, then {after[0]} kB; descriptors {before[1]}, {after[1]}")
        self.assertLessEqual(after[1], before[1] + 5)  # three that never read among them
        if not os.environ.get("KORV_SANITIZED"):  # what is freed stays there for a while
            self.assertLess(after[0], before[0] + GROWTH)
        self.assertEqual(server.stop(), 0)
        self.assertEqual(server.leftovers(), [])


if __name__ == "__main__":
    unittest.main()
