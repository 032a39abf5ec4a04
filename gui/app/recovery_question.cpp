#include "app/recovery_question.h"

#include <QMessageBox>
#include <QPushButton>

RecoveryAnswer ask_about_recovery(QWidget* parent, const std::vector<RecoverableDocument>& documents)
{
    QString list;
    for (const RecoverableDocument& d : documents)
        list += QStringLiteral("\n%1  (%2 MB)")
                    .arg(QString::fromStdString(recovered_title(d)))
                    .arg(static_cast<double>(d.bytes) / (1024.0 * 1024.0), 0, 'f', 1);
    QMessageBox box(parent);
    box.setObjectName(QStringLiteral("RecoveryQuestion"));
    box.setWindowTitle(QStringLiteral("Ondrava"));
    box.setIcon(QMessageBox::Question);
    box.setText(QStringLiteral("Ondrava did not close properly the last time. It kept these documents:\n%1\n\n"
                               "Open them as recovered documents, delete them, or keep them for later?")
                    .arg(list));
    QPushButton* open = box.addButton(QStringLiteral("&Open"), QMessageBox::AcceptRole);
    QPushButton* remove = box.addButton(QStringLiteral("&Delete"), QMessageBox::DestructiveRole);
    QPushButton* keep = box.addButton(QStringLiteral("&Keep for later"), QMessageBox::RejectRole);
    open->setObjectName(QStringLiteral("open"));
    remove->setObjectName(QStringLiteral("delete"));
    keep->setObjectName(QStringLiteral("keep"));
    box.setDefaultButton(open);
    box.setEscapeButton(keep);
    box.exec();
    if (box.clickedButton() == open)
        return RecoveryAnswer::Open;
    if (box.clickedButton() == remove)
        return RecoveryAnswer::Delete;
    return RecoveryAnswer::Keep;
}
