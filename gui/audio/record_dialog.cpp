#include "audio/record_dialog.h"

#include "app/command_ids.h"
#include "app/control_drawing.h"
#include "app/messages.h"
#include "app/preferences.h"
#include "app/qt_ui_host.h"
#include "app/string_table.h"
#include "audio/auto_stop_dialog.h"
#include "audio/level_meters.h"
#include "audio/playback_engine.h"
#include "audio/volume.h"
#include "view/child_frame.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCursor>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>

namespace {

RecordEngine& engine() { return RecordEngine::instance(); }

QString text(int id) { return QString::fromStdString(load_string(id)); }

}  // namespace

RecordDialog::RecordDialog(CChildFrame& frame, DocumentList documents, BigTime bigTime, QWidget* parent)
    : QDialog(parent), m_documents(std::move(documents)), m_bigTime(std::move(bigTime))
{
    setObjectName(QStringLiteral("NewRecord"));
    setWindowTitle(tr("Record"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildTransport());
    layout->addWidget(buildMeters());
    layout->addWidget(buildOptions());
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("1"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("2"));
    buttons->button(QDialogButtonBox::Help)->setObjectName(QStringLiteral("1405"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { command(1405); });
    layout->addWidget(buttons);

    // Timer 10: notices the end of the take's play-back.
    m_playTimer = new QTimer(this);
    connect(m_playTimer, &QTimer::timeout, this, &RecordDialog::pollPlayback);
    m_playTimer->start(100);

    engine().setHost(this);
    engine().begin_dialog(frame);
    showRecordLength(std::string());
    captureStateChanged();
}

RecordDialog::~RecordDialog()
{
    stopAll();
    engine().setHost(nullptr);
}

void RecordDialog::stopAll()
{
    RecordEngine& e = engine();
    if (!e.idle()) {
        e.stop_recording();
        e.wait_until_idle(3000);
    }
    if (PlaybackEngine::instance().is_playing())
        PlaybackEngine::instance().stop_playback();
}

QAbstractButton* RecordDialog::addButton(QWidget* parent, int id, const QString& label)
{
    auto* b = new QPushButton(label, parent);
    b->setObjectName(QString::number(id));
    b->setAutoDefault(false);
    connect(b, &QPushButton::clicked, this, [this, id] { command(id); });
    return b;
}

QLabel* RecordDialog::addTimeLabel(QWidget* parent, int id, int pointSize, bool bold, const QString& colour)
{
    auto* l = new QLabel(parent);
    l->setObjectName(QString::number(id));
    QFont font(QStringLiteral("Helvetica"));
    font.setPointSize(pointSize);
    font.setBold(bold);
    l->setFont(font);
    l->setMinimumWidth(150);
    l->setStyleSheet(QStringLiteral("QLabel { color: %1; background: %2; padding: 2px; }")
                         .arg(colour, colour == QLatin1String("green") ? QStringLiteral("black") : QStringLiteral("white")));
    return l;
}

QWidget* RecordDialog::buildTransport()
{
    auto* box = new QGroupBox(tr("Transport"), this);
    auto* grid = new QGridLayout(box);
    int column = 0;
    for (const auto& [id, label] : std::vector<std::pair<int, QString>>{{kCommandRecord, tr("&Record")},
                                                                         {1814, tr("&Stop")},
                                                                         {1815, tr("&Play")},
                                                                         {kCommandGoStart, tr("|<")},
                                                                         {kCommandGoEnd, tr(">|")},
                                                                         {408, tr("Record &To...")}})
        grid->addWidget(addButton(box, id, label), 0, column++);
    auto* test = static_cast<QPushButton*>(addButton(box, 423, tr("&Test level")));
    test->setCheckable(true);
    test->setToolTip(text(423));
    grid->addWidget(test, 0, column++);

    auto* replace = new QRadioButton(text(421), box);
    replace->setObjectName(QStringLiteral("421"));
    auto* insert = new QRadioButton(text(422), box);
    insert->setObjectName(QStringLiteral("422"));
    (engine().insert_mode ? insert : replace)->setChecked(true);
    connect(insert, &QRadioButton::toggled, this, [](bool on) { engine().insert_mode = on ? 1 : 0; });
    grid->addWidget(replace, 1, 0, 1, column);
    grid->addWidget(insert, 2, 0, 1, column);

    grid->addWidget(new QLabel(tr("Elapsed:"), box), 3, 0);
    grid->addWidget(addTimeLabel(box, 419, 10, true, QStringLiteral("green")), 3, 1, 1, 2);
    grid->addWidget(new QLabel(tr("Recorded:"), box), 3, 3);
    grid->addWidget(addTimeLabel(box, 418, 10, true, QStringLiteral("green")), 3, 4, 1, 3);
    auto* availableCaption = new QLabel(tr("Available:"), box);
    availableCaption->setToolTip(text(404));
    grid->addWidget(availableCaption, 4, 0);
    QLabel* available = addTimeLabel(box, 404, 8, false, QStringLiteral("black"));
    available->setToolTip(text(404));
    grid->addWidget(available, 4, 1, 1, 2);
    auto* status = new QLabel(box);
    status->setObjectName(QStringLiteral("272"));
    grid->addWidget(status, 4, 3, 1, 4);
    return box;
}

QWidget* RecordDialog::buildMeters()
{
    auto* box = new QGroupBox(tr("Input level"), this);
    auto* grid = new QGridLayout(box);
    m_volume = new RecordVolumeIndicator(box);
    grid->addWidget(m_volume, 0, 0, 2, 1);
    for (int ch = 0; ch < 2; ++ch) {
        m_gauges[ch] = new DecibelGauge(box);
        m_gauges[ch]->setObjectName(QString::number(12102 + ch));
        grid->addWidget(m_gauges[ch], ch, 1);
        grid->addWidget(addButton(box, 110 + ch, ch == 0 ? tr("Reset L") : tr("Reset R")), ch, 2);
    }
    m_clip = new ClipIndicator(box);
    m_clip->setToolTip(text(425));
    grid->addWidget(m_clip, 0, 3, 2, 1);
    grid->setColumnStretch(0, 1);

    auto* fast = new QRadioButton(tr("&Fast meter"), box);
    fast->setObjectName(QStringLiteral("333"));
    auto* slow = new QRadioButton(tr("S&low meter"), box);
    slow->setObjectName(QStringLiteral("339"));
    (engine().fast_meter ? fast : slow)->setChecked(true);
    connect(fast, &QRadioButton::toggled, this, [](bool on) { engine().fast_meter = on; });
    grid->addWidget(fast, 2, 0);
    grid->addWidget(slow, 2, 1);

    // Control 233: the playback volume, 255 at the top.
    auto* volume = new QSlider(Qt::Vertical, box);
    volume->setObjectName(QStringLiteral("233"));
    volume->setRange(0, 255);
    volume->setValue(255 - static_cast<int>(std::min<std::uint32_t>(output_level, 255)));
    volume->setInvertedAppearance(true);
    volume->setToolTip(tr("Playback volume"));
    volume->setMaximumHeight(70);
    connect(volume, &QSlider::valueChanged, this, [](int position) {
        volume_both_channels = 1;
        volume_uniform = 1;
        output_level = static_cast<std::uint32_t>(255 - position);
        set_output_volume(output_level);
    });
    grid->addWidget(volume, 0, 4, 3, 1);
    return box;
}

QWidget* RecordDialog::buildOptions()
{
    auto* box = new QGroupBox(tr("Options"), this);
    auto* grid = new QGridLayout(box);
    RecordEngine& e = engine();

    grid->addWidget(addButton(box, 392, tr("&Auto stop...")), 0, 0);
    auto* rewind = new QCheckBox(tr("Re&wind after take"), box);
    rewind->setObjectName(QStringLiteral("1877"));
    rewind->setChecked(e.rewind_after_take);
    connect(rewind, &QCheckBox::toggled, this, [](bool on) { engine().rewind_after_take = on; });
    grid->addWidget(rewind, 0, 1);

    // The signal trigger: the take starts when the input's positive peak
    // passes the threshold; without "keep recording" it then runs for the
    // auto-stop time.
    auto* trigger = new QCheckBox(tr("Start on &signal above"), box);
    trigger->setObjectName(QStringLiteral("trigger"));
    trigger->setChecked(e.trigger_on_signal);
    auto* threshold = new QDoubleSpinBox(box);
    threshold->setObjectName(QStringLiteral("threshold"));
    threshold->setRange(0.0, 0.99);
    threshold->setSingleStep(0.05);
    threshold->setValue(e.signal_threshold);
    auto* keep = new QCheckBox(tr("&Keep recording after the trigger"), box);
    keep->setObjectName(QStringLiteral("triggerContinue"));
    keep->setChecked(e.trigger_continue);
    connect(trigger, &QCheckBox::toggled, this, [](bool on) { engine().trigger_on_signal = on; });
    connect(threshold, &QDoubleSpinBox::valueChanged, this,
            [](double v) { engine().signal_threshold = static_cast<float>(v); });
    connect(keep, &QCheckBox::toggled, this, [](bool on) { engine().trigger_continue = on; });
    grid->addWidget(trigger, 1, 0);
    grid->addWidget(threshold, 1, 1);
    grid->addWidget(keep, 1, 2);

    auto* metronome = new QCheckBox(tr("&Metronome"), box);
    metronome->setObjectName(QStringLiteral("1878"));
    metronome->setChecked(e.metronome_on);
    auto* tempo = new QSlider(Qt::Horizontal, box);
    tempo->setObjectName(QStringLiteral("231"));
    tempo->setRange(30, 240);
    tempo->setValue(e.metronome_bpm);
    tempo->setEnabled(e.metronome_on);
    auto* bpm = new QLabel(QString::number(e.metronome_bpm), box);
    bpm->setObjectName(QStringLiteral("232"));
    bpm->setStyleSheet(QStringLiteral("QLabel { color: black; background: white; padding: 2px; }"));
    connect(metronome, &QCheckBox::toggled, this, [tempo](bool on) {
        engine().metronome_on = on;
        tempo->setEnabled(on);
    });
    connect(tempo, &QSlider::valueChanged, this, [bpm](int v) {
        engine().metronome_bpm = v;
        bpm->setText(QString::number(v));
    });
    grid->addWidget(metronome, 2, 0);
    grid->addWidget(tempo, 2, 1);
    grid->addWidget(bpm, 2, 2);
    return box;
}

QAbstractButton* RecordDialog::button(int id) const { return findChild<QAbstractButton*>(QString::number(id)); }
QLabel* RecordDialog::label(int id) const { return findChild<QLabel*>(QString::number(id)); }

void RecordDialog::command(int id)
{
    RecordEngine& e = engine();
    switch (id) {
    case kCommandRecord: e.start_recording(); break;
    case 1814: e.stop_recording(); break;
    case 1815:
        if (e.play_take())
            m_wasPlaying = true;
        updateButtons();
        break;
    case 423:
        if (e.test_level_mode())
            e.stop_recording();
        else if (!e.start_level_test())
            button(423)->setChecked(false);
        break;
    case kCommandGoStart: e.move_record_position(false); break;
    case kCommandGoEnd: e.move_record_position(true); break;
    case 408: showRecordToMenu(); break;
    case 392: {
        AutoStopDialog dialog(this);
        e.auto_stop_enabled = dialog.exec() == 1;
        break;
    }
    case 110:
    case 111: m_gauges[id - 110]->resetHold(); break;
    case 1405:
        if (e.idle())
            new_show_context_help(handle_of(this), 11400);
        break;
    default: break;
    }
}

void RecordDialog::pollPlayback()
{
    // The dialog's own end of play: buttons back, meters cleared, and with
    // rewind on, back to the start (command 427).
    if (m_wasPlaying && !PlaybackEngine::instance().is_playing()) {
        m_wasPlaying = false;
        clearMeters();
        if (engine().rewind_after_take)
            engine().move_record_position(false);
        updateButtons();
    }
}

std::vector<std::pair<QString, bool>> RecordDialog::recordToItems() const
{
    std::vector<std::pair<QString, bool>> items;
    for (const auto& [frame, title] : m_documents())
        items.emplace_back(title.left(100), frame == engine().target());
    return items;
}

void RecordDialog::chooseRecordTarget(int index)
{
    const auto documents = m_documents();
    if (index < 0 || index >= static_cast<int>(documents.size()) || !engine().idle())
        return;
    engine().record_to(*documents[static_cast<std::size_t>(index)].first);
    clearMeters();
    showRecordLength(std::string());
    updateButtons();
}

void RecordDialog::showRecordToMenu()
{
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("recordTo"));
    QAction* title = menu.addAction(tr("Record To..."));
    title->setData(99);
    menu.addSeparator();
    int index = 0;
    for (const auto& [name, checked] : recordToItems()) {
        QAction* a = menu.addAction(name);
        a->setData(100 + index++);
        a->setCheckable(true);
        a->setChecked(checked);
    }
    if (QAction* chosen = menu.exec(QCursor::pos()); chosen && chosen->data().toInt() >= 100)
        chooseRecordTarget(chosen->data().toInt() - 100);
}

void RecordDialog::accept()
{
    stopAll();
    RecordEngine& e = engine();
    if (!e.adopt_take())
        return;  // the reason has been shown; the take stays for another try
    QDialog::accept();
}

void RecordDialog::reject()
{
    stopAll();
    RecordEngine& e = engine();
    e.discard_take();
    QDialog::reject();
}

void RecordDialog::showMeters(const Peaks& p)
{
    m_volume->setPeaks(p.left, p.right);
    m_gauges[0]->setPeak(p.left);
    m_gauges[1]->setPeak(p.right);
    m_clip->setLit(clip_indicator_lit(p));
}

void RecordDialog::clearMeters()
{
    m_volume->clear();
    m_clip->setLit(false);
}

void RecordDialog::showElapsed(const std::string& t)
{
    label(419)->setText(QString::fromStdString(t));
    if (preferences().bigTimeDisplay && m_bigTime)
        m_bigTime(QString::fromStdString(t));
}

void RecordDialog::showAvailable(const std::string& t) { label(404)->setText(QString::fromStdString(t)); }

void RecordDialog::showRecordLength(const std::string& t)
{
    if (!t.empty()) {
        label(418)->setText(QString::fromStdString(t));
        return;
    }
    // Without a text: the record file's length as it stands.
    const RecordFormat& f = engine().format;
    const double seconds = static_cast<double>(engine().record_length()) / std::max<std::uint32_t>(f.bytesPerSecond(), 1);
    label(418)->setText(QString::asprintf("%7.3f sec", seconds));
}

void RecordDialog::showTriggerStatus(const std::string& t) { label(272)->setText(QString::fromStdString(t)); }

void RecordDialog::showRecordPosition(double seconds)
{
    label(272)->setText(tr("Record position: %1 sec").arg(seconds, 0, 'f', 3));
}

void RecordDialog::metronomeTick()
{
    // The clip indicator flashes with the beat.
    m_clip->setLit(clip_indicator_lit({128, 128}));
    message_beep();
}

void RecordDialog::showTimeWindow()
{
    if (m_bigTime)
        m_bigTime(QString());
}

void RecordDialog::captureStateChanged()
{
    RecordEngine& e = engine();
    if (auto* test = button(423))
        test->setChecked(e.test_level_mode());
    if (e.idle())
        clearMeters();
    updateButtons();
}

void RecordDialog::updateButtons()
{
    RecordEngine& e = engine();
    const bool busy = !e.idle();
    const bool playing = PlaybackEngine::instance().is_playing();
    // While a take or a test runs only Stop (and the Test button, which
    // stops a test) answers; the take plays only when idle.
    for (QAbstractButton* b : findChildren<QAbstractButton*>()) {
        const int id = b->objectName().toInt();
        if (id == 1814)
            b->setEnabled(busy || playing);
        else if (id == 423)
            b->setEnabled(e.test_level_mode() || (!busy && !playing));
        else if (id == 1815)
            b->setEnabled(!busy && !playing && e.record_length() > 0);
        else
            b->setEnabled(!busy && !playing);
    }
    if (auto* threshold = findChild<QWidget*>(QStringLiteral("threshold")))
        threshold->setEnabled(!busy && !playing);
    if (auto* tempo = findChild<QWidget*>(QStringLiteral("231")))
        tempo->setEnabled(!busy && !playing && e.metronome_on);
}
