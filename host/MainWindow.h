#pragma once

#include <pelorinnews/NewsController.h>

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

    /// Gives the News action its panel. Until then, and with null, the action is disabled.
    void setNews(std::shared_ptr<NewsController> controller);

    /// Tells the user that there will be no news, and why.
    void showProblem(const QString &problem);

private:
    void addActions();
    void showNews();
    void showAbout();

    std::shared_ptr<NewsController> news;
    QAction *newsAction;
    QLabel *notice;
};

}  // namespace pelorinnews::host
