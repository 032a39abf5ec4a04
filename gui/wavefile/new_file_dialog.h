#pragma once

#include "wavefile/wave_state.h"

#include <QDialog>

class QLabel;
class QRadioButton;

// "CREATENEWFILE": chooses channels, bits and rate of a new empty file. Each
// button sets the current wave format at once; Cancel puts back the format
// and data size the dialog found.
class NewFileDialog : public QDialog {
    Q_OBJECT
public:
    explicit NewFileDialog(QWidget* parent = nullptr);

    // Presses the button with a control id, as a click would.
    void press(int controlId);

    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void refresh();

    WaveFormat m_savedFormat;
    std::uint32_t m_savedDataSize;
    QLabel* m_summary;
};
