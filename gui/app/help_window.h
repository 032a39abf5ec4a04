#pragma once

#include <QDialog>

class QTextBrowser;

// The program's own help window: the HTML help pages beside the program in a
// text browser, for when no web browser has been chosen (or it will not
// start). One window for the program, raised again by the next F1.
class HelpWindow : public QDialog {
    Q_OBJECT
public:
    // Shows `page` at the topic `anchor` in the one help window, making it
    // first; the window.
    static HelpWindow* show(QWidget* parent, const QString& page, const QString& anchor);
    QTextBrowser* browser() const { return m_browser; }

private:
    explicit HelpWindow(QWidget* parent);
    QTextBrowser* m_browser;
};
