#include "app/preference_store.h"
#include "app/preferences.h"

#include "support/temp_dir_test.h"

#include "app/ini_file.h"

#include <QSettings>
#include <filesystem>

class PreferencesTest : public TempDirTest {
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        profile = std::make_unique<IniFile>();
        setenv("ONDRAVA_HOME", path("home").c_str(), 1);
        setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
    }
    void TearDown() override
    {
        profile.reset();
        unsetenv("ONDRAVA_HOME");
        unsetenv("XDG_CONFIG_HOME");
        TempDirTest::TearDown();
    }
    std::string profileText()
    {
        const auto bytes = readFile(path("config/Ondrava/Ondrava.ini"));
        return {bytes.begin(), bytes.end()};
    }
    static void writeText(const std::string& name, const std::string& text)
    {
        writeFile(name, std::vector<std::uint8_t>(text.begin(), text.end()));
    }
    std::string value(const char* section, const char* key) { return profile->value(section, key).value_or("(none)"); }
    std::unique_ptr<IniFile> profile;
};

TEST_F(PreferencesTest, AFreshProfileGivesTheDefaults)
{
    Preferences prefs;
    EXPECT_EQ(prefs.timeFormat, 24);  // the built-in value before any profile is read
    read_preferences(*profile, prefs);
    EXPECT_TRUE(prefs.showLogo);
    EXPECT_TRUE(prefs.tipOfTheDay);
    EXPECT_TRUE(prefs.bigVolumeIndicators);
    EXPECT_TRUE(prefs.backupForUndo);
    EXPECT_FALSE(prefs.voiceMessage);
    EXPECT_FALSE(prefs.bigTimeDisplay);
    EXPECT_FALSE(prefs.zoomedInitialDisplay);
    EXPECT_FALSE(prefs.markerNameOnTheFly);
    EXPECT_FALSE(prefs.compensateTimeCodeDelay);
    EXPECT_EQ(prefs.timeFormat, 1);
    for (bool visible : prefs.barVisible)
        EXPECT_TRUE(visible);
    EXPECT_EQ(prefs.waveInputDevice, 0);
    EXPECT_EQ(prefs.waveOutputDevice, 0);
    EXPECT_EQ(prefs.midiInputDevice, 0);
    EXPECT_EQ(prefs.midiOutputDevice, 0);
    EXPECT_FALSE(prefs.browserChosen);
    EXPECT_TRUE(prefs.colorDisplay);
    EXPECT_TRUE(prefs.toolTips);
    EXPECT_EQ(prefs.colours, Preferences::defaultColours());
    EXPECT_EQ(prefs.colours[static_cast<int>(DisplayColour::Data)], rgb(0, 0, 128));
}

TEST_F(PreferencesTest, AnEmptyDataDirectoryIsFilledInAndWrittenBack)
{
    Preferences prefs;
    read_preferences(*profile, prefs);
    const std::string expected = path("home") + "/work";
    EXPECT_EQ(prefs.lastUsedDirectory, expected);
    EXPECT_EQ(data_directory(), expected);
    EXPECT_EQ(value("Data directory", "Last used directory"), expected);

    profile->set("Data directory", "Last used directory", path("mine"));
    read_preferences(*profile, prefs);
    EXPECT_EQ(data_directory(), path("mine"));
}

TEST_F(PreferencesTest, OnlyLowerCaseYesSwitchesOn)
{
    profile->set("Preferences", "Show logo", "Yes");
    profile->set("Preferences", "Voice message", "yes");
    profile->set("Preferences", "Tip of the day", "YES");
    profile->set("Preferences", "Big time display", "true");
    Preferences prefs;
    read_preferences(*profile, prefs);
    EXPECT_FALSE(prefs.showLogo);
    EXPECT_TRUE(prefs.voiceMessage);
    EXPECT_FALSE(prefs.tipOfTheDay);
    EXPECT_FALSE(prefs.bigTimeDisplay);
}

