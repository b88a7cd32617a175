<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name></name>
    <message id="WindowTitle">
        <extracomment>Title of the news window. Translate “News” unless the language uses the English word; “Pelorin” is a name.</extracomment>
        <source></source>
        <translation>Pelorin News</translation>
    </message>
    <message id="NotificationCenterTitle">
        <extracomment>Title of the desktop notification for a new item; its text is the item's headline.</extracomment>
        <source></source>
        <translation>Neues von Pelorin</translation>
    </message>
    <message id="NotificationCenterOpen">
        <extracomment>Button of a desktop notification, on desktops that show one; opens the news window. No mnemonic.</extracomment>
        <source></source>
        <translation>Öffnen</translation>
    </message>
    <message id="WebViewAccessibilityTitle">
        <extracomment>What a screen reader says for the page when items are not to be read aloud.</extracomment>
        <source></source>
        <translation>Neuigkeit</translation>
    </message>
    <message id="NavigationAccessibilityTitlePrevious">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Vorherige Neuigkeit</translation>
    </message>
    <message id="NavigationAccessibilityTitleNext">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Nächste Neuigkeit</translation>
    </message>
    <message id="SettingsShowOnStartCheckbox">
        <extracomment>Check box; &amp; marks the mnemonic. “Start” is the start of the application.</extracomment>
        <source></source>
        <translation>Neuigkeiten beim &amp;Start anzeigen</translation>
    </message>
    <message id="SettingsShowOptions">
        <extracomment>Beside the disclosure button while the options are folded, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Optionen einblenden</translation>
    </message>
    <message id="SettingsHideOptions">
        <extracomment>Beside the disclosure button while the options are open, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Optionen ausblenden</translation>
    </message>
    <message id="SettingsDisplayContentTypeLabel">
        <extracomment>Label of the pop-up with the two entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>A&amp;rt:</translation>
    </message>
    <message id="SettingsDisplayContentTypeAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: news of both types.</extracomment>
        <source></source>
        <translation>Alle Neuigkeiten</translation>
    </message>
    <message id="SettingsDisplayContentTypeCritical">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: only news that readers must not miss, such as a security update.</extracomment>
        <source></source>
        <translation>Nur kritische</translation>
    </message>
    <message id="SettingsDisplayContentFromLabel">
        <extracomment>Label of the pop-up with the three entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>An&amp;zeigen:</translation>
    </message>
    <message id="SettingsDisplayContentUnread">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news not seen before.</extracomment>
        <source></source>
        <translation>Ungelesene</translation>
    </message>
    <message id="SettingsDisplayContentRecent">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news of the last 30 days, read or not.</extracomment>
        <source></source>
        <translation>Letzte 30 Tage</translation>
    </message>
    <message id="SettingsDisplayContentAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: all news, read or not, however old.</extracomment>
        <source></source>
        <translation>Alle</translation>
    </message>
    <message id="StatusNothingFound">
        <extracomment>Page, loaded as HTML and read aloud as it stands: escape what HTML needs escaped, no markup.</extracomment>
        <source></source>
        <translation>Zu Ihrer Auswahl gibt es keine Neuigkeiten.</translation>
    </message>
    <message id="StatusNothingFoundRecent">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>Zu Ihrer Auswahl gibt es keine Neuigkeiten aus den letzten 30 Tagen. Ältere Neuigkeiten: „Optionen einblenden“, dann „Alle“.</translation>
    </message>
    <message id="StatusNothingFoundUnread">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>Es gibt keine ungelesenen Neuigkeiten. Ältere Neuigkeiten: „Optionen einblenden“, dann „Alle“.</translation>
    </message>
    <message id="StatusRetrievingContent">
        <extracomment>Page, as above. It may stay after the download has ended: say only what is true then, too.</extracomment>
        <source></source>
        <translation>Hier sind noch keine Neuigkeiten. Sie wurden gerade abgerufen, als diese Seite erschien; schließen Sie dieses Fenster und öffnen Sie es gleich noch einmal.</translation>
    </message>
    <message id="StatusErrorRetrievingContent">
        <extracomment>Page, as above, for a download that failed, a feed that cannot be read and one without items: name no cause. It stays while the window is open.</extracomment>
        <source></source>
        <translation>Hier sind noch keine Neuigkeiten. Solange dieses Fenster geschlossen ist, werden sie von Zeit zu Zeit erneut abgerufen; schließen Sie es und sehen Sie später wieder nach.</translation>
    </message>
</context>
</TS>
