#pragma once

#include <QDialog>
#include <memory>

struct InfoList;
class QComboBox;
class QLabel;
class QLineEdit;

// "DLG_INFOEDIT": edits the INFO items of a file. The list (control 100)
// shows every item, marked "*" when it has a value; below it the item's help
// (101) and value (102); six items also have fields of their own (1000 +
// index). Edits go into the list as each field loses the focus; Cancel does
// not take them back.
class InfoEditorDialog : public QDialog {
    Q_OBJECT
public:
    InfoEditorDialog(std::shared_ptr<InfoList> list, QWidget* parent = nullptr);

    QComboBox* items() const { return m_items; }
    QLineEdit* field(int controlId) const;
    // Takes a field's text into the list, as leaving the field does.
    void commitField(int controlId);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void rebuildList();
    void showSelected();
    void refreshDirectFields();

    std::shared_ptr<InfoList> m_list;
    QComboBox* m_items;
    QLabel* m_help;
    QLineEdit* m_value;
};

// edit_info_list: 0 when the dialog ran, 2 when there is no list.
int edit_info_list(QWidget* owner, const std::shared_ptr<InfoList>& list);
