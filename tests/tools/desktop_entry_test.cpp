// The menu entry that scripts/run installs: a valid desktop entry that starts
// the program built here, offered for WAV files, with its icon.

#include "support/temp_dir_test.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace {

std::string textOf(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

}  // namespace

class DesktopEntryTest : public TempDirTest {};

TEST_F(DesktopEntryTest, TheMenuEntryStartsTheProgramAndIsOfferedForWavFiles)
{
    const std::string data = path("share");
    const std::string script = std::string(ONDRAVA_SOURCE_DIR) + "/scripts/install-desktop-entry";
    ASSERT_EQ(std::system(("XDG_DATA_HOME='" + data + "' '" + script + "'").c_str()), 0);
    const std::string entry = data + "/applications/ondrava.desktop";
    EXPECT_EQ(std::system(("desktop-file-validate '" + entry + "'").c_str()), 0);
    const std::string text = textOf(entry);
    // It starts the program built beside the script, with the files given.
    const std::string program = std::string(ONDRAVA_SOURCE_DIR) + "/build/bin/ondrava";
    EXPECT_NE(text.find("\nExec=" + program + " %F\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nName=Ondrava\n"), std::string::npos) << text;
    EXPECT_NE(text.find("audio/x-wav;"), std::string::npos) << text;
    // The desktop's list of handlers offers it for WAV files.
    EXPECT_NE(textOf(data + "/applications/mimeinfo.cache").find("audio/x-wav=ondrava.desktop;"), std::string::npos);
    // The icon is there and draws.
    const std::string icon = data + "/icons/hicolor/scalable/apps/ondrava.svg";
    ASSERT_EQ(std::system(("rsvg-convert -w 64 -h 64 -o '" + path("icon.png") + "' '" + icon + "'").c_str()), 0);
    struct stat st {};
    ASSERT_EQ(::stat(path("icon.png").c_str(), &st), 0);
    EXPECT_GT(st.st_size, 500);
    // Run again, it changes nothing (idempotent).
    ASSERT_EQ(std::system(("XDG_DATA_HOME='" + data + "' '" + script + "'").c_str()), 0);
    EXPECT_EQ(textOf(entry), text);
}
