#pragma once

#include <QApplication>

// The windowed program's application object. Every event reaches its handler
// with the processor's vector state cleared (see vector_state.h): the core's
// code that a handler runs (a command, the waveform's drawing, a playback
// timer) must not pay for the painting that came before it. An exception a
// handler lets out is reported as a message and goes no further.
class OndravaApplication : public QApplication {
public:
    OndravaApplication(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;
};
