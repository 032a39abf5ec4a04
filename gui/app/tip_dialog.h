#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;

// The tip of the day: one tip at a time, the next on request; unticking
// "Show tips at startup" stores "Tip of the day" as "no".
class TipDialog : public QDialog {
    Q_OBJECT
public:
    explicit TipDialog(QWidget* parent = nullptr);
    static QStringList tips();

protected:
    void done(int result) override;

private:
    void showTip(int index);
    QLabel* m_tip;
    QCheckBox* m_showAtStart;
    int m_index = 0;
};
