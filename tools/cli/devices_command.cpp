#include "cli_args.h"

#include "midi_tools/device_report.h"

#include <iostream>

// ondrava-cli devices: the report of the wave output and input devices and
// the MIDI ports, numbered as the device preferences number them.
int run_devices_command(const std::vector<std::string>& argv)
{
    if (!argv.empty()) {
        std::cerr << "usage: ondrava-cli devices\n";
        return kExitUsage;
    }
    std::cout << system_device_report();
    return kExitOk;
}
