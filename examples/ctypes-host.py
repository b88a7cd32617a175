#!/usr/bin/python3
"""A host without a window: it shows the news, prints the status when it changes, and ends at Ctrl+C."""
import ctypes
import signal
import sys


class Status(ctypes.Structure):
    _fields_ = [("unread_count", ctypes.c_int64), ("latest_date", ctypes.c_int64),
                ("refresh_date", ctypes.c_int64), ("latest_title", ctypes.c_char_p),
                ("refresh_error", ctypes.c_char_p)]


news = ctypes.CDLL("libpelorin-news.so.1")
glib = ctypes.CDLL("libglib-2.0.so.0")
glib.g_main_loop_new.restype = ctypes.c_void_p
for function in (glib.g_main_loop_run, glib.g_main_loop_quit):
    function.argtypes = [ctypes.c_void_p]


@ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_int, ctypes.c_char_p)
def log(context, level, message):
    print("news:", message.decode(), file=sys.stderr)


@ctypes.CFUNCTYPE(None, ctypes.c_void_p)
def print_status(context):
    status = Status()
    news.pelorin_news_get_status(ctypes.byref(status))
    print(status.unread_count, "unread, latest:", (status.latest_title or b"").decode(), flush=True)


@ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p)
def interrupted(context):
    glib.g_main_loop_quit(loop)
    return 0


feed = sys.argv[1] if len(sys.argv) > 1 else "https://news.example/feed.xml"
news.pelorin_news_set_identity(b"com.Example.Editor", b"Example", b"Editor")
news.pelorin_news_set_preference(b"newsFeedBaseURL", feed.encode())
news.pelorin_news_set_logger(log, None)
if news.pelorin_news_create() != 0:
    sys.exit("There is no news panel.")
news.pelorin_news_set_status_callback(print_status, None)
loop = glib.g_main_loop_new(None, False)
glib.g_unix_signal_add(signal.SIGINT, interrupted, None)
news.pelorin_news_show()
glib.g_main_loop_run(loop)
news.pelorin_news_exit()
