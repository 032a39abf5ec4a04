#include "app/clock.h"
#include "app/file_names.h"

#include "support/temp_dir_test.h"

using FileNamesTest = TempDirTest;

TEST(FileNames, ReplaceExtCutsAtTheFirstDotOfTheName)
{
    std::string name = "take.1.wav";
    ReplaceExt(name, "wav");
    EXPECT_EQ(name, "take.wav");
    name = "a.b.wav";
    ReplaceExt(name, "mp3");
    EXPECT_EQ(name, "a.mp3");
    name = "noext";
    ReplaceExt(name, "jaf");
    EXPECT_EQ(name, "noext.jaf");
    // Dots in folder names do not count.
    name = "/home/u/.local/take.1.wav";
    ReplaceExt(name, "raw");
    EXPECT_EQ(name, "/home/u/.local/take.raw");
}

TEST(FileNames, DefaultExtensionOnlyWhenTheNameHasNoDot)
{
    std::string name = "song";
    add_default_extension(name, ".wav");
    EXPECT_EQ(name, "song.wav");
    add_default_extension(name, ".wav");
    EXPECT_EQ(name, "song.wav");
    name = "my.dir/song";
    add_default_extension(name, ".wav");
    EXPECT_EQ(name, "my.dir/song.wav");
    EXPECT_EQ(get_extension("a.b.wav"), "b.wav");
    EXPECT_EQ(get_extension("plain"), "");
}

TEST_F(FileNamesTest, FileFactsAndRenaming)
{
    EXPECT_EQ(get_named_file_length(path("missing")), 0u);
    EXPECT_EQ(file_exists(path("missing")), 0);
    writeFile(path("five"), {1, 2, 3, 4, 5});
    EXPECT_EQ(get_named_file_length(path("five")), 5u);
    EXPECT_EQ(file_exists(path("five")), 1);

    show_file_size(nullptr, path("five"));
    EXPECT_EQ(host.controlText(417), "5 bytes");

    EXPECT_EQ(rename_file(path("six"), path("five")), 1);
    EXPECT_EQ(file_exists(path("six")), 1);
    EXPECT_TRUE(host.shown().empty());
    EXPECT_EQ(rename_file(path("seven"), path("five")), 0);
    EXPECT_EQ(shownTexts(), std::vector<std::string>{"Failed to rename file"});
}

TEST_F(FileNamesTest, UniqueNamesUseThePaddedClock)
{
    std::uint32_t clock = 1234;
    set_millisecond_clock([&] { return clock; });
    std::string name;
    make_unique_file_name(name, ".tmp");
    EXPECT_EQ(name, workDir() + "/1234    .tmp");
    clock = 100000005;  // above 99999999 the clock is reduced once
    make_unique_file_name(name, ".tmp");
    EXPECT_EQ(name, workDir() + "/6       .tmp");
    set_millisecond_clock({});
}

TEST(Clock, BusyWaitRunsUntilTheTimeHasPassed)
{
    std::uint32_t clock = 500;
    set_millisecond_clock([&] { return clock += 3; });
    EXPECT_GE(busy_wait_ms(20), 523u);
    set_millisecond_clock({});
    const std::uint32_t before = millisecond_clock();
    EXPECT_GE(busy_wait_ms(5) - before, 5u);
}

TEST_F(FileNamesTest, FreeSpaceAndMediaControl)
{
    EXPECT_GT(path_free_bytes(workDir()), 0.0);
    EXPECT_EQ(path_free_bytes(path("no/such/dir")), 0.0);
    // Other tests write files meanwhile: the same file system, give or take.
    EXPECT_NEAR(drive_free_bytes(3), path_free_bytes(workDir()), 512.0 * 1024 * 1024);
    set_mci_error_reporting(false);
    EXPECT_EQ(send_mci_command("play cdaudio"), 0);
    EXPECT_TRUE(host.shown().empty());
    set_mci_error_reporting(true);
    EXPECT_EQ(send_mci_command("play cdaudio"), 0);
    EXPECT_EQ(host.shown().size(), 1u);
}
