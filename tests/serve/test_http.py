"""The scanner over plain HTTP: what it says, what it scans, and what it survives."""

import http.client
import os
import re
import shutil
import socket
import ssl
import subprocess
import tempfile
import threading
import time
import unittest
import xml.etree.ElementTree as ElementTree

from scanner import Server, settings

SCAN = "{http://schemas.hp.com/imaging/escl/2011/05/03}"
PWG = "{http://www.pwg.org/schemas/2010/12/sm}"


def jpeg_size(data):
    """Width and height as djpeg sees them."""
    pnm = subprocess.run(["djpeg", "-pnm"], input=data, stdout=subprocess.PIPE, check=True).stdout
    return tuple(int(number) for number in pnm.split(b"\n", 2)[1].split())


def levels(data):
    """The values of the pixels of a JPEG, after the kind of picture that djpeg makes of it."""
    pnm = subprocess.run(["djpeg", "-pnm"], input=data, stdout=subprocess.PIPE, check=True).stdout
    return pnm[:2], pnm.split(b"\n", 3)[3]


def job_states(server):
    root = ElementTree.fromstring(server.ask("GET", "/eSCL/ScannerStatus")[2])
    return [state.text for state in root.iter(PWG + "JobState")]


class Answers(unittest.TestCase):
    def setUp(self):
        self.server = self.enterContext(Server())

    def test_capabilities_name_the_camera_and_what_it_offers(self):
        status, headers, body = self.server.ask("GET", "/eSCL/ScannerCapabilities")
        self.assertEqual((status, headers["Content-Type"]), (200, "text/xml"))
        root = ElementTree.fromstring(body)
        self.assertEqual(root.find(PWG + "MakeAndModel").text, "Simulated Desk")
        offered = {element.text for element in root.iter()}
        self.assertLessEqual({"RGB24", "Grayscale8", "BlackAndWhite1", "image/jpeg",
                              "application/pdf", "75", "150", "300"}, offered)
        width = int(root.find(f".//{SCAN}MaxWidth").text)
        self.assertGreaterEqual(width, 2480)

    def test_status_is_idle_without_a_job(self):
        root = ElementTree.fromstring(self.server.ask("GET", "/eSCL/ScannerStatus")[2])
        self.assertEqual(root.find(PWG + "State").text, "Idle")

    def test_a_sheet_becomes_an_a4_page_within_a_millimetre(self):
        for dpi in 75, 150, 300:
            for color in "RGB24", "Grayscale8", "BlackAndWhite1":
                sides = sorted(jpeg_size(self.server.scan(dpi=dpi, color=color)))
                self.assertAlmostEqual(sides[0] / dpi * 25.4, 210, delta=1)
                self.assertAlmostEqual(sides[1] / dpi * 25.4, 297, delta=1)

    def test_the_resolution_is_in_the_file(self):
        page = self.server.scan(dpi=200)
        self.assertEqual(page[6:11], b"JFIF\0")
        self.assertEqual(page[13:18], bytes([1, 0, 200, 0, 200]))

    def test_gray_has_one_component_and_lineart_two_levels(self):
        self.assertEqual(levels(self.server.scan(color="Grayscale8"))[0], b"P5")
        kind, values = levels(self.server.scan(color="BlackAndWhite1"))
        self.assertEqual(kind, b"P5")
        shades = sum(values.count(shade) for shade in range(1, 255))
        self.assertLess(shades, len(values) / 1000, "what the library's lineart promises")

    def test_a_document_has_the_size_of_the_page(self):
        page = self.server.scan(format="application/pdf", dpi=150)
        with tempfile.NamedTemporaryFile(suffix=".pdf") as file:
            file.write(page)
            file.flush()
            text = subprocess.run(["pdfinfo", file.name], stdout=subprocess.PIPE, text=True,
                                  check=True).stdout
        size = sorted(float(side) for side in
                      re.search(r"Page size: +([\d.]+) x ([\d.]+)", text).groups())
        self.assertAlmostEqual(size[0] / 72 * 25.4, 210, delta=1)
        self.assertAlmostEqual(size[1] / 72 * 25.4, 297, delta=1)

    def test_a_region_cuts_the_page(self):
        page = self.server.scan(width=600, height=300, dpi=150)
        self.assertEqual(jpeg_size(page), (300, 150))

    def test_a_job_has_one_page_and_its_size_stays_known(self):
        job = self.server.create()
        page = self.server.ask("GET", job + "/NextDocument")[2]
        self.assertEqual(self.server.ask("GET", job + "/NextDocument")[0], 404)
        info = ElementTree.fromstring(self.server.ask("GET", job + "/ScanImageInfo")[2])
        self.assertEqual((int(info.find(SCAN + "ActualWidth").text),
                          int(info.find(SCAN + "ActualHeight").text)), jpeg_size(page))
        self.assertEqual(job_states(self.server), ["Completed"])

    def test_a_second_job_has_to_wait_for_the_first(self):
        job = self.server.create()
        status, headers, _ = self.server.ask("POST", "/eSCL/ScanJobs", settings())
        self.assertEqual(status, 503)
        self.assertIn("Retry-After", headers)
        self.assertEqual(self.server.ask("GET", job + "/NextDocument")[0], 200)
        self.assertEqual(self.server.ask("POST", "/eSCL/ScanJobs", settings())[0], 201)

    def test_a_cancelled_job_frees_the_scanner(self):
        job = self.server.create()
        self.assertEqual(self.server.ask("DELETE", job)[0], 200)
        self.assertEqual(self.server.ask("GET", job + "/NextDocument")[0], 410)
        self.assertEqual(job_states(self.server), ["Canceled"])
        self.assertTrue(self.server.scan())

    def test_nothing_stays_behind(self):
        self.server.scan(format="application/pdf")
        self.assertEqual(self.server.leftovers(), [])
        self.assertEqual(self.server.stop(), 0)


