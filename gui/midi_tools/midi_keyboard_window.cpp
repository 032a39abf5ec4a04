#include "midi_tools/midi_keyboard_window.h"

#include "app/messages.h"
#include "app/preferences.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

constexpr int kOctaves = 3;
constexpr int kWhiteKeys = kOctaves * 7;
constexpr bool kBlack[12] = {false, true, false, true, false, false, true, false, true, false, true, false};
// The white key each semitone sits on or right of.
constexpr int kWhiteIndex[12] = {0, 0, 1, 1, 2, 3, 3, 4, 4, 5, 5, 6};

}  // namespace

MidiKeyboardWindow::MidiKeyboardWindow(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("MIDIKEYBOARD"));
    setWindowTitle(tr("MIDI Keyboard"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(560, 170);
    auto* layout = new QVBoxLayout(this);
    auto* controls = new QHBoxLayout;
    m_octave = new QSpinBox(this);
    m_octave->setObjectName(QStringLiteral("octave"));
    m_octave->setRange(0, 8);
    m_octave->setValue(m_keyboard.base_octave);
    m_channel = new QSpinBox(this);
    m_channel->setObjectName(QStringLiteral("channel"));
    m_channel->setRange(1, 16);
    m_velocity = new QSlider(Qt::Horizontal, this);
    m_velocity->setObjectName(QStringLiteral("velocity"));
    m_velocity->setRange(1, 127);
    m_velocity->setValue(m_keyboard.velocity);
    for (QWidget* w : {static_cast<QWidget*>(m_octave), static_cast<QWidget*>(m_channel),
                       static_cast<QWidget*>(m_velocity)})
        w->setFocusPolicy(Qt::ClickFocus);
    controls->addWidget(new QLabel(tr("Octave:"), this));
    controls->addWidget(m_octave);
    controls->addWidget(new QLabel(tr("Channel:"), this));
    controls->addWidget(m_channel);
    controls->addWidget(new QLabel(tr("Velocity:"), this));
    controls->addWidget(m_velocity);
    layout->addLayout(controls);
    layout->addStretch();
    connect(m_octave, &QSpinBox::valueChanged, this, [this](int v) {
        m_keyboard.all_notes_off();
        m_keyboard.base_octave = v;
        update();
    });
    connect(m_channel, &QSpinBox::valueChanged, this, [this](int v) {
        m_keyboard.all_notes_off();
        m_keyboard.channel = v;
    });
    connect(m_velocity, &QSlider::valueChanged, this, [this](int v) { m_keyboard.velocity = v; });
}

MidiKeyboardWindow::~MidiKeyboardWindow() { m_keyboard.close(); }

bool MidiKeyboardWindow::openOutput()
{
    if (m_keyboard.open(preferences().midiOutputDevice))
        return true;
    ErrMsg("Failed to open MIDI for output");
    return false;
}

QRect MidiKeyboardWindow::keyArea() const { return QRect(8, 50, width() - 16, height() - 58); }

int MidiKeyboardWindow::firstNote() const { return (m_keyboard.base_octave + 1) * 12; }

int MidiKeyboardWindow::noteAt(QPoint at) const
{
    const QRect area = keyArea();
    if (!area.contains(at))
        return -1;
    const double whiteWidth = static_cast<double>(area.width()) / kWhiteKeys;
    const int x = at.x() - area.left();
    // Black keys lie over the upper part, between their white neighbours.
    if (at.y() < area.top() + area.height() * 0.6) {
        for (int n = 0; n < kOctaves * 12; ++n) {
            if (!kBlack[n % 12])
                continue;
            const double centre = (n / 12 * 7 + kWhiteIndex[n % 12] + 1) * whiteWidth;
            if (std::abs(x - centre) < whiteWidth * 0.3)
                return firstNote() + n <= 127 ? firstNote() + n : -1;
        }
    }
    const int white = std::min(kWhiteKeys - 1, static_cast<int>(x / whiteWidth));
    static const int kWhiteSemitone[7] = {0, 2, 4, 5, 7, 9, 11};
    const int note = firstNote() + white / 7 * 12 + kWhiteSemitone[white % 7];
    return note <= 127 ? note : -1;
}

void MidiKeyboardWindow::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    const QRect area = keyArea();
    const double whiteWidth = static_cast<double>(area.width()) / kWhiteKeys;
    static const int kWhiteSemitone[7] = {0, 2, 4, 5, 7, 9, 11};
    for (int w = 0; w < kWhiteKeys; ++w) {
        const int note = firstNote() + w / 7 * 12 + kWhiteSemitone[w % 7];
        const QRectF key(area.left() + w * whiteWidth, area.top(), whiteWidth, area.height());
        p.fillRect(key, m_keyboard.sounding().count(note) ? QColor(120, 170, 255) : Qt::white);
        p.setPen(Qt::black);
        p.drawRect(key);
        if (w % 7 == 0)
            p.drawText(key.adjusted(2, 0, 0, -4), Qt::AlignBottom | Qt::AlignHCenter,
                       QString::fromStdString(MidiKeyboard::note_name(note)));
    }
    for (int n = 0; n < kOctaves * 12; ++n) {
        if (!kBlack[n % 12])
            continue;
        const double centre = area.left() + (n / 12 * 7 + kWhiteIndex[n % 12] + 1) * whiteWidth;
        const QRectF key(centre - whiteWidth * 0.3, area.top(), whiteWidth * 0.6, area.height() * 0.6);
        p.fillRect(key, m_keyboard.sounding().count(firstNote() + n) ? QColor(40, 90, 200) : Qt::black);
    }
}

void MidiKeyboardWindow::mousePressEvent(QMouseEvent* event)
{
    m_mouseNote = noteAt(event->position().toPoint());
    if (m_mouseNote >= 0) {
        m_keyboard.note_on(m_mouseNote);
        update();
    }
}

void MidiKeyboardWindow::mouseReleaseEvent(QMouseEvent*)
{
    if (m_mouseNote >= 0) {
        m_keyboard.note_off(m_mouseNote);
        m_mouseNote = -1;
        update();
    }
}

void MidiKeyboardWindow::keyPressEvent(QKeyEvent* event)
{
    const QString text = event->text().toLower();
    const int note = text.size() == 1 ? MidiKeyboard::note_for_key(text[0].toLatin1(), m_keyboard.base_octave) : -1;
    if (note < 0 || event->isAutoRepeat()) {
        QWidget::keyPressEvent(event);
        return;
    }
    m_keyboard.note_on(note);
    update();
}

void MidiKeyboardWindow::keyReleaseEvent(QKeyEvent* event)
{
    const QString text = event->text().toLower();
    const int note = text.size() == 1 ? MidiKeyboard::note_for_key(text[0].toLatin1(), m_keyboard.base_octave) : -1;
    if (note < 0 || event->isAutoRepeat()) {
        QWidget::keyReleaseEvent(event);
        return;
    }
    m_keyboard.note_off(note);
    update();
}
