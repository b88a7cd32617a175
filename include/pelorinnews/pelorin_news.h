#ifndef PELORIN_NEWS_H
#define PELORIN_NEWS_H

/* NOLINTBEGIN(modernize-deprecated-headers, readability-identifier-naming): this is C. */

#include <stdint.h>

/**
 * @file
 * The news panel for hosts in C, and in every language that can call C functions. Link the library
 * `pelorin-news` or load `libpelorin-news.so.1`.
 *
 * A process has one panel at most. The order: `pelorin_news_set_identity`, the preferences and the
 * logger, `pelorin_news_create`, then everything else, and `pelorin_news_exit` once before the
 * process ends. After that the panel can be created again.
 *
 * **Threads and event loop.** Call every function on one thread, the one whose event loop runs: the
 * thread of your `QApplication` or, where you have none, the thread of the default GLib main
 * context. `pelorin_news_create` makes a `QApplication` where none exists, on its own thread; the
 * GLib loop then serves the panel, too. The first call of a `pelorin_news_set_...` function or of
 * `pelorin_news_create` decides which thread it is, until `pelorin_news_exit`.
 *
 * **Texts** are UTF-8 and end with a null byte. The library copies what it is given.
 *
 * **Results.** Functions return `PELORIN_NEWS_OK` or why they did nothing. Where several reasons
 * apply, the result is the first in this order: `PELORIN_NEWS_WRONG_THREAD`,
 * `PELORIN_NEWS_NOT_CREATED`, `PELORIN_NEWS_MISSING_ARGUMENT`, any other.
 */

#if defined(__GNUC__)
#define PELORIN_NEWS_API __attribute__((visibility("default")))
#else
#define PELORIN_NEWS_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** What a call did. New values may be added. */
enum pelorin_news_result {
    /** It did what it is for. */
    PELORIN_NEWS_OK = 0,
    /** A text is null or empty, or a pointer is null, where the function does not allow it. */
    PELORIN_NEWS_MISSING_ARGUMENT = 1,
    /** The call was made on another thread than the panel's. */
    PELORIN_NEWS_WRONG_THREAD = 2,
    /** The panel exists already. */
    PELORIN_NEWS_ALREADY_CREATED = 3,
    /** There is no panel: it has not been created, or it has ended. */
    PELORIN_NEWS_NOT_CREATED = 4,
    /** `pelorin_news_set_identity` was not called before. */
    PELORIN_NEWS_NO_IDENTITY = 5,
    /** There is no `QApplication`, and no display for one. */
    PELORIN_NEWS_NO_DISPLAY = 6,
    /** The panel could not be created. The logger, if set, got the reason as an error. */
    PELORIN_NEWS_FAILED = 7
};

/** The levels of messages to a logger. */
enum pelorin_news_level {
    PELORIN_NEWS_ERROR = 1,
    PELORIN_NEWS_WARNING = 2,
    PELORIN_NEWS_INFO = 3,
    PELORIN_NEWS_DEBUG = 4
};

/** Stands for an absent date. */
#define PELORIN_NEWS_NO_DATE INT64_MIN

/** What a host may show of the news outside of the panel. Dates are seconds since 1970 in UTC. */
struct pelorin_news_status {
    /** The number of items that are newer than the user's last look at the news, of those that the
        user has chosen to see. */
    int64_t unread_count;
    /** The date of the latest item, or `PELORIN_NEWS_NO_DATE`. */
    int64_t latest_date;
    /** When the most recent refresh ended, or `PELORIN_NEWS_NO_DATE` before the first one has. */
    int64_t refresh_date;
    /** The title of the latest item; null if there is no item, or if it has no title. */
    const char *latest_title;
    /** Why that refresh got no feed, one line; null if it got one. */
    const char *refresh_error;
};

/**
 * A logger: gets one line of text at a time, without a line end. `level` is a
 * `pelorin_news_level`. Called from any thread, several at once, and the caller waits. Must not
 * call this library.
 */
typedef void (*pelorin_news_logger)(void *context, int level, const char *message);

