#include "MainWindow.h"

#include "HostLogger.h"
#include "LogPane.h"

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>

namespace pelorinnews::host {

namespace {

QWidget *makeHeader(QWidget *parent) {
    auto *const header = new QWidget(parent);
    auto *const picture = new QLabel(header);
    picture->setPixmap(QApplication::windowIcon().pixmap(56, 56));
    auto *const text = new QLabel(header);
    text->setTextFormat(Qt::RichText);
    text->setText(
        MainWindow::tr("<span style='font-size:x-large; font-weight:600'>Pelorin</span>"
                       "<br>Press <b>News</b> to read what is new."));
    auto *const row = new QHBoxLayout(header);
    row->setContentsMargins({});
    row->setSpacing(14);
    row->addWidget(picture);
    row->addWidget(text, 1);
    return header;
}

}  // namespace

MainWindow::MainWindow(const HostLogger &logger)
    : _newsAction(new QAction(QIcon(QStringLiteral(":/icons/news.svg")), tr("&News"), this)),
      _notice(new QLabel(this)) {
    addActions();

    _notice->setWordWrap(true);
    _notice->setTextFormat(Qt::PlainText);
    _notice->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    _notice->setFrameShape(QFrame::StyledPanel);
    _notice->setMargin(10);
    _notice->hide();

    auto *const log = new LogPane(this);
    connect(&logger, &HostLogger::messageAdded, log, &LogPane::addMessage);

    auto *const content = new QWidget(this);
    auto *const column = new QVBoxLayout(content);
    column->setContentsMargins(18, 14, 18, 8);
    column->setSpacing(14);
    column->addWidget(makeHeader(content));
    column->addWidget(_notice);
    column->addWidget(log, 1);
    setCentralWidget(content);
    setWindowTitle(tr("Pelorin"));
    statusBar()->showMessage(tr("No news panel"));
    resize(760, 480);
}

void MainWindow::setNews(std::shared_ptr<NewsController> controller) {
    _news = std::move(controller);
    _newsAction->setEnabled(_news != nullptr);
    statusBar()->showMessage(_news ? tr("The news panel is ready") : tr("No news panel"));
}

void MainWindow::showProblem(const QString &problem) {
    _notice->setText(problem);
    _notice->show();
}

void MainWindow::addActions() {
    _newsAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_N));
    _newsAction->setToolTip(tr("Show the news window (Ctrl+N)"));
    _newsAction->setEnabled(false);
    connect(_newsAction, &QAction::triggered, this, &MainWindow::showNews);

    auto *const quit = new QAction(QIcon(QStringLiteral(":/icons/quit.svg")), tr("&Quit"), this);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
    quit->setToolTip(tr("Quit Pelorin (Ctrl+Q)"));
    connect(quit, &QAction::triggered, qApp, &QApplication::quit);

    auto *const about = new QAction(tr("&About Pelorin"), this);
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, &MainWindow::showAbout);

    QMenu *const file = menuBar()->addMenu(tr("&File"));
    file->addAction(_newsAction);
    file->addSeparator();
    file->addAction(quit);
    menuBar()->addMenu(tr("&Help"))->addAction(about);

    QToolBar *const bar = addToolBar(tr("Tools"));
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->addAction(_newsAction);
    bar->addAction(quit);
}

void MainWindow::showNews() {
    if (_news)
        _news->show();
}

void MainWindow::showAbout() {
    QMessageBox::about(this, tr("About Pelorin"),
                       tr("<h3>Pelorin %1</h3><p>A small application that hosts the Pelorin News "
                          "panel.</p><p>It loads the panel as a module, tells it who it is, takes "
                          "its log, and shows it when you ask for news.</p>")
                           .arg(QApplication::applicationVersion()));
}

}  // namespace pelorinnews::host
