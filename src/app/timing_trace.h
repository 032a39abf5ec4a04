#pragma once

#include <QString>

// A timing trace for measuring the program from outside (bench/gui):
// when ONDRAVA_TRACE names a file, each event is appended to it as one line,
// "<wall-clock milliseconds> <event> <details>". Without the variable it
// costs a test of a flag.
bool timing_trace_enabled();
void timing_trace(const QString& event, const QString& details = QString());
