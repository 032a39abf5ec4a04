#include "wavefile/format_buttons.h"

#include "wavefile/wave_state.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QGroupBox>
#include <QRadioButton>
#include <vector>

void add_format_groups(QWidget* parent, QBoxLayout* row, bool withOutput, const std::function<void(int)>& onPress)
{
    struct Group {
        QString title;
        std::vector<std::pair<int, QString>> options;
    };
    std::vector<Group> groups = {
        {QObject::tr("Channels"), {{202, QObject::tr("&Mono")}, {203, QObject::tr("&Stereo")}}},
        {QObject::tr("Bits"),
         {{205, QObject::tr("&8 bit")},
          {207, QObject::tr("&16 bit")},
          {206, QObject::tr("&24 bit")},
          {208, QObject::tr("32 bit &float")}}},
        {QObject::tr("Rate"), {{209, QObject::tr("11025 Hz")}, {210, QObject::tr("22050 Hz")}, {211, QObject::tr("44100 Hz")}}},
    };
    if (withOutput)
        groups.push_back({QObject::tr("Output"), {{273, QObject::tr("PCM")}, {274, QObject::tr("Compressed (ADPCM)")}}});
    for (const Group& g : groups) {
        auto* box = new QGroupBox(g.title, parent);
        auto* layout = new QVBoxLayout(box);
        auto* group = new QButtonGroup(box);
        for (const auto& [id, text] : g.options) {
            auto* button = new QRadioButton(text, box);
            button->setObjectName(QString::number(id));
            group->addButton(button, id);
            layout->addWidget(button);
        }
        QObject::connect(group, &QButtonGroup::idClicked, parent, onPress);
        row->addWidget(box);
    }
}

bool press_format_button(int id)
{
    WaveFormat& f = current_wave_format;
    switch (id) {
    case 202: f.nChannels = 1; return true;
    case 203: f.nChannels = 2; return true;
    case 205: f.wFormatTag = 1; f.wBitsPerSample = 8; f.nBytesPerSample = 1; return true;
    case 207: f.wFormatTag = 1; f.wBitsPerSample = 16; f.nBytesPerSample = 2; return true;
    case 206: f.wFormatTag = 1; f.wBitsPerSample = 24; f.nBytesPerSample = 3; return true;
    case 208: f.wFormatTag = 3; f.wBitsPerSample = 32; f.nBytesPerSample = 4; return true;
    case 209: f.nSamplesPerSec = 11025; return true;
    case 210: f.nSamplesPerSec = 22050; return true;
    case 211: f.nSamplesPerSec = 44100; return true;
    default: return false;
    }
}

void check_format_buttons(QWidget* dialog, bool compressed)
{
    const WaveFormat& f = current_wave_format;
    const std::pair<int, bool> states[] = {
        {202, f.nChannels == 1},          {203, f.nChannels == 2},          {205, f.wBitsPerSample == 8},
        {207, f.wBitsPerSample == 16},    {206, f.wBitsPerSample == 24},    {208, f.wBitsPerSample == 32},
        {209, f.nSamplesPerSec == 11025}, {210, f.nSamplesPerSec == 22050},
        {211, f.nSamplesPerSec == 44100}, {273, !compressed},               {274, compressed},
    };
    for (const auto& [id, on] : states)
        if (auto* b = dialog->findChild<QRadioButton*>(QString::number(id)))
            b->setChecked(on);
}