TEST_F(PreferencesTest, EveryPreferenceSurvivesAWriteAndARead)
{
    Preferences written;
    written.bigVolumeIndicators = false;
    written.showLogo = false;
    written.voiceMessage = true;
    written.bigTimeDisplay = true;
    written.tipOfTheDay = false;
    written.backupForUndo = false;
    written.zoomedInitialDisplay = true;
    written.timeFormat = 25;
    written.markerNameOnTheFly = true;
    written.compensateTimeCodeDelay = true;
    written.barVisible[3] = false;
    written.barVisible[10] = false;
    written.barDocking[2] = 0xE81C;
    written.barFloating[4] = true;
    written.waveInputDevice = 2;
    written.waveOutputDevice = 3;
    written.midiInputDevice = 4;
    written.midiOutputDevice = 5;
    written.lastUsedDirectory = path("data");
    written.preferredBrowser = "/usr/bin/firefox";
    written.browserChosen = true;
    written.colorDisplay = false;
    written.toolTips = false;
    written.colours[0] = rgb(12, 34, 56);
    written.colours[1] = rgb(0, 0, 0);
    written.windowPos = "0,1,-1,-1,-1,-1,10,20,810,620";
    written.recentFiles = {"/a.wav", "/b.wav"};
    write_preferences(*profile, written);

    EXPECT_EQ(value("Preferences", "Show logo"), "no");
    EXPECT_EQ(value("Preferences", "Voice message"), "yes");
    EXPECT_EQ(value("Preferences", "Compensate time code delay"), "yes");
    EXPECT_EQ(value("Colors", "Bkgnd color"), "Black");
    EXPECT_EQ(value("Colors", "Data color"), "#0c2238");

    Preferences read;
    read_preferences(*profile, read);
    EXPECT_EQ(read.bigVolumeIndicators, written.bigVolumeIndicators);
    EXPECT_EQ(read.showLogo, written.showLogo);
    EXPECT_EQ(read.voiceMessage, written.voiceMessage);
    EXPECT_EQ(read.bigTimeDisplay, written.bigTimeDisplay);
    EXPECT_EQ(read.tipOfTheDay, written.tipOfTheDay);
    EXPECT_EQ(read.backupForUndo, written.backupForUndo);
    EXPECT_EQ(read.zoomedInitialDisplay, written.zoomedInitialDisplay);
    EXPECT_EQ(read.timeFormat, 25);
    EXPECT_EQ(read.markerNameOnTheFly, written.markerNameOnTheFly);
    EXPECT_TRUE(read.compensateTimeCodeDelay);
    EXPECT_EQ(read.barVisible, written.barVisible);
    EXPECT_EQ(read.barDocking, written.barDocking);
    EXPECT_EQ(read.barFloating, written.barFloating);
    EXPECT_EQ(read.waveInputDevice, 2);
    EXPECT_EQ(read.waveOutputDevice, 3);
    EXPECT_EQ(read.midiInputDevice, 4);
    EXPECT_EQ(read.midiOutputDevice, 5);
    EXPECT_EQ(read.lastUsedDirectory, written.lastUsedDirectory);
    EXPECT_EQ(read.preferredBrowser, written.preferredBrowser);
    EXPECT_TRUE(read.browserChosen);
    EXPECT_FALSE(read.colorDisplay);
    EXPECT_FALSE(read.toolTips);
    EXPECT_EQ(read.colours, written.colours);
    EXPECT_EQ(read.windowPos, written.windowPos);
    EXPECT_EQ(read.recentFiles, written.recentFiles);
}

TEST_F(PreferencesTest, BarsCountAsVisibleForAnyNonZeroValue)
{
    profile->set("General-Bar0", "Visible", "0");
    profile->set("General-Bar1", "Visible", "1");
    profile->set("General-Bar2", "Visible", "junk");
    Preferences prefs;
    read_preferences(*profile, prefs);
    EXPECT_FALSE(prefs.barVisible[0]);
    EXPECT_TRUE(prefs.barVisible[1]);
    EXPECT_TRUE(prefs.barVisible[2]);  // unreadable: the default 100
}

TEST_F(PreferencesTest, RecentFilesStopAtTheFirstGapAndAtSix)
{
    for (int i = 1; i <= 8; ++i)
        profile->set("Recent File List", "File" + std::to_string(i), "/f" + std::to_string(i) + ".wav");
    Preferences prefs;
    read_preferences(*profile, prefs);
    EXPECT_EQ(prefs.recentFiles.size(), 6u);
    profile->set("Recent File List", "File3", "");
    read_preferences(*profile, prefs);
    EXPECT_EQ(prefs.recentFiles, (std::vector<std::string>{"/f1.wav", "/f2.wav"}));
}

