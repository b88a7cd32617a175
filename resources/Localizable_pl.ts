<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl">
<context>
    <name></name>
    <message id="WindowTitle">
        <extracomment>Title of the news window. Translate “News” unless the language uses the English word; “Pelorin” is a name.</extracomment>
        <source></source>
        <translation>Aktualności Pelorin</translation>
    </message>
    <message id="NotificationCenterTitle">
        <extracomment>Title of the desktop notification for a new item; its text is the item's headline.</extracomment>
        <source></source>
        <translation>Aktualności Pelorin</translation>
    </message>
    <message id="NotificationCenterOpen">
        <extracomment>Button of a desktop notification, on desktops that show one; opens the news window. No mnemonic.</extracomment>
        <source></source>
        <translation>Otwórz</translation>
    </message>
    <message id="WebViewAccessibilityTitle">
        <extracomment>What a screen reader says for the page when items are not to be read aloud.</extracomment>
        <source></source>
        <translation>Aktualność</translation>
    </message>
    <message id="NavigationAccessibilityTitlePrevious">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Poprzednia aktualność</translation>
    </message>
    <message id="NavigationAccessibilityTitleNext">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Następna aktualność</translation>
    </message>
    <message id="SettingsShowOnStartCheckbox">
        <extracomment>Check box; &amp; marks the mnemonic. “Start” is the start of the application.</extracomment>
        <source></source>
        <translation>Pokazuj aktualności przy &amp;uruchamianiu</translation>
    </message>
    <message id="SettingsShowOptions">
        <extracomment>Beside the disclosure button while the options are folded, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Pokaż opcje</translation>
    </message>
    <message id="SettingsHideOptions">
        <extracomment>Beside the disclosure button while the options are open, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Ukryj opcje</translation>
    </message>
    <message id="SettingsDisplayContentTypeLabel">
        <extracomment>Label of the pop-up with the two entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>&amp;Rodzaj:</translation>
    </message>
    <message id="SettingsDisplayContentTypeAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: news of both types.</extracomment>
        <source></source>
        <translation>Wszystkie aktualności</translation>
    </message>
    <message id="SettingsDisplayContentTypeCritical">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: only news that readers must not miss, such as a security update.</extracomment>
        <source></source>
        <translation>Tylko krytyczne</translation>
    </message>
    <message id="SettingsDisplayContentFromLabel">
        <extracomment>Label of the pop-up with the three entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>&amp;Pokaż:</translation>
    </message>
    <message id="SettingsDisplayContentUnread">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news not seen before.</extracomment>
        <source></source>
        <translation>Nieprzeczytane</translation>
    </message>
    <message id="SettingsDisplayContentRecent">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news of the last 30 days, read or not.</extracomment>
        <source></source>
        <translation>Ostatnie 30 dni</translation>
    </message>
    <message id="SettingsDisplayContentAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: all news, read or not, however old.</extracomment>
        <source></source>
        <translation>Wszystkie</translation>
    </message>
    <message id="StatusNothingFound">
        <extracomment>Page, loaded as HTML and read aloud as it stands: escape what HTML needs escaped, no markup.</extracomment>
        <source></source>
        <translation>Brak aktualności odpowiadających wybranym kryteriom.</translation>
    </message>
    <message id="StatusNothingFoundRecent">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>Brak aktualności z ostatnich 30 dni odpowiadających wybranym kryteriom. Starsze aktualności: „Pokaż opcje”, a następnie „Wszystkie”.</translation>
    </message>
    <message id="StatusNothingFoundUnread">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>Brak nieprzeczytanych aktualności. Starsze aktualności: „Pokaż opcje”, a następnie „Wszystkie”.</translation>
    </message>
    <message id="StatusRetrievingContent">
        <extracomment>Page, as above. It may stay after the download has ended: say only what is true then, too.</extracomment>
        <source></source>
        <translation>Nie ma tu jeszcze żadnych aktualności. Były pobierane w chwili wyświetlenia tej strony; zamknij to okno i za chwilę otwórz je ponownie.</translation>
    </message>
    <message id="StatusErrorRetrievingContent">
        <extracomment>Page, as above, for a download that failed, a feed that cannot be read and one without items: name no cause. It stays while the window is open.</extracomment>
        <source></source>
        <translation>Nie ma tu jeszcze żadnych aktualności. Gdy to okno jest zamknięte, są one co pewien czas pobierane ponownie; zamknij okno i zajrzyj tu później.</translation>
    </message>
</context>
</TS>
