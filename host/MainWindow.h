#pragma once

#include "pelorinnews/NewsController.h"

#include <QMainWindow>

#include <memory>

class QAction;
class QLabel;

namespace pelorinnews::host {

class HostLogger;

/// The host's only window: opens the news panel and shows what the news module logs.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(const HostLogger &logger);

    /// Sets the panel that the News action opens. Before this call, and with null, the action is
    /// disabled.
    void setNews(std::shared_ptr<NewsController> controller);

    /// Shows the user why there is no news panel.
    void showProblem(const QString &problem);

private:
    void addActions();
    void showNews();
    void showAbout();

    std::shared_ptr<NewsController> _news;
    QAction *_newsAction;
    QLabel *_notice;
};

}  // namespace pelorinnews::host
