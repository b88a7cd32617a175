<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it">
<context>
    <name></name>
    <message id="WindowTitle">
        <extracomment>Title of the news window. Translate “News” unless the language uses the English word; “Pelorin” is a name.</extracomment>
        <source></source>
        <translation>Notizie di Pelorin</translation>
    </message>
    <message id="NotificationCenterTitle">
        <extracomment>Title of the desktop notification for a new item; its text is the item's headline.</extracomment>
        <source></source>
        <translation>Notizie da Pelorin</translation>
    </message>
    <message id="NotificationCenterOpen">
        <extracomment>Button of a desktop notification, on desktops that show one; opens the news window. No mnemonic.</extracomment>
        <source></source>
        <translation>Apri</translation>
    </message>
    <message id="WebViewAccessibilityTitle">
        <extracomment>What a screen reader says for the page when items are not to be read aloud.</extracomment>
        <source></source>
        <translation>Notizia</translation>
    </message>
    <message id="NavigationAccessibilityTitlePrevious">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Notizia precedente</translation>
    </message>
    <message id="NavigationAccessibilityTitleNext">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Notizia successiva</translation>
    </message>
    <message id="SettingsShowOnStartCheckbox">
        <extracomment>Check box; &amp; marks the mnemonic. “Start” is the start of the application.</extracomment>
        <source></source>
        <translation>Mostra le notizie all’&amp;avvio</translation>
    </message>
    <message id="SettingsShowOptions">
        <extracomment>Beside the disclosure button while the options are folded, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Mostra opzioni</translation>
    </message>
    <message id="SettingsHideOptions">
        <extracomment>Beside the disclosure button while the options are open, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Nascondi opzioni</translation>
    </message>
    <message id="SettingsDisplayContentTypeLabel">
        <extracomment>Label of the pop-up with the two entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>&amp;Tipo:</translation>
    </message>
    <message id="SettingsDisplayContentTypeAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: news of both types.</extracomment>
        <source></source>
        <translation>Tutte le notizie</translation>
    </message>
    <message id="SettingsDisplayContentTypeCritical">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: only news that readers must not miss, such as a security update.</extracomment>
        <source></source>
        <translation>Solo critiche</translation>
    </message>
    <message id="SettingsDisplayContentFromLabel">
        <extracomment>Label of the pop-up with the three entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>&amp;Mostra:</translation>
    </message>
    <message id="SettingsDisplayContentUnread">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news not seen before.</extracomment>
        <source></source>
        <translation>Non lette</translation>
    </message>
    <message id="SettingsDisplayContentRecent">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news of the last 30 days, read or not.</extracomment>
        <source></source>
        <translation>Ultimi 30 giorni</translation>
    </message>
    <message id="SettingsDisplayContentAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: all news, read or not, however old.</extracomment>
        <source></source>
        <translation>Tutte</translation>
    </message>
    <message id="StatusNothingFound">
        <extracomment>Page, loaded as HTML and read aloud as it stands: escape what HTML needs escaped, no markup.</extracomment>
        <source></source>
        <translation>Nessuna notizia corrisponde alla selezione.</translation>
    </message>
    <message id="StatusNothingFoundRecent">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>Nessuna notizia degli ultimi 30 giorni corrisponde alla selezione. Notizie meno recenti: «Mostra opzioni», poi «Tutte».</translation>
    </message>
    <message id="StatusNothingFoundUnread">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>Non ci sono notizie non lette. Notizie meno recenti: «Mostra opzioni», poi «Tutte».</translation>
    </message>
    <message id="StatusRetrievingContent">
        <extracomment>Page, as above. It may stay after the download has ended: say only what is true then, too.</extracomment>
        <source></source>
        <translation>Qui non ci sono ancora notizie. Erano in fase di scaricamento quando è apparsa questa pagina; chiudere questa finestra e riaprirla tra poco.</translation>
    </message>
    <message id="StatusErrorRetrievingContent">
        <extracomment>Page, as above, for a download that failed, a feed that cannot be read and one without items: name no cause. It stays while the window is open.</extracomment>
        <source></source>
        <translation>Qui non ci sono ancora notizie. Finché questa finestra è chiusa, vengono scaricate di nuovo di tanto in tanto; chiuderla e ricontrollare più tardi.</translation>
    </message>
</context>
</TS>
