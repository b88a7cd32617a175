<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name></name>
    <message id="WindowTitle">
        <extracomment>Title of the news window. Translate “News” unless the language uses the English word; “Pelorin” is a name.</extracomment>
        <source></source>
        <translation>Pelorin 新闻</translation>
    </message>
    <message id="NotificationCenterTitle">
        <extracomment>Title of the desktop notification for a new item; its text is the item's headline.</extracomment>
        <source></source>
        <translation>来自 Pelorin 的新闻</translation>
    </message>
    <message id="NotificationCenterOpen">
        <extracomment>Button of a desktop notification, on desktops that show one; opens the news window. No mnemonic.</extracomment>
        <source></source>
        <translation>打开</translation>
    </message>
    <message id="WebViewAccessibilityTitle">
        <extracomment>What a screen reader says for the page when items are not to be read aloud.</extracomment>
        <source></source>
        <translation>新闻</translation>
    </message>
    <message id="NavigationAccessibilityTitlePrevious">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>上一条新闻</translation>
    </message>
    <message id="NavigationAccessibilityTitleNext">
        <extracomment>Accessible name and tool tip of the button; no mnemonic. A tool tip adds the key in brackets.</extracomment>
        <source></source>
        <translation>下一条新闻</translation>
    </message>
    <message id="SettingsShowOnStartCheckbox">
        <extracomment>Check box; &amp; marks the mnemonic. “Start” is the start of the application.</extracomment>
        <source></source>
        <translation>启动时显示新闻(&amp;S)</translation>
    </message>
    <message id="SettingsShowOptions">
        <extracomment>Beside the disclosure button while the options are folded, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>显示选项</translation>
    </message>
    <message id="SettingsHideOptions">
        <extracomment>Beside the disclosure button while the options are open, and its accessible name; no mnemonic.</extracomment>
        <source></source>
        <translation>隐藏选项</translation>
    </message>
    <message id="SettingsDisplayContentTypeLabel">
        <extracomment>Label of the pop-up with the two entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>类型(&amp;T)：</translation>
    </message>
    <message id="SettingsDisplayContentTypeAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: news of both types.</extracomment>
        <source></source>
        <translation>所有新闻</translation>
    </message>
    <message id="SettingsDisplayContentTypeCritical">
        <extracomment>Entry of the pop-up SettingsDisplayContentTypeLabel: only news that readers must not miss, such as a security update.</extracomment>
        <source></source>
        <translation>仅重要新闻</translation>
    </message>
    <message id="SettingsDisplayContentFromLabel">
        <extracomment>Label of the pop-up with the three entries below; &amp; marks the mnemonic.</extracomment>
        <source></source>
        <translation>显示(&amp;H)：</translation>
    </message>
    <message id="SettingsDisplayContentUnread">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news not seen before.</extracomment>
        <source></source>
        <translation>未读</translation>
    </message>
    <message id="SettingsDisplayContentRecent">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: news of the last 30 days, read or not.</extracomment>
        <source></source>
        <translation>最近 30 天</translation>
    </message>
    <message id="SettingsDisplayContentAll">
        <extracomment>Entry of the pop-up SettingsDisplayContentFromLabel: all news, read or not, however old.</extracomment>
        <source></source>
        <translation>全部</translation>
    </message>
    <message id="StatusNothingFound">
        <extracomment>Page, loaded as HTML and read aloud as it stands: escape what HTML needs escaped, no markup.</extracomment>
        <source></source>
        <translation>没有符合所选条件的新闻。</translation>
    </message>
    <message id="StatusNothingFoundRecent">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>最近 30 天没有符合所选条件的新闻。要查看更早的新闻，请点击“显示选项”，然后选择“全部”。</translation>
    </message>
    <message id="StatusNothingFoundUnread">
        <extracomment>Page, as above. Names SettingsShowOptions and SettingsDisplayContentAll as they are called, in the quotation marks of the language.</extracomment>
        <source></source>
        <translation>没有未读新闻。要查看更早的新闻，请点击“显示选项”，然后选择“全部”。</translation>
    </message>
    <message id="StatusRetrievingContent">
        <extracomment>Page, as above. It may stay after the download has ended: say only what is true then, too.</extracomment>
        <source></source>
        <translation>这里还没有新闻。此页面出现时正在获取新闻；请关闭此窗口，稍后再重新打开。</translation>
    </message>
    <message id="StatusErrorRetrievingContent">
        <extracomment>Page, as above, for a download that failed, a feed that cannot be read and one without items: name no cause. It stays while the window is open.</extracomment>
        <source></source>
        <translation>这里还没有新闻。此窗口关闭期间会不时重新获取新闻；请关闭窗口，稍后再来查看。</translation>
    </message>
</context>
</TS>
