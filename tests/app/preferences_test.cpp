#include "app/preference_store.h"
#include "app/preferences.h"

#include "support/temp_dir_test.h"

#include <QSettings>

class PreferencesTest : public TempDirTest {
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        profile = std::make_unique<QSettings>(QString::fromStdString(path("Ondrava.ini")),
                                              QSettings::IniFormat);
        setenv("ONDRAVA_HOME", path("home").c_str(), 1);
    }
    void TearDown() override
    {
        profile.reset();
        unsetenv("ONDRAVA_HOME");
        TempDirTest::TearDown();
    }
    std::unique_ptr<QSettings> profile;
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
    EXPECT_EQ(profile->value("Data directory/Last used directory").toString().toStdString(), expected);

    profile->setValue("Data directory/Last used directory", QString::fromStdString(path("mine")));
    read_preferences(*profile, prefs);
    EXPECT_EQ(data_directory(), path("mine"));
}

TEST_F(PreferencesTest, OnlyLowerCaseYesSwitchesOn)
{
    profile->setValue("Preferences/Show logo", "Yes");
    profile->setValue("Preferences/Voice message", "yes");
    profile->setValue("Preferences/Tip of the day", "YES");
    profile->setValue("Preferences/Big time display", "true");
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

    EXPECT_EQ(profile->value("Preferences/Show logo").toString(), "no");
    EXPECT_EQ(profile->value("Preferences/Voice message").toString(), "yes");
    EXPECT_EQ(profile->value("Preferences/Compensate time code delay").toString(), "yes");
    EXPECT_EQ(profile->value("Colors/Bkgnd color").toString(), "Black");
    EXPECT_EQ(profile->value("Colors/Data color").toString(), "#0c2238");

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
    profile->setValue("General-Bar0/Visible", 0);
    profile->setValue("General-Bar1/Visible", 1);
    profile->setValue("General-Bar2/Visible", "junk");
    Preferences prefs;
    read_preferences(*profile, prefs);
    EXPECT_FALSE(prefs.barVisible[0]);
    EXPECT_TRUE(prefs.barVisible[1]);
    EXPECT_TRUE(prefs.barVisible[2]);  // unreadable: the default 100
}

TEST_F(PreferencesTest, RecentFilesStopAtTheFirstGapAndAtSix)
{
    for (int i = 1; i <= 8; ++i)
        profile->setValue(QStringLiteral("Recent File List/File%1").arg(i), QStringLiteral("/f%1.wav").arg(i));
    Preferences prefs;
    read_preferences(*profile, prefs);
    EXPECT_EQ(prefs.recentFiles.size(), 6u);
    profile->setValue("Recent File List/File3", "");
    read_preferences(*profile, prefs);
    EXPECT_EQ(prefs.recentFiles, (std::vector<std::string>{"/f1.wav", "/f2.wav"}));
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
