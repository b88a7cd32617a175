#pragma once

#include "HostLogger.h"

#include <QWidget>

class QComboBox;
class QTreeWidget;
class QTreeWidgetItem;

namespace pelorinnews::host {

/// Lists log messages with their time and level, newest last. Shows the messages of the chosen
/// level and of more severe ones. Keeps the newest 5,000. Main thread only.
class LogPane final : public QWidget {
    Q_OBJECT

public:
    explicit LogPane(QWidget *parent = nullptr);

    void addMessage(LogLevel level, const QString &message);

private:
    void applyLevel();
    void applyLevelTo(QTreeWidgetItem *item) const;

    QTreeWidget *_lines;
    QComboBox *_shownLevel;
};

}  // namespace pelorinnews::host
