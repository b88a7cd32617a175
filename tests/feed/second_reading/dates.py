"""Dates of a feed: read by ICU, through PyICU, in the user's locale."""

import icu

PATTERN = "EEE, dd LLL yyyy HH:mm:ss zzz"


def likely(name):
    """The locale `name` with script and region."""
    return icu.Locale(name).addLikelySubtags()


def written(language, region):
    """The language with this region, and with its own script where that is not understood."""
    name = "_".join(filter(None, [language.getLanguage(), region]))
    if likely(name).getScript() == language.getScript():
        return name
    return "_".join(filter(None, [language.getLanguage(), language.getScript(), region]))


class Dates:
    """`languages` as in $LANGUAGE; `region` of the locale for dates, which may be empty."""

    def __init__(self, languages, region, zone):
        first = likely(languages.split(":")[0])
        self.zone = zone
        self.locales = [written(first, "")]
        if region:
            self.locales.insert(0, written(first, region))
        self._formatters = [self.formatter(locale) for locale in self.locales]

    def formatter(self, locale, pattern=PATTERN, zone=None):
        formatter = icu.SimpleDateFormat(pattern, icu.Locale(locale))
        formatter.setLenient(False)
        formatter.setTimeZone(icu.TimeZone.createTimeZone(zone or self.zone))
        return formatter

    def parse(self, text):
        """Milliseconds since the epoch, or None."""
        for formatter in self._formatters:
            try:
                return round(formatter.parse(text) * 1000)
            except icu.ICUError:
                pass
        return None
