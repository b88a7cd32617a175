#pragma once

#include <QString>
#include <QUrl>

class QWidget;

namespace pelorinnews {

/// Why a page wants to go to another address. The numbers are those that policy delegates know.
enum class NavigationType : int {
    LinkClicked = 0,
    FormSubmitted = 1,
    BackForward = 2,
    Reload = 3,
    FormResubmitted = 4,
    Other = 5,
};

enum class NavigationDecision { Use, Ignore };

/// Decides about every navigation of a renderer.
class NavigationPolicyDelegate {
public:
    virtual ~NavigationPolicyDelegate() = default;
    NavigationPolicyDelegate(const NavigationPolicyDelegate &) = delete;
    NavigationPolicyDelegate &operator=(const NavigationPolicyDelegate &) = delete;

    /// `url` is resolved already, relative links against a bare "http://".
    virtual NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType type,
                                                                      const QUrl &url) = 0;

protected:
    NavigationPolicyDelegate() = default;
};

/// Paints one HTML page inside a widget. Everything happens on the main thread.
///
/// A page runs no code, reads no local file and opens no window of its own, whatever it says; that
/// is the renderer's duty, not the policy delegate's.
class NewsRenderer {
public:
    virtual ~NewsRenderer() = default;
    NewsRenderer(const NewsRenderer &) = delete;
    NewsRenderer &operator=(const NewsRenderer &) = delete;

    /// The widget that shows the page; owned by the parent given at creation. Nothing in it takes
    /// the keyboard focus, which stays with the view around it.
    [[nodiscard]] virtual QWidget *widget() const = 0;

    /// What the view hands keys, text of input methods and the news of its own focus to. May be
    /// absent, and another one for the next page.
    [[nodiscard]] virtual QWidget *inputWidget() const = 0;

    /// Shows `html`, of any size, in place of the page before; null and empty give an empty page.
    virtual void loadHtmlString(const QString &html) = 0;

    /// The font of text whose page names none.
    virtual void setStandardFontFamily(const QString &family) = 0;

    /// Keeps `delegate`, which must outlive the renderer or be replaced by null before it goes.
    /// Without one every navigation is refused.
    virtual void setPolicyDelegate(NavigationPolicyDelegate *delegate) = 0;

protected:
    NewsRenderer() = default;
};

}  // namespace pelorinnews
