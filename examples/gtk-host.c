/* A GTK 4 host with a button for the news. Its title shows how many items are unread.
   cc gtk-host.c -o gtk-host $(pkg-config --cflags --libs gtk4 pelorin-news) */
#include <gtk/gtk.h>
#include <pelorinnews/pelorin_news.h>

static void log_message(void *context, int level, const char *message) {
    (void)context;
    g_printerr("news %d: %s\n", level, message);
}

static void show_status(void *window) {
    struct pelorin_news_status status;
    if (pelorin_news_get_status(&status) != PELORIN_NEWS_OK)
        return;
    char *title = status.unread_count > 0
                      ? g_strdup_printf("GTK host (%d)", (int)status.unread_count)
                      : g_strdup("GTK host");
    gtk_window_set_title(GTK_WINDOW(window), title);
    g_free(title);
}

static void activate(GtkApplication *application, gpointer feed) {
    GtkWidget *window = gtk_application_window_new(application);
    GtkWidget *button = gtk_button_new_with_label("Show the news");
    gtk_window_set_title(GTK_WINDOW(window), "GTK host");
    gtk_window_set_child(GTK_WINDOW(window), button);
    gtk_window_present(GTK_WINDOW(window));

    pelorin_news_set_identity("com.Example.Editor", "Example", "Editor");
    pelorin_news_set_preference("newsFeedBaseURL", feed);
    pelorin_news_set_logger(log_message, NULL);
    if (pelorin_news_create() != PELORIN_NEWS_OK) {
        gtk_widget_set_sensitive(button, FALSE);
        return;
    }
    pelorin_news_set_status_callback(show_status, window);
    g_signal_connect(button, "clicked", G_CALLBACK(pelorin_news_show), NULL);
    /* The callback must not meet a destroyed window. */
    g_signal_connect(window, "destroy", G_CALLBACK(pelorin_news_exit), NULL);
}

int main(int argc, char *argv[]) {
    GtkApplication *application =
        gtk_application_new("com.Example.Editor", G_APPLICATION_NON_UNIQUE);
    char *feed = argc > 1 ? argv[1] : "https://news.example/feed.xml";
    g_signal_connect(application, "activate", G_CALLBACK(activate), feed);
    const int status = g_application_run(G_APPLICATION(application), 0, NULL);
    g_object_unref(application);
    return status;
}
