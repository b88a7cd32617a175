#!/usr/bin/python3
"""A PyQt6 host with a button for the news. Its title shows how many items are unread."""
import ctypes
import sys

from PyQt6.QtWidgets import QApplication, QPushButton


class Status(ctypes.Structure):
    _fields_ = [("unread_count", ctypes.c_int64), ("latest_date", ctypes.c_int64),
                ("refresh_date", ctypes.c_int64), ("latest_title", ctypes.c_char_p),
                ("refresh_error", ctypes.c_char_p)]


@ctypes.CFUNCTYPE(None, ctypes.c_void_p)
def show_status(context):
    status = Status()
    if news.pelorin_news_get_status(ctypes.byref(status)) == 0:
        unread = f" ({status.unread_count})" if status.unread_count else ""
        button.setWindowTitle("PyQt host" + unread)


application = QApplication(sys.argv)
button = QPushButton("Show the news")
button.setWindowTitle("PyQt host")
button.show()

news = ctypes.CDLL("libpelorin-news.so.1")
feed = sys.argv[1] if len(sys.argv) > 1 else "https://news.example/feed.xml"
news.pelorin_news_set_identity(b"com.Example.Editor", b"Example", b"Editor")
news.pelorin_news_set_preference(b"newsFeedBaseURL", feed.encode())
if news.pelorin_news_create() != 0:
    sys.exit("There is no news panel.")
news.pelorin_news_set_status_callback(show_status, None)
button.clicked.connect(lambda: news.pelorin_news_show())
status = application.exec()
news.pelorin_news_exit()
sys.exit(status)
