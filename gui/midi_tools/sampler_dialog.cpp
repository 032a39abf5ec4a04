#include "midi_tools/sampler_dialog.h"

#include "view/child_frame_window.h"

#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

SamplerDialog::SamplerDialog(ChildFrameWindow& document, QWidget* parent) : QDialog(parent), m_document(document)
{
    setObjectName(QStringLiteral("SAMPLER"));
    setWindowTitle(tr("Sampler"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    m_threshold = new QSlider(Qt::Horizontal, this);
    m_threshold->setObjectName(QStringLiteral("threshold"));
    m_threshold->setRange(1, 99);
    m_threshold->setValue(20);
    auto* thresholdText = new QLabel(this);
    connect(m_threshold, &QSlider::valueChanged, thresholdText,
            [thresholdText](int v) { thresholdText->setText(QStringLiteral("%1 %").arg(v)); });
    thresholdText->setText(QStringLiteral("20 %"));
    auto* thresholdRow = new QHBoxLayout;
    thresholdRow->addWidget(m_threshold);
    thresholdRow->addWidget(thresholdText);
    m_seconds = new QDoubleSpinBox(this);
    m_seconds->setObjectName(QStringLiteral("seconds"));
    m_seconds->setRange(0.1, 3600.0);
    m_seconds->setValue(2.0);
    m_seconds->setSuffix(tr(" s"));
    form->addRow(tr("Start when the input passes:"), thresholdRow);
    form->addRow(tr("Then record for:"), m_seconds);
    layout->addLayout(form);
    m_status = new QLabel(tr("Not armed"), this);
    m_status->setObjectName(QStringLiteral("status"));
    layout->addWidget(m_status);
    auto* buttons = new QHBoxLayout;
    auto* armButton = new QPushButton(tr("&Arm"), this);
    armButton->setObjectName(QStringLiteral("arm"));
    auto* stop = new QPushButton(tr("S&top"), this);
    stop->setObjectName(QStringLiteral("stop"));
    auto* close = new QPushButton(tr("&Close"), this);
    buttons->addWidget(armButton);
    buttons->addWidget(stop);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    connect(armButton, &QPushButton::clicked, this, [this] { arm(); });
    connect(stop, &QPushButton::clicked, this, [this] { m_sampler.stop(); });
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    m_sampler.onStatus = [this](const std::string& text) { m_status->setText(QString::fromStdString(text)); };
    m_sampler.onFinished = [this](bool adopted, double seconds) {
        m_status->setText(adopted ? tr("Sampled %1 s").arg(seconds, 0, 'f', 2) : tr("Nothing recorded"));
        if (adopted)
            m_document.refreshAfterEdit();
    };
}

bool SamplerDialog::arm()
{
    if (m_sampler.armed())
        return false;
    if (!m_sampler.arm(m_document.frame(), m_seconds->value(), m_threshold->value() / 100.0f)) {
        m_status->setText(tr("The input device did not open"));
        return false;
    }
    m_status->setText(tr("Waiting for the signal"));
    return true;
}

void SamplerDialog::done(int result)
{
    m_sampler.stop_now();
    QDialog::done(result);
}
