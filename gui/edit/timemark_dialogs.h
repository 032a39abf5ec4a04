#pragma once

#include <QDialog>
#include <string>

class CChildFrame;
class QLineEdit;

// "ENTERMARKERNAME": the name of a time mark being made, at most 29
// characters, in edit control 390. Always on top and centred.
class MarkerNameDialog : public QDialog {
    Q_OBJECT
public:
    explicit MarkerNameDialog(QWidget* parent = nullptr);
    std::string name() const;
    // true for OK with a name; an empty name counts as Cancel.
    static bool ask(QWidget* parent, std::string& name);

private:
    QLineEdit* m_name;
};

// The time mark dialog (the right button on a mark): its information text,
// its name to change, and Play from it or Delete it.
class TimemarkDialog : public QDialog {
    Q_OBJECT
public:
    enum Result { Cancelled = 0, Renamed = 1, Play = 2, Deleted = 3 };
    TimemarkDialog(CChildFrame& frame, int index, int timeFormat, QWidget* parent = nullptr);
    // Runs the dialog and carries out the choice; what was done.
    int run();

private:
    CChildFrame& m_frame;
    int m_index;
    QLineEdit* m_name;
    int m_choice = Renamed;  // what OK does
};