// The profile holds the program's names as they are, is read back by a new
// run, takes hand-written sections and unquoted lists, and a profile written
// the old way (Qt's encoding) is read once and rewritten plainly.
TEST_F(PreferencesTest, TheProfileFileHoldsTheProgramsNamesLiterally)
{
    Preferences written;
    written.bigVolumeIndicators = false;
    written.lastUsedDirectory = path("data dir");
    written.windowPos = "0,1,-1,-1,-1,-1,10,20,810,620";
    written.colorDisplay = false;
    preferences() = written;
    write_preferences();
    const std::string text = profileText();
    for (const char* line : {"[General]\n", "Color=0\n", "[Data directory]\n", "Big volume indicators=no\n",
                             "WindowPos=0,1,-1,-1,-1,-1,10,20,810,620\n", "[Settings]\n", "[Preferences]\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << " in\n" << text;
    EXPECT_EQ(text.find('%'), std::string::npos) << text;
    EXPECT_NE(text.find("Last used directory=" + path("data dir") + "\n"), std::string::npos);

    // Written by hand: a [General] section, a quoted and an unquoted list.
    writeText(path("config/Ondrava/Ondrava.ini"),
              std::string("[General]\nToolTips=0\nColor=1\n\n[Settings]\nWindowPos=\"0,3,-1,-1,-1,-1,5,6,700,500\"\n"
                          "[Preferences]\nTime format=30\nBig volume indicators=no\n"));
    read_preferences();
    EXPECT_FALSE(preferences().toolTips);
    EXPECT_TRUE(preferences().colorDisplay);
    EXPECT_EQ(preferences().windowPos, "0,3,-1,-1,-1,-1,5,6,700,500");
    EXPECT_EQ(preferences().timeFormat, 30);
    EXPECT_FALSE(preferences().bigVolumeIndicators);
    writeText(path("config/Ondrava/Ondrava.ini"), std::string("[Settings]\nWindowPos=0,3,-1,-1,-1,-1,5,6,700,500\n"));
    read_preferences();
    EXPECT_EQ(preferences().windowPos, "0,3,-1,-1,-1,-1,5,6,700,500");

    // A profile as Qt's settings class writes it.
    std::filesystem::remove(path("config/Ondrava/Ondrava.ini"));
    {
        QSettings old(QString::fromStdString(path("config/Ondrava/Ondrava.ini")), QSettings::IniFormat);
        old.setValue("General/ToolTips", 0);
        old.setValue("Data directory/Last used directory", QString::fromStdString(path("old data")));
        old.setValue("Preferences/Big volume indicators", "no");
        old.setValue("Preferences/Time format", 25);
        old.setValue("Settings/WindowPos", "0,1,-1,-1,-1,-1,10,20,810,620");
        old.setValue("Recent File List/File1", "/music/a, b.wav");
        old.sync();
    }
    ASSERT_NE(profileText().find("[%General]"), std::string::npos) << profileText();
    read_preferences();
    EXPECT_FALSE(preferences().toolTips);
    EXPECT_EQ(preferences().lastUsedDirectory, path("old data"));
    EXPECT_FALSE(preferences().bigVolumeIndicators);
    EXPECT_EQ(preferences().timeFormat, 25);
    EXPECT_EQ(preferences().windowPos, "0,1,-1,-1,-1,-1,10,20,810,620");
    EXPECT_EQ(preferences().recentFiles, std::vector<std::string>{"/music/a, b.wav"});
    const std::string rewritten = profileText();
    EXPECT_EQ(rewritten.find('%'), std::string::npos) << rewritten;
    EXPECT_NE(rewritten.find("[General]\nToolTips=0\n"), std::string::npos) << rewritten;
    EXPECT_NE(rewritten.find("Big volume indicators=no\n"), std::string::npos) << rewritten;
    preferences() = Preferences{};
}

TEST(Colours, NamesAndHexTextsParse)
{
    Rgb c = 0;
    EXPECT_TRUE(parse_colour("Cyan", c));
    EXPECT_EQ(c, rgb(0, 255, 255));
    EXPECT_TRUE(parse_colour("#102030", c));
    EXPECT_EQ(c, rgb(16, 32, 48));
    EXPECT_FALSE(parse_colour("Chartreuse", c));
    EXPECT_FALSE(parse_colour("#12345", c));
    EXPECT_EQ(colour_name(rgb(255, 255, 0)), "Yellow");
}