class Refusals(unittest.TestCase):
    def setUp(self):
        self.server = self.enterContext(Server())

    def tearDown(self):
        # whatever came in, the next client is served
        self.assertEqual(self.server.ask("GET", "/eSCL/ScannerStatus")[0], 200)

    def post(self, body, headers=None):
        return self.server.ask("POST", "/eSCL/ScanJobs", body, headers)[0]

    def test_what_is_no_request(self):
        bomb = ('<!DOCTYPE b [<!ENTITY a "aaaaaaaaaa">'
                + "".join(f'<!ENTITY a{n} "{"&a;" * 10}">' for n in range(9))
                + "]><ScanSettings><XResolution>&a8;</XResolution></ScanSettings>")
        for body in "", "<", "<a/>", "<ScanSettings>", "\0" * 100, "<x>" * 5000, bomb:
            self.assertEqual(self.post(body), 400, body[:40])

    def test_an_external_entity_is_not_read(self):
        body = ('<!DOCTYPE x [<!ENTITY f SYSTEM "file:///etc/passwd">]>'
                "<ScanSettings><InputSource>&f;</InputSource></ScanSettings>")
        status, _, text = self.server.ask("POST", "/eSCL/ScanJobs", body)
        self.assertEqual(status, 409)
        self.assertNotIn(b"root:", text)

    def test_what_is_not_offered(self):
        for changes in ({"dpi": 1234}, {"dpi": 99999999}, {"color": "RGB48"},
                        {"format": "image/tiff"}, {"width": 0}):
            self.assertEqual(self.post(settings(**changes)), 409, changes)
        for text in "-1", "99999999999999999999", "1e3", "0x10":
            self.assertEqual(self.post(settings(dpi=text)), 400, text)

    def test_a_body_that_is_too_large(self):
        self.assertEqual(self.post("<ScanSettings>" + " " * 100_000), 413)

    def test_paths_that_lead_nowhere(self):
        for path in ("/", "/eSCL", "/eSCL/", "/eSCL/../etc/passwd", "/eSCL/ScanJobs/../../x",
                     "/eSCL/%2e%2e/x", "/eSCL/ScanJobs/x/NextDocument", "/escl/ScannerStatus",
                     "/eSCL/ScannerStatus/", "/eSCL/ScanJobs//NextDocument", "/eSCL/Scanner%53tatus",
                     "/" + "a" * 8000):
            self.assertEqual(self.server.ask("GET", path)[0], 404, path)

    def test_methods_that_do_not_fit(self):
        for method, path in (("PUT", "/eSCL/ScannerStatus"), ("POST", "/eSCL/ScannerCapabilities"),
                             ("GET", "/eSCL/ScanJobs"), ("OPTIONS", "/eSCL/ScanJobs"),
                             ("PATCH", "/eSCL/ScanJobs/x")):
            status, headers, _ = self.server.ask(method, path)
            self.assertEqual(status, 405, path)
            self.assertIn("Allow", headers)

    def test_web_pages(self):
        headers = {"Origin": "http://example.org"}
        self.assertEqual(self.post(settings(), headers), 403)
        self.assertEqual(self.post(settings(), {"Host": "example.org"}), 403)
        self.assertEqual(self.post(settings(), {"Host": "localhost:8590"}), 201)

    def test_noise_instead_of_http(self):
        for noise in b"\0" * 4096, b"GET " * 20000, b"\x16\x03\x01\x02\0", b"POST / HTTP/9.9\r\n\r\n":
            with socket.create_connection(("127.0.0.1", self.server.port), 10) as connection:
                try:
                    connection.sendall(noise)
                    connection.shutdown(socket.SHUT_WR)
                    while connection.recv(65536):
                        pass
                except OSError:
                    pass  # the server may end it at any point


