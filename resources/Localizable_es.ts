<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es">
<context>
    <name></name>
    <message id="WindowTitle">
        <extracomment>Title of the news window. Translate “News” unless the language uses the English word; “Pelorin” is a name.</extracomment>
        <source></source>
        <translation>Noticias de Pelorin</translation>
    </message>
    <message id="NotificationCenterTitle">
        <extracomment>Title of the desktop notification for a new item; its text is the item's headline.</extracomment>
        <source></source>
        <translation>Noticias de Pelorin</translation>
    </message>
    <message id="NotificationCenterOpen">
        <extracomment>Button of a desktop notification, on desktops that show one; opens the news window. No mnemonic.</extracomment>
        <source></source>
        <translation>Abrir</translation>
    </message>
    <message id="WebViewAccessibilityTitle">
        <extracomment>What a screen reader says for the page when items are not to be read aloud.</extracomment>
        <source></source>
        <translation>Noticia</translation>
    </message>
    <message id="NavigationAccessibilityTitlePrevious">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Noticia anterior</translation>
    </message>
    <message id="NavigationAccessibilityTitleNext">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>Noticia siguiente</translation>
    </message>
    <message id="SettingsShowOnStartCheckbox">
        <extracomment>Check box; &amp; marks the mnemonic. “Start” is the start of the application.</extracomment>
        <source></source>
        <translation>Mostrar noticias al &amp;iniciar</translation>
    </message>
    <message id="SettingsShowOptions">
        <extracomment>Beside the disclosure button while the options are folded, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Mostrar opciones</translation>
    </message>
    <message id="SettingsHideOptions">
        <extracomment>Beside the disclosure button while the options are open, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>Ocultar opciones</translation>
    </message>
    <message id="SettingsDisplayContentTypeLabel">
        <extracomment>Label of the pop-up with the two entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>&amp;Tipo:</translation>
    </message>
    <message id="SettingsDisplayContentTypeAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: news of both types.</extracomment>
        <source></source>
        <translation>Todas las noticias</translation>
    </message>
    <message id="SettingsDisplayContentTypeCritical">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: only news that readers must not miss, such as a security update.</extracomment>
        <source></source>
        <translation>Solo críticas</translation>
    </message>
    <message id="SettingsDisplayContentFromLabel">
        <extracomment>Label of the pop-up with the three entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>&amp;Mostrar:</translation>
    </message>
    <message id="SettingsDisplayContentUnread">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news not seen before.</extracomment>
        <source></source>
        <translation>No leídas</translation>
    </message>
    <message id="SettingsDisplayContentRecent">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news of the last 30 days, read or not.</extracomment>
        <source></source>
        <translation>Últimos 30 días</translation>
    </message>
    <message id="SettingsDisplayContentAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: all news, read or not, however old.</extracomment>
        <source></source>
        <translation>Todas</translation>
    </message>
    <message id="StatusNothingFound">
        <extracomment>Page, loaded as HTML and read aloud as it stands: escape what HTML needs escaped, no markup.</extracomment>
        <source></source>
        <translation>Ninguna noticia coincide con su selección.</translation>
    </message>
    <message id="StatusNothingFoundRecent">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>Ninguna noticia de los últimos 30 días coincide con su selección. Noticias anteriores: «Mostrar opciones» y, después, «Todas».</translation>
    </message>
    <message id="StatusNothingFoundUnread">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>No hay noticias sin leer. Noticias anteriores: «Mostrar opciones» y, después, «Todas».</translation>
    </message>
    <message id="StatusRetrievingContent">
        <extracomment>Page, as above. It may stay after the download has ended: say only what is true then, too.</extracomment>
        <source></source>
        <translation>Aquí aún no hay noticias. Se estaban descargando cuando apareció esta página; cierre esta ventana y vuelva a abrirla en un momento.</translation>
    </message>
    <message id="StatusErrorRetrievingContent">
        <extracomment>Page, as above, for a download that failed, a feed that cannot be read and one without items: name no cause. It stays while the window is open.</extracomment>
        <source></source>
        <translation>Aquí aún no hay noticias. Mientras esta ventana está cerrada, se descargan de nuevo cada cierto tiempo; ciérrela y vuelva a mirar más tarde.</translation>
    </message>
</context>
</TS>
