"""What needs an X client of our own, because there is no desktop on the test display.

Nobody turns a user's click on the close button into the WM_DELETE_WINDOW message (ICCCM 4.2.8.1),
and nobody says how dense the screen is.
"""

import ctypes
import ctypes.util

CLIENT_MESSAGE = 33
RESOURCE_MANAGER, STRING = 23, 31  # atoms (Xatom.h)
REPLACE = 0  # PropModeReplace


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message_type", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5)]


class Event(ctypes.Union):
    _fields_ = [("client", ClientMessage), ("padding", ctypes.c_long * 24)]


def open_display(display_name):
    x11 = ctypes.CDLL(ctypes.util.find_library("X11") or "libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
    display = x11.XOpenDisplay(display_name.encode())
    if not display:
        raise RuntimeError("cannot open display " + display_name)
    return x11, display


def say_density(display_name, dots_an_inch):
    """As desktops do, which programs believe first. A server's own size of its screen is not to be
    relied on: Xvfb of Debian 13 makes every dot a millimetre wide, whatever -dpi says."""
    x11, display = open_display(display_name)
    x11.XDefaultRootWindow.restype = ctypes.c_ulong
    x11.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
    x11.XChangeProperty.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_ulong, ctypes.c_ulong,
                                    ctypes.c_int, ctypes.c_int, ctypes.c_char_p, ctypes.c_int]
    text = f"Xft.dpi:\t{dots_an_inch}\n".encode()
    x11.XChangeProperty(display, x11.XDefaultRootWindow(display), RESOURCE_MANAGER, STRING, 8, REPLACE,
                        text, len(text))
    x11.XCloseDisplay(display)


def ask_to_close(display_name, window):
    x11, display = open_display(display_name)
    x11.XInternAtom.restype = ctypes.c_ulong
    x11.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
    x11.XSendEvent.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_long,
                               ctypes.POINTER(Event)]
    event = Event()
    event.client.type = CLIENT_MESSAGE
    event.client.window = int(window)
    event.client.message_type = x11.XInternAtom(display, b"WM_PROTOCOLS", 0)
    event.client.format = 32
    event.client.data[0] = x11.XInternAtom(display, b"WM_DELETE_WINDOW", 0)
    x11.XSendEvent(display, int(window), 0, 0, ctypes.byref(event))
    x11.XCloseDisplay(display)
