// WAVECONV.EXE SOURCE TAG: converts a WAVE file for the program that started
// it. Writes "outadpcm.wav" in the program's exchange folder (named by
// $ONDRAVA_EXCHANGE_DIR), then the marker file "finished" there, which the
// waiting program polls for. TAG is the format
// tag wanted: 1 for PCM (from ADPCM), 2 for ADPCM (from PCM).

#include "app/app_paths.h"
#include "app/terminal_ui_host.h"
#include "wavefile/helper_programs.h"
#include "wavefile/wave_converter.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <unistd.h>

int main(int argc, char** argv)
{
    // The arguments are file names, read as they are: Qt is given none of
    // them, so a name that looks like one of its options stays a name.
    int qtArgc = 1;
    QCoreApplication app(qtArgc, argv);
    if (argc != 3) {
        std::cerr << "usage: WAVECONV.EXE SOURCE TAG\n";
        return 2;
    }
    TerminalUiHost host;
    host.setQuiet(true);
    setUiHost(&host);
    // The exchange folder of the program that started this helper.
    const std::string output = converter_output_path();
    const std::string marker = converter_marker_path();
    ::unlink(output.c_str());
    const int converted = convert_wave_file(nullptr, argv[1], output);
    if (!converted) {
        ::unlink(output.c_str());
        for (const auto& shown : host.shown())
            std::cerr << shown.text << "\n";
    }
    std::ofstream(marker) << (converted ? "ok\n" : "failed\n");
    setUiHost(nullptr);
    return converted ? 0 : 1;
}
