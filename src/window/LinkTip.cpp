#include "LinkTip.h"

#include "SpeakAgain.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QStylePainter>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace pelorinnews {

namespace {

/// More than any name of a host with its scheme and port.
constexpr qsizetype maxLength = 300;

/// Between the text and the tip's edge, and between the tip and the link or the view's edge.
constexpr int margin = 4;

constexpr int textFlags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWrapAnywhere;

QAccessibleInterface *accessibleFor(const QString &, QObject *object) {
    auto *const tip = qobject_cast<LinkTip *>(object);
    if (!tip)
        return nullptr;
    const bool isFocus = tip->shown() == LinkPointer::Focus;
    return new QAccessibleWidget(tip, isFocus ? QAccessible::Notification : QAccessible::ToolTip);
}

bool isModifier(int key) {
    return key == Qt::Key_Control || key == Qt::Key_Shift || key == Qt::Key_Alt ||
           key == Qt::Key_Meta || key == Qt::Key_AltGr || key == Qt::Key_CapsLock;
}

}  // namespace

LinkTip::LinkTip(QWidget *view) : QWidget(view) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    hide();
    QAccessible::installFactory(accessibleFor);
    _hoverTimer.setSingleShot(true);
    connect(&_hoverTimer, &QTimer::timeout, this,
            [this] { showLink(LinkPointer::Mouse, _hovered); });
}

QString LinkTip::text(const QUrl &address) {
    const QString whole = address.toString(QUrl::FullyEncoded | QUrl::RemoveUserInfo);
    return whole.size() > maxLength ? whole.left(maxLength) + QChar(0x2026) : whole;
}

void LinkTip::setLink(LinkPointer pointer, const PageLink &link) {
    if (pointer == LinkPointer::Mouse)
        _hovered = link;
    if (pointer == LinkPointer::Mouse || !link.address.isEmpty())
        _hoverTimer.stop();
    if (link.address.isEmpty()) {
        if (_shown == pointer)
            hide();
    } else if (pointer == LinkPointer::Mouse) {
        _hoverTimer.start(style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay, nullptr, this));
    } else {
        showLink(LinkPointer::Focus, link);
    }
}

void LinkTip::showLink(LinkPointer pointer, const PageLink &link) {
    // Assistive technologies remember the role of an object, so one with another role replaces it.
    if (std::exchange(_shown, pointer) != pointer)
        replaceAccessible(this);
    const QRect room = parentWidget()->rect().adjusted(margin, margin, -margin, -margin);
    _text = text(link.address);
    if (_text.isEmpty() || room.width() <= 2 * margin || !window()->isActiveWindow()) {
        hide();
        return;
    }
    setAccessibleName(link.text.isEmpty() ? _text : link.text);
    setAccessibleDescription(link.text.isEmpty() ? QString() : _text);
    setFont(QToolTip::font());
    setPalette(QToolTip::palette());
    const QSize size =
        fontMetrics()
            .boundingRect(QRect(0, 0, room.width() - 2 * margin, room.height()), textFlags, _text)
            .size()
            .grownBy({margin, margin, margin, margin})
            .boundedTo(room.size());
    const QRect place = link.place;
    const int below = place.bottom() + 1 + margin;
    const int above = place.top() - margin - size.height();
    QRect tip(QPoint(std::clamp(place.left(), room.left(), room.right() + 1 - size.width()),
                     room.bottom() + 1 - size.height()),
              size);
    if (!place.isEmpty() && below + size.height() <= room.bottom() + 1)
        tip.moveTop(std::max(below, room.top()));
    else if (!place.isEmpty() && above >= room.top())
        tip.moveTop(std::min(above, tip.top()));
    setGeometry(tip);
    raise();
    show();
    update();
}

bool LinkTip::eventFilter(QObject *watched, QEvent *event) {
    switch (event->type()) {
        case QEvent::KeyPress: {
            const auto *key = static_cast<const QKeyEvent *>(event);
            if (!isModifier(key->key()) &&
                !(key->modifiers() & Qt::ControlModifier && key->modifiers() & Qt::ShiftModifier))
                hide();
            break;
        }
        case QEvent::MouseButtonPress:
        case QEvent::Wheel:
        case QEvent::WindowDeactivate:
            hide();
            break;
        case QEvent::Hide:
            if (watched == window())
                hide();
            break;
        case QEvent::Resize:
            if (watched == parentWidget())
                hide();
            break;
        default:
            break;
    }
    return QWidget::eventFilter(watched, event);
}

void LinkTip::paintEvent(QPaintEvent *) {
    QStylePainter painter(this);
    QStyleOptionFrame frame;
    frame.initFrom(this);
    painter.drawPrimitive(QStyle::PE_PanelTipLabel, frame);
    painter.setPen(palette().color(QPalette::ToolTipText));
    painter.drawText(rect().adjusted(margin, margin, -margin, -margin), textFlags, _text);
}

// The filter sees all events of the host, so it is installed only while the tip is shown.
void LinkTip::showEvent(QShowEvent *event) {
    qApp->installEventFilter(this);
    QWidget::showEvent(event);
}

void LinkTip::hideEvent(QHideEvent *event) {
    qApp->removeEventFilter(this);
    QWidget::hideEvent(event);
}

}  // namespace pelorinnews
