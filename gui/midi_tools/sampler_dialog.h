#pragma once

#include "midi_tools/sampler.h"

#include <QDialog>

class ChildFrameWindow;
class QDoubleSpinBox;
class QLabel;
class QSlider;

// "SAMPLER": acquires a sample into a document: Arm waits for the input to
// pass the threshold, then records the set duration; the document takes it.
class SamplerDialog : public QDialog {
    Q_OBJECT
public:
    SamplerDialog(ChildFrameWindow& document, QWidget* parent = nullptr);
    // Arms with the dialog's threshold and duration.
    bool arm();
    Sampler& sampler() { return m_sampler; }

protected:
    void done(int result) override;

private:
    ChildFrameWindow& m_document;
    Sampler m_sampler;
    QSlider* m_threshold;
    QDoubleSpinBox* m_seconds;
    QLabel* m_status;
};
