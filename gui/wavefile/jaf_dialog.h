#pragma once

#include <QDialog>

class QButtonGroup;

// "JAF_FILE_COMPRESSION": the down-sampling ratio of a JAF file, one of five
// radio buttons (2000..2004); OK (1), Cancel (2) and Help (1405, context 11206).
class JafDialog : public QDialog {
    Q_OBJECT
public:
    JafDialog(int button, QWidget* parent = nullptr);
    int chosenButton() const;

private:
    QButtonGroup* m_group;
};
