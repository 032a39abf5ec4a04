#pragma once

// One Qt application object for a test program whose tests need an event
// loop or fonts: a GUI application on the offscreen platform, made on first
// use and kept to the end.

#include "app/app_paths.h"

#include <QGuiApplication>

inline QCoreApplication& test_application()
{
    if (QCoreApplication* existing = QCoreApplication::instance())
        return *existing;
    static int argc = 1;
    static char name[] = "ondrava_test";
    static char* argv[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    ensure_runtime_directory();
    static QGuiApplication app(argc, argv);
    return app;
}
