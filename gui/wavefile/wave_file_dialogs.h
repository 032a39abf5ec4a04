#pragma once

#include "wavefile/save_request.h"

#include <QFileDialog>

class CChildFrame;
class QLabel;
class QRadioButton;

// The open dialog: the file-type list, and the facts of the file under the
// cursor (control 260 the format, 402 rate, bits and channels).
class OpenWaveDialog : public QFileDialog {
    Q_OBJECT
public:
    explicit OpenWaveDialog(QWidget* parent, const QString& title = tr("Open"));
    // The type index of the chosen filter row.
    int selectedType() const;
    void showFactsOf(const QString& path);

private:
    QLabel* m_format;
    QLabel* m_facts;
};

// "Save Waveform To Disk": the file-type list with the output format buttons
// (202 mono, 203 stereo, 205 8-bit, 207 16-bit, 209/210/211 the rates), plain
// or compressed output (273/274) and the INFO button (109). It starts from
// the document's format; the buttons set current_wave_format and the options
// (converting, compressing) at once.
class SaveWaveDialog : public QFileDialog {
    Q_OBJECT
public:
    SaveWaveDialog(CChildFrame& document, QWidget* parent, const QString& defaultExtension = QStringLiteral("wav"));
    void press(int controlId);
    int selectedType() const;
    // What the format and compression buttons chose.
    const SaveOptions& options() const { return m_options; }

private:
    void refresh();
    void editInfo();
    // The settings of the compressed types: FLAC's level, Vorbis's quality,
    // Opus's bit rate, MP3's constant rate or variable quality.
    QWidget* compressedSettings();

    CChildFrame& m_document;
    SaveOptions m_options;
};

// "Delete Waveform File": the chosen file is removed at once, without a
// further question. The result of the removal (1), or 0 when cancelled.
int delete_waveform_file(QWidget* owner);

// Where the open and save dialogs start: the folder the user last opened a
// file from, else the home folder (never the program's working folder).
QString user_file_folder();
