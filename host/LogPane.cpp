#include "LogPane.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QScrollBar>
#include <QTime>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <array>

namespace pelorinnews::host {

namespace {

constexpr int maxMessages = 5000;
// Unscoped, because Qt takes a column as a number.
enum Column { TimeColumn, LevelColumn, MessageColumn };

struct LevelLook {
    LogLevel level;
    const char *name;
    const char *upTo;
    QRgb color;
};

constexpr std::array<LevelLook, 4> looks{{
    {LogLevel::Error, "Error", "Errors only", qRgb(0xd2, 0x3f, 0x3a)},
    {LogLevel::Warning, "Warning", "Warnings and errors", qRgb(0xe0, 0x9a, 0x1f)},
    {LogLevel::Info, "Info", "Information and graver", qRgb(0x2f, 0x74, 0xc8)},
    {LogLevel::Debug, "Debug", "Everything", qRgb(0x8a, 0x8f, 0x98)},
}};

const LevelLook &lookOf(LogLevel level) {
    return looks.at(static_cast<std::size_t>(level) - 1);
}

QIcon dot(QRgb color) {
    QPixmap pixmap(24, 24);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(color));
    painter.drawEllipse(5, 5, 14, 14);
    return pixmap;
}

}  // namespace

LogPane::LogPane(QWidget *parent)
    : QWidget(parent), _lines(new QTreeWidget(this)), _shownLevel(new QComboBox(this)) {
    _lines->setHeaderLabels({tr("Time"), tr("Level"), tr("Message")});
    _lines->setAccessibleName(tr("Log messages"));
    _lines->setRootIsDecorated(false);
    _lines->setUniformRowHeights(true);
    _lines->setAlternatingRowColors(true);
    _lines->setSelectionMode(QAbstractItemView::ExtendedSelection);
    _lines->setTextElideMode(Qt::ElideMiddle);
    _lines->setColumnWidth(TimeColumn, 110);
    _lines->setColumnWidth(LevelColumn, 100);

    for (const LevelLook &look : looks)
        _shownLevel->addItem(dot(look.color), tr(look.upTo), static_cast<int>(look.level));
    _shownLevel->setCurrentIndex(_shownLevel->count() - 1);
    auto *const label = new QLabel(tr("&Show:"), this);
    label->setBuddy(_shownLevel);
    auto *const heading = new QLabel(tr("Log"), this);
    QFont headingFont = heading->font();
    headingFont.setBold(true);
    heading->setFont(headingFont);
    auto *const clear = new QPushButton(tr("&Clear"), this);

    auto *const controls = new QHBoxLayout;
    controls->addWidget(heading);
    controls->addStretch();
    controls->addWidget(label);
    controls->addWidget(_shownLevel);
    controls->addWidget(clear);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addLayout(controls);
    column->addWidget(_lines);

    connect(clear, &QPushButton::clicked, _lines, &QTreeWidget::clear);
    connect(_shownLevel, &QComboBox::currentIndexChanged, this, &LogPane::applyLevel);
}

void LogPane::addMessage(LogLevel level, const QString &message) {
    const QScrollBar *const bar = _lines->verticalScrollBar();
    const bool followsEnd = bar->value() == bar->maximum();
    const LevelLook &look = lookOf(level);

    if (_lines->topLevelItemCount() == maxMessages)
        delete _lines->takeTopLevelItem(0);
    auto *const item = new QTreeWidgetItem(_lines);
    item->setText(TimeColumn, QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")));
    item->setText(LevelColumn, tr(look.name));
    item->setIcon(LevelColumn, dot(look.color));
    item->setData(LevelColumn, Qt::UserRole, static_cast<int>(level));
    item->setText(MessageColumn, message);
    item->setToolTip(MessageColumn, message.toHtmlEscaped());
    applyLevelTo(item);
    if (followsEnd)
        _lines->scrollToBottom();
}

void LogPane::applyLevel() {
    for (int row = 0; row < _lines->topLevelItemCount(); ++row)
        applyLevelTo(_lines->topLevelItem(row));
}

void LogPane::applyLevelTo(QTreeWidgetItem *item) const {
    item->setHidden(item->data(LevelColumn, Qt::UserRole).toInt() >
                    _shownLevel->currentData().toInt());
}

}  // namespace pelorinnews::host
