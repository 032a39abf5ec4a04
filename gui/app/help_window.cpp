#include "app/help_window.h"

#include <QPointer>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

HelpWindow::HelpWindow(QWidget* parent) : QDialog(parent), m_browser(new QTextBrowser(this))
{
    setWindowTitle(tr("Ondrava Help"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_browser->setOpenExternalLinks(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_browser);
    resize(720, 560);
}

HelpWindow* HelpWindow::show(QWidget* parent, const QString& page, const QString& anchor)
{
    static QPointer<HelpWindow> window;
    if (!window)
        window = new HelpWindow(parent);
    QUrl url = QUrl::fromLocalFile(page);
    url.setFragment(anchor);
    window->m_browser->setSource(url);
    if (!anchor.isEmpty())
        window->m_browser->scrollToAnchor(anchor);
    window->QDialog::show();
    window->raise();
    window->activateWindow();
    return window;
}
