#pragma once

#include <QDialog>

struct PresetContext;
class QLineEdit;
class QListWidget;

// "NEWSELECT": the presets of the current context in a list. Select (or a
// double click) ends with 1 and the name, Delete removes the entry and
// renumbers the rest, "Delete all" removes the section, Cancel ends with 2.
class PresetSelectDialog : public QDialog {
    Q_OBJECT
public:
    PresetSelectDialog(PresetContext& context, QWidget* parent = nullptr);
    QString chosen() const { return m_chosen; }
    QListWidget* list() const { return m_list; }
    void deleteCurrent();
    void deleteAll();
    void selectCurrent();

private:
    void reload();
    PresetContext& m_context;
    QListWidget* m_list;
    QString m_chosen;
};

// "SAVE": a name (control 260) to store the settings under. A name that
// exists is replaced only after "Replace existing file?" is answered Yes;
// otherwise the previous text comes back and the dialog stays.
class PresetSaveDialog : public QDialog {
    Q_OBJECT
public:
    PresetSaveDialog(PresetContext& context, QWidget* parent = nullptr);
    void accept() override;
    QLineEdit* nameEdit() const { return m_name; }

private:
    PresetContext& m_context;
    QLineEdit* m_name;
    QString m_previous;
};
