#include "wavefile/wave_file_dialogs.h"

#include "wavefile/helper_programs.h"

#include "app/app_paths.h"
#include "app/control_drawing.h"
#include "app/messages.h"
#include "app/preferences.h"
#include "app/qt_ui_host.h"
#include "app/screen_area.h"
#include "view/child_frame.h"
#include "view/document_save.h"
#include "wavefile/file_types.h"
#include "wavefile/format_buttons.h"
#include "wavefile/info_editor_dialog.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_io.h"
#include "wavefile/wave_state.h"

#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QSpinBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QTreeView>
#include <QHeaderView>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <cstdio>

namespace {

QStringList filtersOf(const std::vector<FileType>& types)
{
    QStringList filters;
    for (const FileType& t : types) {
        QString pattern = QString::fromLatin1(t.pattern);
        if (!pattern.startsWith('*'))
            pattern.prepend('*');  // the IRCAM row's ".sf" as a usable pattern
        filters << QString::fromLatin1(t.filter).section(" (", 0, 0) + " (" + pattern + ")";
    }
    return filters;
}

}  // namespace

QString user_file_folder()
{
    const QString last = QString::fromStdString(preferences().openFolder);
    if (!last.isEmpty() && QFileInfo(last).isDir())
        return last;
    return QDir::homePath();
}

namespace {

// Adds a panel below the file dialog's own controls, and sizes the dialog so
// that the panel and every column of the file list show whole: the name
// column takes the room left, the size, type and date columns their text's
// width. Never larger than the screen's free area.
void addPanel(QFileDialog* dialog, QWidget* panel)
{
    if (auto* grid = qobject_cast<QGridLayout*>(dialog->layout()))
        grid->addWidget(panel, grid->rowCount(), 0, 1, grid->columnCount());
    if (auto* list = dialog->findChild<QTreeView*>(QStringLiteral("treeView"))) {
        QHeaderView* header = list->header();
        header->setStretchLastSection(false);
        header->setSectionResizeMode(0, QHeaderView::Stretch);
        for (int column = 1; column < header->count(); ++column)
            header->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }
    QSize size = dialog->sizeHint().expandedTo(QSize(880, 520));
    size.setWidth(std::max(size.width(), panel->sizeHint().width() + 40));
    dialog->resize(size.boundedTo(largest_window_size(dialog)));
}

}  // namespace

OpenWaveDialog::OpenWaveDialog(QWidget* parent, const QString& title)
    : QFileDialog(parent, title), m_format(new QLabel(this)), m_facts(new QLabel(this))
{
    setOption(QFileDialog::DontUseNativeDialog);
    setFileMode(QFileDialog::ExistingFile);
    setOption(QFileDialog::ReadOnly);
    setDirectory(user_file_folder());
    setNameFilters(filtersOf(readable_file_types()));
    m_format->setObjectName(QStringLiteral("260"));
    m_facts->setObjectName(QStringLiteral("402"));
    auto* panel = new QWidget(this);
    auto* row = new QHBoxLayout(panel);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_format);
    row->addWidget(m_facts);
    row->addStretch();
    addPanel(this, panel);
    connect(this, &QFileDialog::currentChanged, this, &OpenWaveDialog::showFactsOf);
}

int OpenWaveDialog::selectedType() const
{
    const int row = static_cast<int>(nameFilters().indexOf(selectedNameFilter()));
    // The reading list has only the types that can be read.
    const std::vector<int> types = readable_types();
    return row >= 0 && row < static_cast<int>(types.size()) ? types[static_cast<std::size_t>(row)] : kTypeWav;
}

void OpenWaveDialog::showFactsOf(const QString& path)
{
    WaveFacts facts;
    if (!read_wave_facts(path.toStdString(), facts)) {
        m_format->clear();
        m_facts->clear();
        return;
    }
    m_format->setText(QString::fromStdString(wave_format_name(facts.formatTag)));
    m_facts->setText(QString::fromStdString(wave_facts_text(facts)));
}

SaveWaveDialog::SaveWaveDialog(CChildFrame& document, QWidget* parent, const QString& defaultExtension)
    : QFileDialog(parent, QStringLiteral("Save Waveform To Disk")), m_document(document)
{
    setOption(QFileDialog::DontUseNativeDialog);
    setAcceptMode(QFileDialog::AcceptSave);
    setFileMode(QFileDialog::AnyFile);
    setDefaultSuffix(defaultExtension);
    // Start beside the document's own file, with its name; a document
    // decoded from another type beside that file, under its name as WAV; a
    // document that has neither starts in the user's folder.
    const QFileInfo own(QString::fromStdString(document.files.path));
    const QFileInfo source(QString::fromStdString(document.files.importedFrom));
    if (!document.files.path.empty() && own.dir().exists()) {
        setDirectory(own.dir());
        selectFile(own.fileName());
    } else if (!document.files.importedFrom.empty() && source.dir().exists()) {
        setDirectory(source.dir());
        selectFile(source.completeBaseName() + QStringLiteral(".wav"));
    } else {
        setDirectory(user_file_folder());
    }
    const QStringList filters = filtersOf(file_types());
    setNameFilters(filters);
    selectNameFilter(filters[defaultExtension == QLatin1String("avi") ? kTypeAvi : kTypeWav]);
    // A name typed without an extension takes the chosen type's.
    connect(this, &QFileDialog::filterSelected, this, [this](const QString&) {
        const auto& type = file_types()[static_cast<std::size_t>(selectedType())];
        setDefaultSuffix(type.extensions.empty() ? QString() : QString::fromLatin1(type.extensions.front()));
    });

    // Opening takes the document's format and clears the conversion choices.
    current_wave_format.nChannels = document.wfx.nChannels;
    current_wave_format.wFormatTag = document.wfx.wFormatTag == 3 ? 3 : 1;
    current_wave_format.wBitsPerSample = document.wfx.wBitsPerSample;
    current_wave_format.nBytesPerSample = static_cast<std::uint16_t>(document.wfx.wBitsPerSample / 8);
    current_wave_format.nSamplesPerSec = document.wfx.nSamplesPerSec;

    auto* panel = new QWidget(this);
    auto* row = new QHBoxLayout(panel);
    row->setContentsMargins(0, 0, 0, 0);
    add_format_groups(panel, row, true, [this](int id) { press(id); });
    auto* info = new QPushButton(tr("&INFO..."), panel);
    info->setObjectName(QStringLiteral("109"));
    connect(info, &QPushButton::clicked, this, [this] { press(109); });
    row->addWidget(info);
    auto* panels = new QWidget(this);
    auto* column = new QVBoxLayout(panels);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(panel);
    column->addWidget(compressedSettings());
    addPanel(this, panels);
    refresh();
}