/** Called on the panel's thread. May call every function of this library. */
typedef void (*pelorin_news_callback)(void *context);

/**
 * States who the host is. Call it before `pelorin_news_create`.
 *
 * @param bundle_identifier the name of the host's desktop file, without ".desktop":
 *        "com.Example.Editor". Folders of the panel are named after it.
 * @param organization_name folder of the preferences file below the user's configuration folder
 * @param application_name name of the preferences file, without ".conf"
 * @return also `PELORIN_NEWS_ALREADY_CREATED`
 */
PELORIN_NEWS_API int pelorin_news_set_identity(const char *bundle_identifier,
                                               const char *organization_name,
                                               const char *application_name);

/**
 * Stores a preference in the host's preferences file, such as "newsFeedBaseURL". Needs the
 * identity. Most preferences are read only when the panel is created.
 *
 * @param key the preference's name
 * @param value as a text: numbers in digits, "true" or "false". Null removes the preference; an
 *        empty text is stored.
 * @return also `PELORIN_NEWS_NO_IDENTITY`
 */
PELORIN_NEWS_API int pelorin_news_set_preference(const char *key, const char *value);

/**
 * Sets the logger, which receives an error for each refresh that got no feed, and the reason when
 * `pelorin_news_create` fails. Set it before `pelorin_news_create`, or earlier messages are lost.
 * It stays set after `pelorin_news_exit`.
 *
 * @param logger null switches logging off. A call that another thread has begun may still run when
 *        this returns.
 * @param context handed to the logger; may be null
 */
PELORIN_NEWS_API int pelorin_news_set_logger(pelorin_news_logger logger, void *context);

/**
 * Loads the module, makes a `QApplication` if none exists, creates the panel and starts its first
 * refresh. Does not wait for the refresh. The panel may open its window by itself later.
 *
 * @return also `PELORIN_NEWS_ALREADY_CREATED`, `PELORIN_NEWS_NO_IDENTITY`,
 *         `PELORIN_NEWS_NO_DISPLAY` and `PELORIN_NEWS_FAILED`; `PELORIN_NEWS_WRONG_THREAD` also if
 *         there is an application object on another thread
 */
PELORIN_NEWS_API int pelorin_news_create(void);

/**
 * Shows the news window and brings it to the front.
 *
 * @return also `PELORIN_NEWS_NOT_CREATED`
 */
PELORIN_NEWS_API int pelorin_news_show(void);

/**
 * Starts a refresh. While the news window is open, the refresh waits until it is closed.
 *
 * @return also `PELORIN_NEWS_NOT_CREATED`
 */
PELORIN_NEWS_API int pelorin_news_refresh(void);

/**
 * Reads the status into `*status`, whose texts are valid until the next call of this function or of
 * `pelorin_news_exit`. Marks nothing as viewed. Leaves `*status` unchanged on failure.
 *
 * @return also `PELORIN_NEWS_NOT_CREATED`
 */
PELORIN_NEWS_API int pelorin_news_get_status(struct pelorin_news_status *status);

/**
 * Sets a function that is called when a refresh has ended, an item was shown or the window was
 * closed, until `pelorin_news_exit`.
 *
 * @param callback replaces the one set before; null switches the calls off
 * @param context handed to the callback; may be null
 * @return also `PELORIN_NEWS_NOT_CREATED`
 */
PELORIN_NEWS_API int pelorin_news_set_status_callback(pelorin_news_callback callback,
                                                      void *context);

/**
 * Ends the panel: closes its window and stores what was viewed. Waits up to 250 ms for the desktop.
 * Destroys the `QApplication` if `pelorin_news_create` made it; not when called from a status
 * callback or inside an event loop of Qt, since both still need it: then the next
 * `pelorin_news_create` uses it again.
 *
 * @return also `PELORIN_NEWS_NOT_CREATED`
 */
PELORIN_NEWS_API int pelorin_news_exit(void);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-deprecated-headers, readability-identifier-naming) */

#endif
