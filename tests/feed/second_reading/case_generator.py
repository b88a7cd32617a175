"""Cases: what to feed a cache with, in which locale, and what to ask of it."""

import random

import dates
from feed_generator import FeedGenerator

CASES_IN_LOCALE = 50
NOW = 1_450_000_000_000
DAY = 86_400_000
# $LANGUAGE, and regions with the calendar of the language
LOCALES = [("en", "US GB AU CA IN IE"), ("en_GB:en", "GB DE"), ("de", "DE AT CH"),
           ("fr", "FR CA CH"), ("es", "ES MX"), ("it", "IT"), ("pt_BR:pt", "BR"), ("nl:en", "NL"),
           ("sv", "SE FI"), ("pl", "PL"), ("ru", "RU"), ("uk", "UA"), ("cs", "CZ"), ("el", "GR"),
           ("tr", "TR"), ("fi", "FI"), ("hu", "HU"), ("ja", "JP"), ("ko", "KR"), ("zh_CN:zh", "CN"),
           ("he", "IL"), ("ar", "EG"), ("th", "TH"), ("fa", "IR"), ("hi", "IN"), ("en", "DE"),
           ("zh_TW", "TW US"), ("sr_RS:sr", "RS BA")]
ZONES = ["UTC", "Europe/Berlin", "America/New_York", "Asia/Kolkata", "Australia/Lord_Howe",
         "America/Sao_Paulo", "Asia/Tokyo", "Pacific/Apia"]
AGES = ["0", "-0", "1", "86400", "2592000", "2592000", "2592000.5", "-86400", "1e12", "1e300",
        "-1e300", "inf", "-inf", "nan"]
CATEGORIES = [[], ["mac", "pelorin"], ["mac", "pelorin", "critical"], ["mac"], ["Mac"], [""],
              ["it's"], ["mac pelorin"], ["mac", "mac"], ["nothing"], ["'"], ["%@"]]


class Place:
    """A locale and a time zone, for the cases of one group."""

    def __init__(self, seed, group):
        choose = random.Random(f"{seed}/place/{group}")
        languages, regions = choose.choice(LOCALES)
        region = choose.choice(regions.split() * 4 + [""])
        zone = choose.choice(ZONES)
        self.name = f"LANGUAGE={languages}, dates of {region}, {zone}"
        named = f"{languages.split(':')[0].split('_')[0]}_{region}.UTF-8"
        if not region:
            named = choose.choice(["C", "C.UTF-8", "POSIX", "de", "fr.UTF-8"])
        self.environment = {"LANGUAGE": languages, "TZ": zone}
        variables = ["LC_ALL", "LC_TIME", "LANG"][choose.randrange(3):]
        if not region:  # with no language in LC_ALL or LANG, $LANGUAGE would not count
            variables = ["LC_TIME", "LANG"]
        self.environment[variables[0]] = named
        for variable in variables[1:]:
            self.environment[variable] = choose.choice(["en_US.UTF-8", "de_DE.UTF-8"])
        self.dates = dates.Dates(languages, region, zone)
        self._writers = [self.dates.formatter(locale) for locale in self.dates.locales]
        self._english = self.dates.formatter("en_US")

    def text(self, choose, strange):
        """A date as a feed may write it."""
        instant = (NOW - choose.choice([0, 1, 10, 30, 30, 300, 3000]) * DAY
                   - choose.choice([0, 0, choose.randrange(DAY)])) // 1000
        if choose.randrange(60) == 0:
            instant = choose.randrange(-70_000_000_000, 260_000_000_000)
        writer = choose.choice(self._writers * 3 + [self._english])
        text = writer.format(float(instant))
        if choose.randrange(2):
            text = text.rsplit(" ", 1)[0] + " " + choose.choice(
                ["GMT", "UTC", "+0000", "+0100", "-0730", "Z", "EST", "CET", "GMT+2", "PDT", "IST",
                 "+01:00", "CST", "BST", "JST", "Europe/Paris"])
        if choose.randrange(100) < 4 * strange:
            text = self._odd(choose, text)
        return text

    @staticmethod
    def _odd(choose, text):
        at = choose.randrange(len(text))
        return choose.choice([
            lambda: "", lambda: " " + text, lambda: text + " trailing", lambda: text.upper(),
            lambda: text.lower(), lambda: text.replace("0", "", 1), lambda: text[:at],
            lambda: text[:at] + text[at + 1:], lambda: text.replace(" ", "  "), lambda: "yesterday",
            lambda: text[:at] + choose.choice("0123456789") + text[at + 1:],
            lambda: text.replace("20", "", 1), lambda: text.split(", ", 1)[-1],
            lambda: text.replace(":", "", 1), lambda: "\n" + text + "\n",
            lambda: text.replace(" ", "\u00a0"), lambda: text.replace(".", ""),
            lambda: "Mon, 02 Mar 2015 10:00:00 GMT", lambda: "Mon, 32 Mar 2015 10:00:00 GMT",
            lambda: "Tue, 02 Mar 2015 10:00:00 GMT", lambda: "Mon, 02 Mar 2015 24:00:00 GMT",
            lambda: "Mon, 02 Mar 2015 10:00:60 GMT", lambda: "Sun, 29 Feb 2015 10:00:00 GMT",
            lambda: "2015-03-02T10:00:00Z", lambda: "Mon, 02 Mar 2015 10:00:00",
            lambda: "Monday, 02 March 2015 10:00:00 GMT", lambda: "Mon, 02 Mar 15 10:00:00 GMT",
            lambda: "Mon, 2 Mar 2015 10:00:00 GMT", lambda: "Tue, 02 Sept 2014 10:00:00 GMT",
            lambda: "Mon, 02 Mar 99999 10:00:00 GMT", lambda: "Mon, 02 Mar -15 10:00:00 GMT",
        ])()


def case(seed, number, place):
    """The steps of a case, a document being its bytes, and how many documents there are."""
    choose = random.Random(f"{seed}/case/{number}")
    generator = FeedGenerator(choose, place)
    steps = [("now", NOW), ("lastViewing", NOW - choose.choice([0, 10 * DAY, 300 * DAY]))]
    documents = choose.choice([1, 1, 1, 1, 2, 3])
    for index in range(documents):
        repeated = index and choose.randrange(6) == 0
        steps.append(steps[-1] if repeated and steps[-1][0] == "feed"
                     else ("feed", generator.document()))
        for _ in range(choose.choice([0, 1, 2, 4])):
            steps.append(choose.choice([
                lambda: ("categories", choose.choice(CATEGORIES)),
                lambda: ("age", choose.choice(AGES)),
                lambda: ("unviewed", bool(choose.randrange(2))),
                lambda: ("lastViewing", NOW - choose.choice([0, 1, 10, 30, 300]) * DAY),
                lambda: ("now", NOW + choose.choice([-1, 0, 0, 1, 1000, DAY])),
                lambda: ("fetch", choose.randrange(5)),
                lambda: ("fetch", choose.randrange(5)),
                lambda: ("fail",),
            ])())
    return steps, documents
