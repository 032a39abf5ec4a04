#include "sync/chase_lock_dialog.h"

#include "app/preferences.h"
#include "app/qt_ui_host.h"
#include "audio/playback_engine.h"
#include "audio/playback_loop_dialog.h"
#include "sync/chase_lock.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

ChaseLockDialog::ChaseLockDialog(CChildFrame& frame, QWidget* parent) : QDialog(parent), m_frame(frame)
{
    setObjectName(QStringLiteral("CHASELOCK"));
    setWindowTitle(tr("SMPTE Chase Lock"));
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    const auto add = [&](int id, const QString& caption, int row) {
        grid->addWidget(new QLabel(caption, this), row, 0);
        auto* l = new QLabel(this);
        l->setObjectName(QString::number(id));
        l->setMinimumWidth(220);
        grid->addWidget(l, row, 1);
    };
    add(273, tr("Status:"), 0);
    add(274, tr("Cue point:"), 1);
    add(419, tr("Time code:"), 2);
    layout->addLayout(grid);
    for (int id : {378, 377}) {
        auto* l = new QLabel(this);
        l->setObjectName(QString::number(id));
        layout->addWidget(l);
    }

    auto* settings = new QFormLayout;
    m_fps = new QComboBox(this);
    m_fps->setObjectName(QStringLiteral("fps"));
    for (int rate : {24, 25, 30})
        m_fps->addItem(QString::number(rate), rate);
    m_fps->setCurrentIndex(m_fps->findData(smpte_frame_rate));
    m_preroll = new QSpinBox(this);
    m_preroll->setObjectName(QStringLiteral("preroll"));
    m_preroll->setRange(0, 300);
    m_preroll->setValue(chase_preroll_frames);
    m_preroll->setToolTip(tr("Frames added to the time code when playback re-arms after a restart"));
    settings->addRow(tr("Frames per second:"), m_fps);
    settings->addRow(tr("Pre-roll frames:"), m_preroll);
    layout->addLayout(settings);

    auto* buttons = new QHBoxLayout;
    const auto button = [&](int id, const QString& text) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(QString::number(id));
        b->setAutoDefault(false);
        buttons->addWidget(b);
        return b;
    };
    QPushButton* start = button(1893, tr("&Start"));
    QPushButton* cancel = button(2, tr("Cancel"));
    QPushButton* back = button(427, tr("<<"));
    QPushButton* forward = button(428, tr(">>"));
    QPushButton* cue = button(0, tr("Set &cue..."));
    cue->setObjectName(QStringLiteral("setCue"));
    back->setToolTip(tr("Nudge the playback 10 ms back"));
    forward->setToolTip(tr("Nudge the playback 10 ms forward"));
    layout->addLayout(buttons);

    m_chase = std::make_unique<ChaseLock>(frame, handle_of(this));
    m_chase->set_compensation(preferences().compensateTimeCodeDelay);
    m_chase->onEnded = [this] {
        if (!m_ending)
            QMetaObject::invokeMethod(this, [this] { reject(); }, Qt::QueuedConnection);
    };
    m_chase->onPlayPosition = [this](const std::string& text) { emit playPosition(QString::fromStdString(text)); };
    connect(start, &QPushButton::clicked, this, [this] {
        if (m_chase->chase_start_pending) {
            smpte_frame_rate = m_fps->currentData().toInt();
            chase_preroll_frames = m_preroll->value();
            m_fps->setEnabled(false);
            m_preroll->setEnabled(false);
        }
        m_chase->start();
    });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(back, &QPushButton::clicked, this, [this] { m_chase->nudge(false); });
    connect(forward, &QPushButton::clicked, this, [this] { m_chase->nudge(true); });
    connect(cue, &QPushButton::clicked, this, [this] {
        if (!m_chase->chase_start_pending)
            return;
        PlaybackLoopDialog dialog(this);
        if (dialog.exec() != QDialog::Accepted)
            return;
        const SmpteTime& s = PlaybackEngine::instance().smpte_start;
        m_chase->set_cue(s.hours, s.minutes, s.seconds, s.frames);
        m_fps->setCurrentIndex(m_fps->findData(smpte_frame_rate));
        m_chase->show_ready_texts();
    });
}

ChaseLockDialog::~ChaseLockDialog() = default;

bool ChaseLockDialog::openInput() { return m_chase->open(preferences().midiInputDevice) == 1; }

void ChaseLockDialog::done(int result)
{
    if (!m_ending) {
        m_ending = true;
        m_chase->cancel();
    }
    QDialog::done(result);
}
