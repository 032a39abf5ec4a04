#pragma once

#include "support/temp_dir_test.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// The whole program on a private X display (xvfb-run, 1280 x 800), with its
// profile, home and work folders in the test's own folder.
class DesktopSessionTest : public TempDirTest {
protected:
    // A profile without the logo and the tip of the day, so that nothing
    // covers the window.
    void writeQuietProfile()
    {
        std::filesystem::create_directories(path("config/Ondrava"));
        std::ofstream(path("config/Ondrava/Ondrava.ini")) << "[Preferences]\nShow logo=no\nTip of the day=no\n";
    }

    // Runs a bash script on the display, from the test's folder; its output
    // goes to runLog(). The script's exit status, as std::system gives it.
    int runOnDesktop(const std::string& script)
    {
        std::ofstream(path("session.sh")) << script;
        const std::string command = "cd '" + path("") + "' && HOME='" + path("") + "' XDG_CONFIG_HOME='" +
                                    path("config") + "' ONDRAVA_HOME='" + path("ondrava") +
                                    "' xvfb-run -a -s '-screen 0 1280x800x24' bash '" + path("session.sh") + "' > '" +
                                    path("run.log") + "' 2>&1";
        return std::system(command.c_str());
    }

    std::string runLog()
    {
        const auto log = readFile(path("run.log"));
        return {log.begin(), log.end()};
    }
};
