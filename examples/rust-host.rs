//! A host without a window: it shows the news, prints the status when it changes, ends at Ctrl+C.
//! rustc --edition 2021 rust-host.rs $(pkg-config --libs-only-L pelorin-news)
use std::ffi::{CStr, CString};
use std::os::raw::{c_char, c_int, c_uint, c_void};
use std::ptr::{null, null_mut};

#[repr(C)]
struct Status {
    unread_count: i64,
    latest_date: i64,
    refresh_date: i64,
    latest_title: *const c_char,
    refresh_error: *const c_char,
}

type Logger = extern "C" fn(*mut c_void, c_int, *const c_char);
type Callback = extern "C" fn(*mut c_void);

#[link(name = "pelorin-news")]
extern "C" {
    fn pelorin_news_set_identity(
        bundle: *const c_char,
        organization: *const c_char,
        application: *const c_char,
    ) -> c_int;
    fn pelorin_news_set_preference(key: *const c_char, value: *const c_char) -> c_int;
    fn pelorin_news_set_logger(logger: Option<Logger>, context: *mut c_void) -> c_int;
    fn pelorin_news_create() -> c_int;
    fn pelorin_news_set_status_callback(callback: Option<Callback>, context: *mut c_void) -> c_int;
    fn pelorin_news_get_status(status: *mut Status) -> c_int;
    fn pelorin_news_show() -> c_int;
    fn pelorin_news_exit() -> c_int;
}

#[link(name = "glib-2.0")]
extern "C" {
    fn g_main_loop_new(context: *mut c_void, is_running: c_int) -> *mut c_void;
    fn g_main_loop_run(main_loop: *mut c_void);
    fn g_main_loop_quit(main_loop: *mut c_void);
    fn g_unix_signal_add(
        signal: c_int,
        handler: extern "C" fn(*mut c_void) -> c_int,
        data: *mut c_void,
    ) -> c_uint;
}

const SIGINT: c_int = 2;

fn text(pointer: *const c_char) -> String {
    if pointer.is_null() {
        return String::new();
    }
    unsafe { CStr::from_ptr(pointer) }.to_string_lossy().into_owned()
}

extern "C" fn log(_context: *mut c_void, _level: c_int, message: *const c_char) {
    eprintln!("news: {}", text(message));
}

extern "C" fn print_status(_context: *mut c_void) {
    let mut status = Status {
        unread_count: 0,
        latest_date: 0,
        refresh_date: 0,
        latest_title: null(),
        refresh_error: null(),
    };
    if unsafe { pelorin_news_get_status(&mut status) } == 0 {
        println!("{} unread, latest: {}", status.unread_count, text(status.latest_title));
    }
}

extern "C" fn interrupted(main_loop: *mut c_void) -> c_int {
    unsafe { g_main_loop_quit(main_loop) };
    0
}

fn main() {
    let feed = std::env::args().nth(1);
    let feed = feed.unwrap_or_else(|| "https://news.example/feed.xml".to_string());
    let c = |text: &str| CString::new(text).expect("a text without a null byte");
    let (bundle, organization, application) = (c("com.Example.Editor"), c("Example"), c("Editor"));
    unsafe {
        pelorin_news_set_identity(bundle.as_ptr(), organization.as_ptr(), application.as_ptr());
        pelorin_news_set_preference(c("newsFeedBaseURL").as_ptr(), c(&feed).as_ptr());
        pelorin_news_set_logger(Some(log), null_mut());
        if pelorin_news_create() != 0 {
            eprintln!("There is no news panel.");
            std::process::exit(1);
        }
        pelorin_news_set_status_callback(Some(print_status), null_mut());
        let main_loop = g_main_loop_new(null_mut(), 0);
        g_unix_signal_add(SIGINT, interrupted, main_loop);
        pelorin_news_show();
        g_main_loop_run(main_loop);
        pelorin_news_exit();
    }
}