QWidget* SaveWaveDialog::compressedSettings()
{
    auto* box = new QGroupBox(tr("Compressed types"), this);
    auto* row = new QHBoxLayout(box);
    auto spin = [&](const QString& label, const char* name, int low, int high, int value, const QString& suffix,
                    int SaveOptions::*field) {
        row->addWidget(new QLabel(label, box));
        auto* s = new QSpinBox(box);
        s->setObjectName(QLatin1String(name));
        s->setRange(low, high);
        s->setValue(value);
        s->setSuffix(suffix);
        connect(s, &QSpinBox::valueChanged, this, [this, field](int v) { m_options.*field = v; });
        row->addWidget(s);
        return s;
    };
    spin(tr("FLAC level"), "flacLevel", 0, 8, m_options.flacCompression, QString(), &SaveOptions::flacCompression);
    spin(tr("Vorbis quality"), "vorbisQuality", -1, 10, m_options.vorbisQuality, QString(),
         &SaveOptions::vorbisQuality);
    spin(tr("Opus"), "opusBitrate", 6, 510, m_options.opusBitrate, tr(" kbit/s"), &SaveOptions::opusBitrate);
    auto* mode = new QComboBox(box);
    mode->setObjectName(QStringLiteral("mp3Mode"));
    mode->addItems({tr("MP3 constant"), tr("MP3 variable")});
    row->addWidget(mode);
    auto* rate = spin(QString(), "mp3Bitrate", 8, 320, m_options.mp3Bitrate, tr(" kbit/s"), &SaveOptions::mp3Bitrate);
    auto* quality = spin(QString(), "mp3Quality", 0, 9, m_options.mp3VbrQuality, QString(), &SaveOptions::mp3VbrQuality);
    quality->setPrefix(tr("V"));
    quality->setVisible(false);
    connect(mode, &QComboBox::currentIndexChanged, this, [this, rate, quality](int index) {
        m_options.mp3Vbr = index;
        rate->setVisible(index == 0);
        quality->setVisible(index == 1);
    });
    row->addStretch();
    return box;
}

int SaveWaveDialog::selectedType() const
{
    return std::max(0, static_cast<int>(nameFilters().indexOf(selectedNameFilter())));
}

void SaveWaveDialog::press(int id)
{
    if (id == 109) {
        editInfo();
        return;
    }
    if (id == 273 || id == 274)
        m_options.bSaveCompressed = id == 274;
    else if (!press_format_button(id))
        return;
    const WaveFormat& f = current_wave_format;
    m_options.bSaveConverts = f.nChannels != m_document.wfx.nChannels || f.wBitsPerSample != m_document.wfx.wBitsPerSample ||
                    f.nSamplesPerSec != m_document.wfx.nSamplesPerSec;
    refresh();
}

void SaveWaveDialog::refresh() { check_format_buttons(this, m_options.bSaveCompressed != 0); }

void SaveWaveDialog::editInfo()
{
    // The INFO list of the target file; a new recording has none yet, so a
    // copy of the document stands in for it.
    const QStringList chosen = selectedFiles();
    std::string name = chosen.isEmpty() ? std::string() : chosen.first().toStdString();
    if (m_document.szDisplayName.find("SAMPLE") != std::string::npos) {
        name = exchange_file_path("hvn.tmp");
        if (!save_waveform_file(m_document, name, 0, 0))
            return;  // the reason has been shown
    }
    std::unique_ptr<wave_io_info> info;
    if (name.empty() || wioFileOpen(&info, name.c_str(), 0) != WIOERR_NOERROR) {
        char text[600];
        std::snprintf(text, sizeof text, "%s is not a valid wave file.", name.c_str());
        message_box(handle_of(this), text, "Ondrava", MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    edit_info_list(this, info->pInfo);
    info_chunk_present = 1;
    // The edited items are the document's from now on.
    m_document.infoList = info->pInfo;
}

int delete_waveform_file(QWidget* owner)
{
    OpenWaveDialog dialog(owner, QStringLiteral("Delete Waveform File"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return 0;
    return std::remove(dialog.selectedFiles().first().toLocal8Bit().constData()) == 0 ? 1 : 0;
}
