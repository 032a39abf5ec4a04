#include "audio/auto_stop_dialog.h"

#include "app/control_drawing.h"
#include "audio/record_engine.h"
#include "app/qt_ui_host.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

AutoStopDialog::AutoStopDialog(QWidget* parent)
    : QDialog(parent), m_slider(new QSlider(Qt::Vertical, this)), m_number(new QLabel(this))
{
    setObjectName(QStringLiteral("AUTOSTOP"));
    setWindowTitle(tr("Auto Stop"));
    m_slider->setObjectName(QStringLiteral("233"));
    m_slider->setRange(0, 100);
    m_slider->setStyleSheet(QStringLiteral("QSlider::handle:vertical { background: blue; }"));
    m_number->setObjectName(QStringLiteral("232"));
    m_number->setMinimumWidth(60);
    m_number->setAlignment(Qt::AlignCenter);
    m_number->setStyleSheet(QStringLiteral("QLabel { color: red; background: white; }"));
    // The slider opens at 255 minus the stored seconds (kept as it always
    // was), without changing the stored time until it is moved.
    {
        const QSignalBlocker quiet(m_slider);
        m_slider->setValue(255 - RecordEngine::instance().auto_stop_seconds);
    }
    showSeconds();
    connect(m_slider, &QSlider::valueChanged, this, [this] {
        RecordEngine& e = RecordEngine::instance();
        e.auto_stop_seconds = 100 - m_slider->value();
        e.auto_stop_limit_ms = static_cast<std::uint32_t>(e.auto_stop_seconds) * 1000;
        showSeconds();
    });

    auto* row = new QHBoxLayout;
    row->addWidget(m_slider);
    auto* right = new QVBoxLayout;
    right->addWidget(new QLabel(tr("Stop recording after (seconds):"), this));
    right->addWidget(m_number);
    right->addStretch();
    row->addLayout(right);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
    buttons->button(QDialogButtonBox::Help)->setObjectName(QStringLiteral("1405"));
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { done(1); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { done(2); });
    connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { new_show_context_help(handle_of(this), 392); });
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(buttons);
}

void AutoStopDialog::showSeconds() { m_number->setText(QString::number(100 - m_slider->value())); }
