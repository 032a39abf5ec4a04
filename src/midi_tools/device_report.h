#pragma once

#include <string>

// The report of the system's audio and MIDI devices: every wave output and
// input device with its back-end, channels and rate, and every MIDI input and
// output port, numbered as the device preferences number them, with the
// chosen ones marked. One device a line.
std::string system_device_report();
