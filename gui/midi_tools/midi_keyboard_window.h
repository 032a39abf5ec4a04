#pragma once

#include "midi_tools/midi_keyboard.h"

#include <QWidget>

class QSpinBox;
class QSlider;

// The on-screen MIDI keyboard ("MIDIKEYBOARD"): three octaves of keys to
// click, the computer keyboard's two rows, the base octave, velocity and
// channel; notes go to the MIDI output port of the preferences.
class MidiKeyboardWindow : public QWidget {
    Q_OBJECT
public:
    explicit MidiKeyboardWindow(QWidget* parent = nullptr);
    ~MidiKeyboardWindow() override;
    // Opens the output port; false (after a message) when it will not open.
    bool openOutput();
    MidiKeyboard& keyboard() { return m_keyboard; }
    // The note under a point of the key area, or -1.
    int noteAt(QPoint at) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    QRect keyArea() const;
    int firstNote() const;

    MidiKeyboard m_keyboard;
    QSpinBox* m_octave;
    QSpinBox* m_channel;
    QSlider* m_velocity;
    int m_mouseNote = -1;
};
