#pragma once

#include <QMap>
#include <QProcess>
#include <QRect>
#include <QStringList>

#include <optional>

/// Assistive software that inspects a test's host: a real client of the accessibility bus.
namespace pelorinnews::test::Assistive {

/// One object of the accessibility tree.
struct Object {
    int depth = 0;
    QString role;
    QString name;
    /// Null if the object has no text interface.
    QString text;
    QRect place;
    QStringList states;
    /// The names of the objects that label this one.
    QStringList labels;
    /// The key bindings of the object's actions, by the action's name.
    QMap<QString, QString> actions;
    bool takesText = false;

    [[nodiscard]] bool is(const char *state) const { return states.contains(QLatin1String(state)); }
};

/// The windows of the host and all objects in them, each after its parent. With `title`, only the
/// windows of this name.
[[nodiscard]] QList<Object> tree(qint64 host, const QString &title = {});

/// `write` sets the text of the content view; `press` presses a control by its name.
void write(qint64 host, const QString &text);
void press(qint64 host, const QString &name);

struct Event {
    QString type;
    int detail = 0;
    /// The text that came with the event.
    QString said;
    QString role;
    QString name;
};

/// Receives the host's accessibility events from the listener's creation on.
class Listener {
public:
    explicit Listener(qint64 host);
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    /// All events so far.
    [[nodiscard]] QList<Event> events();
    /// The number of events of this type from an object of this name.
    [[nodiscard]] int count(const QString &type, const QString &name);

private:
    QProcess _process;
    QList<Event> _heard;
};

}  // namespace pelorinnews::test::Assistive
