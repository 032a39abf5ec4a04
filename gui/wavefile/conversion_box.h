#pragma once

#include <QDialog>

class CancelWatcher;
class QLabel;
class QPushButton;

// The wave converter's box: the source (control 100) and the destination
// (101) in a fixed-pitch font, the percentage done (102), and Abort.
class ConversionBox : public QDialog {
    Q_OBJECT
public:
    ConversionBox(QWidget* parent, const QString& source, const QString& destination);
    bool pollAbort();
    QPushButton* abortButton() const { return m_abort; }

private:
    QPushButton* m_abort;
    CancelWatcher* m_watcher;
};
