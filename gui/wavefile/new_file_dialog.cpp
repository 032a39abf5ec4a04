#include "wavefile/new_file_dialog.h"

#include "app/bitmap_button.h"
#include "app/control_drawing.h"
#include "app/qt_ui_host.h"

#include <QButtonGroup>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {

QRadioButton* option(int id, const QString& text, QWidget* parent, QButtonGroup* group)
{
    auto* button = new QRadioButton(text, parent);
    button->setObjectName(QString::number(id));
    group->addButton(button, id);
    return button;
}

}  // namespace

NewFileDialog::NewFileDialog(QWidget* parent)
    : QDialog(parent), m_savedFormat(current_wave_format), m_savedDataSize(data_chunk_size), m_summary(new QLabel(this))
{
    setObjectName(QStringLiteral("CREATENEWFILE"));
    setWindowTitle(tr("New File"));
    auto* layout = new QVBoxLayout(this);
    auto* groups = new QHBoxLayout;
    struct Row {
        QString title;
        std::initializer_list<std::pair<int, QString>> options;
    };
    for (const Row& row : {Row{tr("Channels"), {{202, tr("&Mono")}, {203, tr("&Stereo")}}},
                           Row{tr("Resolution"), {{205, tr("&8 bit")}, {207, tr("&16 bit")}}},
                           Row{tr("Sample rate"), {{209, tr("11025 Hz")}, {210, tr("22050 Hz")}, {211, tr("44100 Hz")}}}}) {
        auto* box = new QGroupBox(row.title, this);
        auto* boxLayout = new QVBoxLayout(box);
        auto* group = new QButtonGroup(box);
        for (const auto& [id, text] : row.options)
            boxLayout->addWidget(option(id, text, box, group));
        connect(group, &QButtonGroup::idClicked, this, &NewFileDialog::press);
        groups->addWidget(box);
    }
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
    WaveFormat& f = current_wave_format;
    switch (id) {
    case 202: f.nChannels = 1; break;
    case 203: f.nChannels = 2; break;
    case 205: f.wBitsPerSample = 8; f.nBytesPerSample = 1; break;
    case 207: f.wBitsPerSample = 16; f.nBytesPerSample = 2; break;
    case 209: f.nSamplesPerSec = 11025; break;
    case 210: f.nSamplesPerSec = 22050; break;
    case 211: f.nSamplesPerSec = 44100; break;
    case 1405: new_show_context_help(handle_of(this), 11206); return;
    default: return;
    }
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
    const WaveFormat& f = current_wave_format;
    auto check = [this](int id, bool on) {
        if (auto* b = findChild<QRadioButton*>(QString::number(id)))
            b->setChecked(on);
    };
    check(202, f.nChannels == 1);
    check(203, f.nChannels == 2);
    check(205, f.wBitsPerSample == 8);
    check(207, f.wBitsPerSample == 16);
    check(209, f.nSamplesPerSec == 11025);
    check(210, f.nSamplesPerSec == 22050);
    check(211, f.nSamplesPerSec == 44100);
    m_summary->setText(tr("%1 Hz, %2 bits, %3").arg(f.nSamplesPerSec).arg(f.wBitsPerSample)
                           .arg(f.nChannels == 1 ? tr("mono") : tr("stereo")));
}
