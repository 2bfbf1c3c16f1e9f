"""A session manager of the X kind (XSMP), such as desktops have, for one client."""

import ctypes
import os
import select
import threading
from ctypes import CFUNCTYPE, POINTER, byref, c_char_p, c_int, c_void_p

SAVE_BOTH, INTERACT_ANY, INTERACT_NONE = 2, 2, 0
SAVE_LOCAL = 1
CONNECT_PENDING = 0

try:
    ice = ctypes.CDLL("libICE.so.6")
    sm = ctypes.CDLL("libSM.so.6")
except OSError:
    ice = sm = None

# one for each of the client's requests, in the order of SmsCallbacks in X11/SM/SMlib.h
REQUESTS = [
    ("register", CFUNCTYPE(c_int, c_void_p, c_void_p, c_void_p)),
    ("interact", CFUNCTYPE(None, c_void_p, c_void_p, c_int)),
    ("interact_done", CFUNCTYPE(None, c_void_p, c_void_p, c_int)),
    ("save_request", CFUNCTYPE(None, c_void_p, c_void_p, c_int, c_int, c_int, c_int, c_int)),
    ("phase2_request", CFUNCTYPE(None, c_void_p, c_void_p)),
    ("save_done", CFUNCTYPE(None, c_void_p, c_void_p, c_int)),
    ("close", CFUNCTYPE(None, c_void_p, c_void_p, c_int, c_void_p)),
    ("set_properties", CFUNCTYPE(None, c_void_p, c_void_p, c_int, c_void_p)),
    ("delete_properties", CFUNCTYPE(None, c_void_p, c_void_p, c_int, c_void_p)),
    ("get_properties", CFUNCTYPE(None, c_void_p, c_void_p)),
]
NEW_CLIENT = CFUNCTYPE(c_int, c_void_p, c_void_p, POINTER(ctypes.c_ulong), c_void_p, c_void_p)
EVERY_HOST = CFUNCTYPE(c_int, c_char_p)


class SessionManager:
    """Runs on a thread of its own. `address` belongs into the client's SESSION_MANAGER."""

    def __init__(self):
        for function in (ice.IceAcceptConnection, ice.IceComposeNetworkIdList,
                         sm.SmsGenerateClientID):
            function.restype = c_void_p
        self._client = None
        self._saved = threading.Semaphore(0)
        self._registered = threading.Event()
        self._commands = os.pipe()
        self._allow = EVERY_HOST(lambda host: 1)
        self._new = NEW_CLIENT(self._on_client)
        self._callbacks = [kind(getattr(self, "_on_" + name, lambda *rest: None))
                           for name, kind in REQUESTS]
        # without it the library ends this process when a client leaves
        self._client_left = CFUNCTYPE(None, c_void_p)(lambda line: None)
        ice.IceSetIOErrorHandler(self._client_left)
        error = ctypes.create_string_buffer(256)
        # the library keeps these for the life of the process: one SessionManager in each
        if not sm.SmsInitialize(b"test", b"1", self._new, None, self._allow, 256, error):
            raise OSError(error.value)
        count, objects = c_int(), POINTER(c_void_p)()
        if not ice.IceListenForConnections(byref(count), byref(objects), 256, error):
            raise OSError(error.value)
        self._listening = [objects[i] for i in range(count.value)]
        for each in self._listening:
            ice.IceSetHostBasedAuthProc(c_void_p(each), self._allow)
        self.address = ctypes.string_at(ice.IceComposeNetworkIdList(count, objects)).decode()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    # --- what a test does --------------------------------------------------------------------

    def wait_for_client(self, timeout):
        return self._registered.wait(timeout)

    def ask(self, timeout):
        """The question before the end of the session; whether the client has answered."""
        self._command(b"a")
        return self._saved.acquire(timeout=timeout)

    def call_off(self):
        self._command(b"c")

    def end(self):
        self._command(b"d")

    def close(self):
        self._command(b"q")
        self._thread.join(10)

    def _command(self, letter):
        os.write(self._commands[1], letter)

    # --- on the thread -----------------------------------------------------------------------

    def _on_client(self, client, _, mask, callbacks, __):
        self._client = c_void_p(client)
        mask[0] = (1 << len(REQUESTS)) - 1
        table = ctypes.cast(callbacks, POINTER(c_void_p))
        for i, callback in enumerate(self._callbacks):
            table[2 * i] = ctypes.cast(callback, c_void_p)
            table[2 * i + 1] = None
        return 1

    def _on_register(self, client, _, previous):
        sm.SmsRegisterClientReply(c_void_p(client),
                                  c_void_p(sm.SmsGenerateClientID(c_void_p(client))))
        # the protocol asks for one at the start
        sm.SmsSaveYourself(c_void_p(client), SAVE_LOCAL, 0, INTERACT_NONE, 0)
        return 1

    def _on_interact(self, client, *_):
        sm.SmsInteract(c_void_p(client))

    def _on_phase2_request(self, client, _):
        sm.SmsSaveYourselfPhase2(c_void_p(client))

    def _on_save_done(self, client, *_):
        sm.SmsSaveComplete(c_void_p(client))
        if self._registered.is_set():
            self._saved.release()
        self._registered.set()

    def _obey(self, letter):
        if letter == b"a":
            sm.SmsSaveYourself(self._client, SAVE_BOTH, 1, INTERACT_ANY, 0)
        elif letter == b"c":
            sm.SmsShutdownCancelled(self._client)
        elif letter == b"d":
            sm.SmsDie(self._client)
        return letter != b"q"

    def _run(self):
        doors = {ice.IceGetListenConnectionNumber(c_void_p(each)): each
                 for each in self._listening}
        lines = {}
        while True:
            ready, _, _ = select.select([self._commands[0], *doors, *lines], [], [])
            for number in ready:
                if number == self._commands[0]:
                    if not self._obey(os.read(number, 1)):
                        return
                elif number in doors:
                    status = c_int()
                    line = ice.IceAcceptConnection(c_void_p(doors[number]), byref(status))
                    if line:
                        lines[ice.IceConnectionNumber(c_void_p(line))] = line
                elif ice.IceProcessMessages(c_void_p(lines[number]), None, byref(c_int())) != 0:
                    # gone; the library's part of it ends with the process
                    del lines[number]