class Clients(unittest.TestCase):
    def setUp(self):
        self.server = self.enterContext(Server())

    def connect(self):
        connection = socket.create_connection(("127.0.0.1", self.server.port), 30)
        self.addCleanup(connection.close)
        return connection

    def test_one_that_never_reads_does_not_block_others(self):
        job = self.server.create(dpi=300)
        idle = self.connect()
        idle.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        idle.sendall(f"GET {job}/NextDocument HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
        while "Completed" not in job_states(self.server):
            time.sleep(0.05)
        self.assertTrue(self.server.scan())

    def test_one_that_leaves_in_mid_document(self):
        for _ in range(3):
            job = self.server.create(dpi=300)
            leaving = self.connect()
            leaving.sendall(f"GET {job}/NextDocument HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
            self.assertTrue(leaving.recv(1000))
            leaving.close()
            self.assertEqual(job_states(self.server)[0], "Completed")
        self.assertTrue(self.server.scan())

    def test_one_that_leaves_before_the_page_is_there(self):
        job = self.server.create()
        leaving = self.connect()
        leaving.sendall(f"GET {job}/NextDocument HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
        leaving.close()
        # another client can take the page over, or cancel the job
        self.assertIn(self.server.ask("GET", job + "/NextDocument")[0], (200, 404))
        self.assertTrue(self.server.scan())

    def test_slow_ones_do_not_block_others(self):
        for _ in range(20):
            self.connect().sendall(b"POST /eSCL/ScanJobs HTTP/1.1\r\nHost: localhost\r\n"
                                   b"Content-Length: 1000\r\n\r\n<")
        self.assertTrue(self.server.scan())

    def test_a_thousand_connections(self):
        for _ in range(1000):
            connection = socket.create_connection(("127.0.0.1", self.server.port), 30)
            connection.sendall(b"GET /eSCL/ScannerStatus HTTP/1.1\r\n")
            connection.close()
        self.assertEqual(self.server.ask("GET", "/eSCL/ScannerStatus")[0], 200)

    def test_stopping_ends_clients_that_wait(self):
        self.server.create()
        self.connect().sendall(b"GET /eSCL/ScannerStatus HTTP/1.1\r\n")
        begun = time.monotonic()
        self.assertEqual(self.server.stop(), 0)
        self.assertLess(time.monotonic() - begun, 30)


class Cameras(unittest.TestCase):
    def test_without_a_camera_the_job_says_so(self):
        with tempfile.TemporaryDirectory() as desk, Server(desk=desk) as server:
            job = server.create()
            status, _, body = server.ask("GET", job + "/NextDocument")
            self.assertEqual(status, 500)
            self.assertIn(b"there is no camera", body)
            self.assertEqual(job_states(server), ["Aborted"])

    def test_whole_frames_when_cropping_is_off(self):
        with Server("--no-crop") as server:
            width, height = sorted(jpeg_size(server.scan(width=3600, height=5200, dpi=75)))
        self.assertAlmostEqual(height / 75 * 25.4, 297, delta=1)
        self.assertLess(width / 75 * 25.4, 250)


class Feeder(unittest.TestCase):
    """Pages that somebody turns, on a desk with a hand; the desk says which page a frame shows."""

    def serve(self, *arguments, turns=3, speed=2):
        desk = f"builtin:hands,seed=22,speed={speed},turns={turns}"
        return self.enterContext(Server("--hands-free", *arguments, desk=desk))

    def test_only_a_hands_free_scanner_has_one(self):
        with Server() as server:
            self.assertNotIn(b"Adf", server.ask("GET", "/eSCL/ScannerCapabilities")[2])
            self.assertNotIn(b"Adf", server.ask("GET", "/eSCL/ScannerStatus")[2])
            self.assertEqual(server.ask("POST", "/eSCL/ScanJobs", settings(source="Feeder"))[0],
                             409)
        server = self.serve()
        root = ElementTree.fromstring(server.ask("GET", "/eSCL/ScannerCapabilities")[2])
        caps = root.find(f"{SCAN}Adf/{SCAN}AdfSimplexInputCaps")
        self.assertIn("300", {element.text for element in caps.iter(SCAN + "XResolution")})
        root = ElementTree.fromstring(server.ask("GET", "/eSCL/ScannerStatus")[2])
        self.assertEqual(root.find(SCAN + "AdfState").text, "ScannerAdfLoaded")

    def test_each_turned_page_is_delivered_and_stillness_ends_the_scan(self):
        # slow enough for a busy machine to see every page
        server = self.serve("--still", "5", turns=2, speed=0.6)
        job = server.create(source="Feeder", dpi=75)
        pages = []
        while True:
            status, headers, body = server.ask("GET", job + "/NextDocument")
            if status != 200:
                break
            pages.append(body)
            self.assertTrue(headers["Content-Location"].endswith(f"/{len(pages)}"))
        self.assertEqual(status, 404)
        # the page that lies there, and one for each time that the hand has turned one
        self.assertGreaterEqual(len(pages), 2)
        self.assertLessEqual(len(pages), 3)
        self.assertEqual(len(set(pages)), len(pages))
        for page in pages:
            self.assertEqual(len(jpeg_size(page)), 2)
        self.assertEqual(job_states(server), ["Completed"])
        self.assertTrue(server.scan(dpi=75), "the camera is free again")

    def test_a_cancelled_scan_ends_the_request_that_waits(self):
        server = self.serve("--still", "600", turns=1)
        job = server.create(source="Feeder", dpi=75)
        self.assertEqual(server.ask("GET", job + "/NextDocument")[0], 200)
        answers = []

        def ask():
            status = 200
            while status == 200:
                status = server.ask("GET", job + "/NextDocument")[0]
            answers.append(status)

        client = threading.Thread(target=ask)
        client.start()
        time.sleep(8)  # the only turn is over
        begun = time.monotonic()
        self.assertEqual(server.ask("DELETE", job)[0], 200)
        client.join(20)
        self.assertEqual(answers, [410])
        self.assertLess(time.monotonic() - begun, 5)
        self.assertTrue(server.scan(dpi=75))

    def test_stopping_does_not_wait_for_stillness(self):
        server = self.serve("--still", "600")
        job = server.create(source="Feeder", dpi=75)
        self.assertEqual(server.ask("GET", job + "/NextDocument")[0], 200)
        begun = time.monotonic()
        self.assertEqual(server.stop(), 0)
        self.assertLess(time.monotonic() - begun, 30)


class Encryption(unittest.TestCase):
    @staticmethod
    def identity(folder, name):
        certificate, key = os.path.join(folder, name + ".pem"), os.path.join(folder, name + ".key")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1",
                        "-subj", "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1",
                        "-keyout", key, "-out", certificate],
                       check=True, stderr=subprocess.DEVNULL)
        return certificate, key

    def test_a_page_over_tls(self):
        with tempfile.TemporaryDirectory() as folder:
            certificate, key = self.identity(folder, "own")
            with Server("--certificate", certificate, "--key", key) as server:
                self.assertTrue(server.url.startswith("https://"))
                trust = ssl.create_default_context(cafile=certificate)
                connection = http.client.HTTPSConnection("127.0.0.1", server.port, context=trust,
                                                         timeout=60)
                self.addCleanup(connection.close)
                connection.request("POST", "/eSCL/ScanJobs", settings())
                answer = connection.getresponse()
                answer.read()
                connection.request("GET", answer.getheader("Location") + "/NextDocument")
                self.assertTrue(jpeg_size(connection.getresponse().read()))
                # without TLS there is no answer
                with self.assertRaises((http.client.HTTPException, OSError)):
                    server.ask("GET", "/eSCL/ScannerStatus")

    def test_a_key_of_another_certificate(self):
        with tempfile.TemporaryDirectory() as folder:
            certificate = self.identity(folder, "own")[0]
            key = self.identity(folder, "other")[1]
            with self.assertRaisesRegex(RuntimeError, "belong together"):
                Server("--certificate", certificate, "--key", key)
            with self.assertRaisesRegex(RuntimeError, "No such file"):
                Server("--certificate", "/nonexistent", "--key", key)
            with self.assertRaisesRegex(RuntimeError, "--key"):
                Server("--certificate", certificate)


class Starts(unittest.TestCase):
    def test_a_port_that_is_taken(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            with self.assertRaisesRegex(RuntimeError, "Address already in use"):
                Server(listen=f"127.0.0.1:{taken.getsockname()[1]}")

    def test_addresses_that_are_none(self):
        for address in "localhost:1", "127.0.0.1", "127.0.0.1:65536", "::1:80", "[::1", "":
            with self.assertRaises(RuntimeError, msg=address):
                Server(listen=address)

    def test_an_open_address_is_warned_of(self):
        with Server(listen="0.0.0.0:0") as server:
            self.assertIn("there is no password", server.messages())
        with Server() as server:
            self.assertEqual(server.messages(), "")


class Programs(unittest.TestCase):
    """korvcam and the server are two programs; a package of its own holds the second."""

    def test_without_the_server_the_package_is_named(self):
        with tempfile.TemporaryDirectory() as folder:
            os.mkdir(os.path.join(folder, "bin"))
            lonely = shutil.copy(os.environ["KORVCAM"], os.path.join(folder, "bin", "korvcam"))
            answer = subprocess.run([lonely, "serve"], stdout=subprocess.PIPE,
                                    stderr=subprocess.PIPE, text=True)
        self.assertEqual((answer.returncode, answer.stdout), (1, ""))
        self.assertIn("install the package korv-camera-escl", answer.stderr)

    def test_korvcam_needs_no_library_that_only_the_server_uses(self):
        needed = subprocess.run(["readelf", "-d", os.environ["KORVCAM"]], stdout=subprocess.PIPE,
                                text=True, check=True).stdout
        self.assertIn("NEEDED", needed)
        for library in "microhttpd", "gnutls", "avahi", "pugixml":
            self.assertNotIn(library, needed)

    def test_the_server_serves_only(self):
        server = os.environ["KORVCAM_SERVE"]
        answer = subprocess.run([server, "list"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                text=True)
        self.assertEqual((answer.returncode, answer.stdout), (2, ""))
        self.assertIn("korvcam serve", answer.stderr)

    def test_what_is_wrong_with_the_options_needs_no_server(self):
        answer = subprocess.run([os.environ["KORVCAM"], "serve", "--nonsense"],
                                stderr=subprocess.PIPE, text=True)
        self.assertEqual(answer.returncode, 2)
        self.assertIn("--nonsense", answer.stderr)

    def test_a_socket_that_was_passed_on_takes_the_place_of_listen(self):
        with socket.create_server(("127.0.0.1", 0)) as listening:
            port = listening.getsockname()[1]
            with Server(listen="127.0.0.1:1", inherited=listening) as server:
                self.assertEqual(server.port, port)
                self.assertEqual(server.ask("GET", "/eSCL/ScannerStatus")[0], 200)


if __name__ == "__main__":
    unittest.main()
