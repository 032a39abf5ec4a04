#include "audio/play_record_time_window.h"

#include <QFont>
#include <QLabel>
#include <QVBoxLayout>

PlayRecordTimeWindow::PlayRecordTimeWindow(QWidget* parent) : QDialog(parent), m_time(new QLabel(this))
{
    setObjectName(QStringLiteral("PLAYRECORDTIME"));
    setWindowTitle(tr("Time"));
    setModal(false);
    m_time->setObjectName(QStringLiteral("419"));
    QFont font(QStringLiteral("Arial"));
    font.setPointSize(22);
    font.setWeight(QFont::Bold);
    m_time->setFont(font);
    m_time->setAlignment(Qt::AlignCenter);
    m_time->setStyleSheet(QStringLiteral("QLabel { color: rgb(0, 255, 0); background: black; padding: 6px; }"));
    m_time->setMinimumWidth(260);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_time);
}

void PlayRecordTimeWindow::showTime(const QString& text) { m_time->setText(text); }
QString PlayRecordTimeWindow::text() const { return m_time->text(); }
