#pragma once

// What the JACK end-to-end tests share: the server the whole suite runs on,
// running the event loop while the devices' completions arrive, and running
// the command line beside the test.

#include "support/jack_server.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <cstdio>
#include <functional>
#include <string>

// Started before the first test, stopped after the last (jack_e2e_main.cpp).
extern JackServer g_server;

// Runs the event loop until `done` (at most `milliseconds`); its last answer.
inline bool runUntil(const std::function<bool()>& done, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < milliseconds) {
        QCoreApplication::processEvents();
        QThread::msleep(2);
    }
    return done();
}

// Runs a shell command, stderr with stdout, calling `meanwhile` once it has
// started; the wait status (-1 when it could not start) and the output.
inline int runCommand(const std::string& command, std::string& output, const std::function<void()>& meanwhile = {})
{
    FILE* p = popen((command + " 2>&1").c_str(), "r");
    if (!p)
        return -1;
    if (meanwhile)
        meanwhile();
    char line[256] = {};
    while (fgets(line, sizeof line, p))
        output += line;
    return pclose(p);
}
