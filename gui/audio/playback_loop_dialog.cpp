#include "audio/playback_loop_dialog.h"

#include "audio/playback_engine.h"
#include "sync/chase_lock.h"

#include <QDialogButtonBox>
#include <algorithm>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

PlaybackLoopDialog::PlaybackLoopDialog(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("SETUPPLAYBACKLOOP"));
    setWindowTitle(tr("Setup Playback Loop"));
    const PlaybackEngine& engine = PlaybackEngine::instance();
    auto* layout = new QVBoxLayout(this);

    auto* continuous = new QRadioButton(tr("Loop &continuously"), this);
    continuous->setObjectName(QStringLiteral("1039"));
    auto* counted = new QRadioButton(tr("Loop a &number of times:"), this);
    counted->setObjectName(QStringLiteral("1040"));
    (engine.loop_count_enabled ? counted : continuous)->setChecked(true);
    auto* countRow = new QHBoxLayout;
    countRow->addWidget(counted);
    countRow->addWidget(addSpin(231, 1, 100, engine.loop_count));
    layout->addWidget(continuous);
    layout->addLayout(countRow);

    // The SMPTE start time, hours:minutes:seconds:frames.
    auto* smpte = new QHBoxLayout;
    smpte->addWidget(new QLabel(tr("SMPTE start:"), this));
    const SmpteTime& s = engine.smpte_start;
    smpte->addWidget(addSpin(1883, 0, 23, s.hours));
    smpte->addWidget(addSpin(1884, 0, 59, s.minutes));
    smpte->addWidget(addSpin(1885, 0, 59, s.seconds));
    smpte->addWidget(addSpin(1886, 0, 23, s.frames));
    layout->addLayout(smpte);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

QSpinBox* PlaybackLoopDialog::addSpin(int id, int min, int max, int value)
{
    auto* box = new QSpinBox(this);
    box->setObjectName(QString::number(id));
    box->setRange(min, max);
    box->setValue(std::clamp(value, min, max));
    return box;
}

QSpinBox* PlaybackLoopDialog::spin(int id) const { return findChild<QSpinBox*>(QString::number(id)); }
QRadioButton* PlaybackLoopDialog::radio(int id) const { return findChild<QRadioButton*>(QString::number(id)); }

void PlaybackLoopDialog::accept()
{
    PlaybackEngine& engine = PlaybackEngine::instance();
    engine.loop_count = spin(231)->value();
    engine.loop_count_enabled = radio(1040)->isChecked();
    // The cue point is kept at 30 frames a second, and chase lock counts so.
    engine.smpte_start = {spin(1883)->value(), spin(1884)->value(), spin(1885)->value(), spin(1886)->value(), 30};
    smpte_frame_rate = 30;
    QDialog::accept();
}
