#pragma once

#include <QDialog>

class PreferencePage;
class QTabWidget;

// The preference sheet: the seven pages on tabs. OK stores every page into
// the preferences and writes the profile; Cancel leaves both as they were.
class PreferencesDialog : public QDialog {
    Q_OBJECT
public:
    explicit PreferencesDialog(QWidget* parent = nullptr);
    QTabWidget* tabs() const { return m_tabs; }
    PreferencePage* page(int index) const;

    void accept() override;

private:
    QTabWidget* m_tabs;
};
