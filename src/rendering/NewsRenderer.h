#pragma once

#include "pageprotocol/NavigationType.h"

#include <QRect>
#include <QString>
#include <QUrl>

#include <functional>

class QWidget;

namespace pelorinnews {

/// The kind of a page decides its colours: an item is black on white unless it specifies others, a
/// status is shown in the desktop's colours.
enum class PageKind { Item, Status };

enum class NavigationDecision { Use, Ignore };

/// What can be on a link: the mouse pointer, or the keyboard focus.
enum class LinkPointer { Mouse, Focus };

/// A link of the page.
struct PageLink {
    /// What a click on the link would report; empty if there is no link.
    QUrl address;
    /// In the coordinates of the renderer's widget; empty where it is not known.
    QRect place;
    /// The link's own text, or that of its picture, in one line of at most
    /// `pageprotocol::maxLinkText` characters; the page decides what it says. Known for the link of
    /// the focus only, and empty if it has none.
    QString text;
};

/// Is told whenever the pointer or the keyboard focus comes to a link of the page or leaves it.
using LinkObserver = std::function<void(LinkPointer, const PageLink &)>;

/// Is told of every navigation of a renderer. The renderers follow a fixed rule, whatever the
/// answer: a clicked link is ignored, everything else is used.
class NavigationPolicyDelegate {
public:
    virtual ~NavigationPolicyDelegate() = default;
    NavigationPolicyDelegate(const NavigationPolicyDelegate &) = delete;
    NavigationPolicyDelegate &operator=(const NavigationPolicyDelegate &) = delete;

    /// `url` is already resolved; relative links are resolved against a bare "http://".
    virtual NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType type,
                                                                      const QUrl &url) = 0;

protected:
    NavigationPolicyDelegate() = default;
};

/// Paints one HTML page inside a widget. Main thread only.
///
/// Whatever its HTML says, a page runs no code, reads no local file and opens no window of its own.
/// The renderer ensures that, not the policy delegate.
class NewsRenderer {
public:
    virtual ~NewsRenderer() = default;
    NewsRenderer(const NewsRenderer &) = delete;
    NewsRenderer &operator=(const NewsRenderer &) = delete;

    /// The widget that shows the page; owned by the parent given at creation. Nothing in it takes
    /// the keyboard focus, which stays with the view around it.
    [[nodiscard]] virtual QWidget *widget() const = 0;

    /// Receives forwarded key, IME and focus events. May be null, and may be another widget for the
    /// next page.
    [[nodiscard]] virtual QWidget *inputWidget() const = 0;

    /// Replaces the current page by `html`, which may have any size; null or empty gives an empty
    /// page.
    virtual void loadHtmlString(const QString &html, PageKind kind) = 0;

    /// Sets the font of text for which the page specifies none.
    virtual void setStandardFontFamily(const QString &family) = 0;

    /// Enlarges pages, present and later ones, to `percent` per cent of their size.
    virtual void setZoom(int percent) = 0;

    /// Does not take ownership: `delegate` must outlive the renderer or be replaced by null before
    /// it is destroyed. Null is allowed.
    virtual void setPolicyDelegate(NavigationPolicyDelegate *delegate) = 0;

    /// An empty function is allowed.
    virtual void setLinkObserver(const LinkObserver &observer) = 0;

protected:
    NewsRenderer() = default;
};

}  // namespace pelorinnews
