#include "wavefile/new_file_dialog.h"

#include "app/bitmap_button.h"
#include "app/control_drawing.h"
#include "app/qt_ui_host.h"
#include "wavefile/format_buttons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>


NewFileDialog::NewFileDialog(QWidget* parent)
    : QDialog(parent), m_savedFormat(current_wave_format), m_savedDataSize(data_chunk_size), m_summary(new QLabel(this))
{
    setObjectName(QStringLiteral("CREATENEWFILE"));
    setWindowTitle(tr("New File"));
    auto* layout = new QVBoxLayout(this);
    auto* groups = new QHBoxLayout;
    add_format_groups(this, groups, false, [this](int id) { press(id); });
    layout->addLayout(groups);
    layout->addWidget(m_summary);
    auto* buttons = new QHBoxLayout;
    auto* ok = new BitmapButton(1, tr("OK"), this);
    auto* cancel = new BitmapButton(2, tr("Cancel"), this);
    auto* help = new BitmapButton(1405, tr("Help"), this);
    connect(ok, &QAbstractButton::clicked, this, &QDialog::accept);
    connect(cancel, &QAbstractButton::clicked, this, &NewFileDialog::reject);
    connect(help, &QAbstractButton::clicked, this, [this] { press(1405); });
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    buttons->addWidget(help);
    layout->addLayout(buttons);
    refresh();
}

void NewFileDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    center_dialog_box(handle_of(this));
}

void NewFileDialog::press(int id)
{
    if (id == 1405) {
        new_show_context_help(handle_of(this), 11206);
        return;
    }
    if (press_format_button(id))
        refresh();
}

void NewFileDialog::reject()
{
    current_wave_format = m_savedFormat;
    data_chunk_size = m_savedDataSize;
    QDialog::reject();
}

void NewFileDialog::refresh()
{
    check_format_buttons(this, false);
    const WaveFormat& f = current_wave_format;
    m_summary->setText(tr("%1 Hz, %2 bits, %3").arg(f.nSamplesPerSec).arg(f.wBitsPerSample)
                           .arg(f.nChannels == 1 ? tr("mono") : tr("stereo")));
}
