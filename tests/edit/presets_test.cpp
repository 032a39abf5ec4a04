// Preset files: the exact keys other programs read, gapless numbering, the
// hundred-entry limit, the replace question, and files that are missing,
// malformed or read-only.

#include "app/ini_file.h"
#include "edit/presets.h"

#include "support/temp_dir_test.h"

#include <fstream>
#include <sys/stat.h>

class PresetsTest : public TempDirTest {
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        context.file = path("HVNECHO.INI");
        context.title = "Select Echo / Reverb File";
        context.section = "Echo Presets";
        context.keyPrefix = "Echo Preset";
        context.valuePrefix = "Echo Values";
    }
    std::string text() const
    {
        const auto bytes = readFile(context.file);
        return {bytes.begin(), bytes.end()};
    }
    PresetContext context;
};

TEST_F(PresetsTest, KeysAreWrittenExactlyAndNumberedWithoutGaps)
{
    EXPECT_EQ(save_preset(context, "Hall", "delay=300"), SavePresetResult::Saved);
    EXPECT_EQ(save_preset(context, "Room", "delay=40"), SavePresetResult::Saved);
    EXPECT_EQ(save_preset(context, "Canyon", "delay=900"), SavePresetResult::Saved);
    EXPECT_EQ(text(), "[Echo Presets]\nEcho Preset1=Hall\nEcho Values1=delay=300\nEcho Preset2=Room\n"
                      "Echo Values2=delay=40\nEcho Preset3=Canyon\nEcho Values3=delay=900\n\n");
    EXPECT_EQ(list_presets(context), (std::vector<std::string>{"Hall", "Room", "Canyon"}));
    EXPECT_EQ(preset_values(context, "Room"), "delay=40");

    // Deleting the first moves the others down, values with them.
    ASSERT_TRUE(delete_preset(context, 0));
    EXPECT_EQ(list_presets(context), (std::vector<std::string>{"Room", "Canyon"}));
    EXPECT_EQ(preset_values(context, "Canyon"), "delay=900");
    IniFile ini;
    ASSERT_TRUE(ini.load(context.file));
    EXPECT_FALSE(ini.value("Echo Presets", "Echo Preset3"));
    EXPECT_FALSE(ini.value("Echo Presets", "Echo Values3"));
    EXPECT_FALSE(delete_preset(context, 5));

    // Another section of the same file is left alone; the whole section goes.
    PresetContext reverb = context;
    reverb.section = "Reverb Presets";
    reverb.keyPrefix = "Reverb Preset";
    EXPECT_EQ(save_preset(reverb, "Plate", ""), SavePresetResult::Saved);
    ASSERT_TRUE(delete_preset_section(context));
    EXPECT_TRUE(list_presets(context).empty());
    EXPECT_EQ(list_presets(reverb), (std::vector<std::string>{"Plate"}));
}

TEST_F(PresetsTest, ListingStopsAtTheFirstGapAndAHundredFillTheSection)
{
    std::ofstream(context.file) << "; a comment\n[Echo Presets]\nEcho Preset1=A\nEcho Preset2=B\nEcho Preset4=D\n"
                                   "not an entry\n=no key\n";
    EXPECT_EQ(list_presets(context), (std::vector<std::string>{"A", "B"}));

    std::ofstream(context.file, std::ios::trunc) << "";
    for (int i = 1; i <= 100; ++i)
        ASSERT_EQ(save_preset(context, "P" + std::to_string(i), ""), SavePresetResult::Saved);
    EXPECT_EQ(list_presets(context).size(), 100u);
    EXPECT_EQ(list_presets(context).back(), "P100");
    EXPECT_EQ(save_preset(context, "one more", ""), SavePresetResult::Full);
    EXPECT_EQ(list_presets(context).size(), 100u);
}

TEST_F(PresetsTest, ADuplicateNameIsReplacedOnlyOnYes)
{
    ASSERT_EQ(save_preset(context, "Hall", "delay=300"), SavePresetResult::Saved);
    ASSERT_EQ(save_preset(context, "Room", "delay=40"), SavePresetResult::Saved);
    host.scriptAnswers({IDNO});
    EXPECT_EQ(save_preset(context, "Hall", "delay=1"), SavePresetResult::Kept);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_EQ(host.shown().back().text, "Replace existing file?");
    EXPECT_EQ(host.shown().back().caption, "FILE ALREADY EXISTS");
    EXPECT_EQ(preset_values(context, "Hall"), "delay=300");
    host.scriptAnswers({IDYES});
    EXPECT_EQ(save_preset(context, "Hall", "delay=1"), SavePresetResult::Saved);
    EXPECT_EQ(list_presets(context), (std::vector<std::string>{"Hall", "Room"}));
    EXPECT_EQ(preset_values(context, "Hall"), "delay=1");
}

TEST_F(PresetsTest, MissingAndReadOnlyFilesAndTheExportedDialogs)
{
    // A missing file lists nothing and is made by the first save.
    EXPECT_TRUE(list_presets(context).empty());
    ASSERT_EQ(save_preset(context, "Hall", "x"), SavePresetResult::Saved);

    // The exported dialogs over the context: pick by name, save a name.
    preset_context() = context;
    char picked[128] = "";
    host.setPresetChoice("Hall");
    EXPECT_EQ(new_select_process(picked), 1);
    EXPECT_STREQ(picked, "Hall");
    host.setPresetChoice("Nowhere");
    EXPECT_EQ(new_select_process(picked), 2);
    host.setPresetChoice("");
    host.setPresetSaveName("Studio");
    char file[] = "HVNECHO.INI", title[] = "Save", section[] = "Echo Presets", prefix[] = "Echo Preset",
         values[] = "Echo Values", settings[] = "delay=12";
    EXPECT_EQ(new_save_process(file, title, section, prefix, values, settings), 1);
    // In the user's folder: the shipped starting presets, copied on first
    // use, and the new one after them.
    EXPECT_EQ(list_presets(preset_context()),
              (std::vector<std::string>{"Slap back", "Quarter note at 120", "Canyon", "Doubling", "Studio"}));
    EXPECT_EQ(preset_values(preset_context(), "Studio"), "delay=12");
    host.setPresetSaveName("");

    // A read-only file: the save is refused with a message, nothing changes.
    if (::geteuid() != 0) {
        ::chmod(context.file.c_str(), 0444);
        EXPECT_EQ(save_preset(context, "Room", ""), SavePresetResult::Failed);
        EXPECT_EQ(list_presets(context), (std::vector<std::string>{"Hall"}));
    }
    // A folder in the file's place cannot be written either.
    context.file = path("");
    EXPECT_EQ(save_preset(context, "Room", ""), SavePresetResult::Failed);
}
