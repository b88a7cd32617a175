#pragma once

#include <QSettings>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <mutex>

namespace pelorinnews {

/// A preferences file, with the one lock that guards it and the defaults over which it lies.
///
/// A QSettings object writes itself from an event of its thread, when it is synchronized and when
/// it is destroyed, and destroys its file where the disk has no room. So each of these ways goes
/// through one function that takes the lock, writes and checks, and restores the file if need be.
/// Any thread.
class UserDefaultsStore : public QSettings {
public:
    /// Lives on the main thread, where there is an application.
    explicit UserDefaultsStore(const QString &path);

    /// Writes and deletes `store`, on its own thread. One that cannot be written is never deleted,
    /// since it would write on that occasion, room or no room.
    static void release(UserDefaultsStore *store);

    /// What is stored, else the default, else an invalid variant.
    [[nodiscard]] QVariant read(const QString &key) const;

    /// Stores `newValue`; an absent one removes the key. Reaches the file with the next turn of the
    /// event loop.
    void write(const QString &key, const QVariant &newValue);

    void addDefaults(const QVariantMap &added);

    /// Writes what is not yet written and reads what others wrote. False where something stays
    /// unwritten; it is tried again with the next `write` or `flush`.
    bool flush();

protected:
    bool event(QEvent *event) override;

private:
    static void end(UserDefaultsStore *store);
    bool writeOut();
    [[nodiscard]] QVariantMap everything() const;
    void takeBack(const QVariantMap &wanted);
    bool keepDamagedFile();
    [[nodiscard]] bool copyDamagedFile() const;

    mutable std::mutex mutex;
    QVariantMap defaults;
    bool damageLookedFor = false;
    /// About how many bytes have been set and are not known to be in the file.
    qint64 unwritten = 0;
    /// The last attempt to write failed: the next is made with the next change.
    bool isRefused = false;
};

}  // namespace pelorinnews
