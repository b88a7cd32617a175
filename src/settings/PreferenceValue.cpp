#include "PreferenceValue.h"

#include <QStringList>

#include <cmath>
#include <limits>

namespace pelorinnews::PreferenceValue {

namespace {

constexpr qint64 maxInteger = std::numeric_limits<qint64>::max();
constexpr qint64 minInteger = std::numeric_limits<qint64>::min();

/// QSettings writes a list of one text like the text alone. So such a list reads as its text even
/// before the file is reread.
QVariant unwrapped(const QVariant &stored) {
    if (stored.typeId() != QMetaType::QStringList)
        return stored;
    const QStringList list = stored.toStringList();
    return list.size() == 1 ? QVariant(list.first()) : QVariant();
}

/// The text that the file holds for a text, a boolean or a number; null for anything else.
QString textInFile(const QVariant &stored) {
    const QVariant value = unwrapped(stored);
    switch (value.typeId()) {
        case QMetaType::QString:
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Float:
        case QMetaType::Double:
            return value.toString();
        default:
            return {};
    }
}

bool isDigit(QChar character) {
    return character >= u'0' && character <= u'9';
}

bool isSign(QChar character) {
    return character == u'+' || character == u'-';
}

/// The optional sign and the digits with which `text` begins.
QStringView leadingDigits(QStringView text) {
    qsizetype length = !text.isEmpty() && isSign(text.front()) ? 1 : 0;
    while (length < text.size() && isDigit(text[length]))
        ++length;
    return text.first(length);
}

qint64 truncated(double number) {
    // Compare with 2^63, which a double can hold exactly, unlike the largest qint64.
    if (number >= std::ldexp(1.0, 63))
        return maxInteger;
    if (number < -std::ldexp(1.0, 63))
        return minInteger;
    return static_cast<qint64>(number);
}

}  // namespace

bool isAbsent(const QVariant &value) {
    switch (value.typeId()) {
        case QMetaType::UnknownType:
        case QMetaType::Nullptr:
            return true;
        case QMetaType::QString:
            return value.toString().isNull();
        case QMetaType::QDateTime:
            return !value.toDateTime().isValid();
        case QMetaType::QStringList:
        case QMetaType::QVariantList:
            return value.toList().isEmpty();
        default:
            return false;
    }
}

bool toBool(const QVariant &stored) {
    const QString whole = textInFile(stored).trimmed();
    QStringView text = whole;
    if (!text.isEmpty() && isSign(text.front()))
        text = text.sliced(1);
    while (text.startsWith(u'0'))
        text = text.sliced(1);
    return !text.isEmpty() && QStringView(u"YyTt123456789").contains(text.front());
}

qint64 toInteger(const QVariant &stored) {
    const QString text = textInFile(stored).trimmed();
    if (text == u"true")
        return 1;
    const QStringView digits = leadingDigits(text);
    bool whole = false;
    if (digits.size() < text.size()) {
        const double number = text.toDouble(&whole);
        if (whole && std::isfinite(number))
            return truncated(number);
    }
    const qint64 number = digits.toLongLong(&whole);
    if (whole)
        return number;
    if (digits.isEmpty() || !isDigit(digits.back()))
        return 0;
    return digits.front() == u'-' ? minInteger : maxInteger;
}

QString toText(const QVariant &stored) {
    const QVariant value = unwrapped(stored);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

QDateTime toDate(const QVariant &stored) {
    if (stored.typeId() == QMetaType::QDateTime)
        return stored.toDateTime();
    return QDateTime::fromString(toText(stored).trimmed(), Qt::ISODateWithMs);
}

}  // namespace pelorinnews::PreferenceValue
