#include "edit/timemark_dialogs.h"

#include "audio/timemark_playback.h"
#include "edit/timemarks.h"
#include "view/child_frame.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

MarkerNameDialog::MarkerNameDialog(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("ENTERMARKERNAME"));
    setWindowTitle(tr("Timemark Name"));
    setWindowFlag(Qt::WindowStaysOnTopHint);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Name of the new timemark:"), this));
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("390"));
    m_name->setMaxLength(kMarkerNameLength);
    layout->addWidget(m_name);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    adjustSize();
    if (QScreen* s = screen())
        move(s->availableGeometry().center() - rect().center());
}

std::string MarkerNameDialog::name() const { return m_name->text().toStdString(); }

bool MarkerNameDialog::ask(QWidget* parent, std::string& name)
{
    MarkerNameDialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted || dialog.name().empty())
        return false;
    name = dialog.name();
    return true;
}

TimemarkDialog::TimemarkDialog(CChildFrame& frame, int index, int timeFormat, QWidget* parent)
    : QDialog(parent), m_frame(frame), m_index(index)
{
    setObjectName(QStringLiteral("TIMEMARK"));
    setWindowTitle(tr("Timemark"));
    auto* layout = new QVBoxLayout(this);
    auto* info = new QLabel(QString::fromStdString(timemark_info_text(frame, index, false, 0, timeFormat)), this);
    info->setObjectName(QStringLiteral("info"));
    layout->addWidget(info);
    m_name = new QLineEdit(QString::fromStdString(frame.timemarks[static_cast<std::size_t>(index)].name), this);
    m_name->setObjectName(QStringLiteral("name"));
    m_name->setMaxLength(kMarkerNameLength);
    layout->addWidget(m_name);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton* play = buttons->addButton(tr("&Play from here"), QDialogButtonBox::ActionRole);
    play->setObjectName(QStringLiteral("play"));
    QPushButton* remove = buttons->addButton(tr("&Delete"), QDialogButtonBox::DestructiveRole);
    remove->setObjectName(QStringLiteral("delete"));
    connect(play, &QPushButton::clicked, this, [this] {
        m_choice = Play;
        accept();
    });
    connect(remove, &QPushButton::clicked, this, [this] {
        m_choice = Deleted;
        accept();
    });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        m_choice = Renamed;
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

int TimemarkDialog::run()
{
    if (exec() != QDialog::Accepted)
        return Cancelled;
    switch (m_choice) {
    case Renamed:
        if (m_name->text().toStdString() != m_frame.timemarks[static_cast<std::size_t>(m_index)].name)
            rename_timemark(m_frame, m_index, m_name->text().toStdString());
        return Renamed;
    case Play: play_from_timemark(m_frame, m_index); return Play;
    case Deleted:
        delete_timemark(m_frame, m_index);
        m_frame.layout.redrawAll = true;
        return Deleted;
    default: return Cancelled;
    }
}
