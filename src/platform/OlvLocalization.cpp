#include "OlvLocalization.h"

#include "PreferredLanguages.h"

#include <QFile>
#include <QLocale>
#include <QTranslator>

namespace pelorinnews {

/// One language's file, read into memory and not mapped: if the file is replaced while the host
/// runs, the translator's data stays valid.
struct OlvLocalization::Table {
    Table(QString itsLanguage, QByteArray contents)
        : language(std::move(itsLanguage)), bytes(std::move(contents)) {
        constexpr qsizetype maxBytes = 1 << 24;
        if (bytes.size() < maxBytes)
            static_cast<void>(translator.load(reinterpret_cast<const uchar *>(bytes.constData()),
                                              static_cast<int>(bytes.size())));
    }

    QString language;
    QByteArray bytes;
    QTranslator translator;
};

namespace {

/// The language of `tag` with the script in which its readers write: "zh-Hant" for "zh-TW". Empty
/// for an unknown language.
QString withScript(const QString &tag) {
    const QLocale locale(tag);
    const QString script = QLocale::scriptToCode(locale.script());
    return locale.language() == QLocale::C || script.isEmpty()
               ? QString()
               : tag.section(QLatin1Char('-'), 0, 0) + QLatin1Char('-') + script;
}

/// Each of `languages` followed by its more general forms, then English; without duplicates.
QStringList withFallbacks(const QStringList &languages) {
    QStringList all;
    const auto add = [&all](const QString &language) {
        if (!language.isEmpty() && !all.contains(language))
            all.append(language);
    };
    for (QString language : languages) {
        language.replace(QLatin1Char('_'), QLatin1Char('-'));
        const QString scripted = withScript(language);
        for (; !language.isEmpty(); language.truncate(language.lastIndexOf(QLatin1Char('-')))) {
            if (!language.contains(QLatin1Char('-')))
                add(scripted);
            add(language);
        }
    }
    add(QStringLiteral("en"));
    return all;
}

}  // namespace

OlvLocalization::OlvLocalization() : OlvLocalization(preferredLanguages()) {}

OlvLocalization::OlvLocalization(const QStringList &preferredLanguages)
    : _languages(withFallbacks(preferredLanguages)) {}

OlvLocalization::~OlvLocalization() = default;

void OlvLocalization::setBundle(const QString &folder) {
    _folder = folder;
    load();
}

void OlvLocalization::setTable(const QString &name) {
    _table = name;
    load();
}

void OlvLocalization::load() {
    auto tables = std::make_shared<Tables>();
    if (!_folder.isEmpty() && !_table.isEmpty()) {
        for (const QString &language : _languages) {
            QFile file(_folder + QLatin1Char('/') + _table + QLatin1Char('_') + language +
                       QStringLiteral(".qm"));
            if (file.open(QIODevice::ReadOnly))
                tables->push_back(std::make_unique<const Table>(language, file.readAll()));
        }
    }
    _tables.set(std::move(tables));
}

QString OlvLocalization::stringForKey(const QString &key) const {
    const std::shared_ptr<const Tables> tables = _tables.get();
    if (!tables || key.isEmpty())
        return key;
    const QByteArray id = key.toUtf8();
    for (const std::unique_ptr<const Table> &table : *tables) {
        QString text = table->translator.translate("", id.constData());
        if (!text.isNull())
            return text;
    }
    return key;
}

QString OlvLocalization::language() const {
    const std::shared_ptr<const Tables> tables = _tables.get();
    if (!tables)
        return {};
    for (const std::unique_ptr<const Table> &table : *tables) {
        if (!table->translator.isEmpty())
            return table->language;
    }
    return {};
}

}  // namespace pelorinnews
