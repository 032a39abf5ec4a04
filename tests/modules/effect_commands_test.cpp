#include "cli/headless_ui_host.h"
#include "edit/undo_labels.h"
#include "modules/effect_commands.h"
#include "modules/module_support.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

// The effects' descriptions are the only place their labels, keys and names
// are written: the undo labels and the length rule come from them, every id,
// name and key is used once, and each one runs something.
TEST(EffectCommands, EachEffectIsDescribedOnceAndTheRestFollows)
{
    const auto& all = effect_commands();
    ASSERT_EQ(all.size(), 19u);  // Clear and the eighteen of the Operations menu
    std::set<int> ids;
    std::set<std::string> names, keys;
    for (const EffectCommand& c : all) {
        EXPECT_TRUE(ids.insert(c.id).second) << c.id;
        EXPECT_TRUE(names.insert(c.name).second) << c.name;
        if (*c.shortcut) {
            EXPECT_TRUE(keys.insert(c.shortcut).second) << c.shortcut;
        }
        EXPECT_TRUE(c.run) << c.name;
        EXPECT_EQ(find_effect_command(c.id), &c);
        EXPECT_EQ(find_effect_command(std::string(c.name)), &c);
        const auto labels = undo_labels(c.id);
        ASSERT_TRUE(labels.has_value()) << c.name;
        EXPECT_EQ(labels->first, std::string("&Undo ") + c.undoName + "...\tCtrl+Z");
    }
    EXPECT_EQ(keys.size(), 18u);
    // A few as the menus and the Edit menu show them.
    EXPECT_EQ(undo_labels(11516)->second, "&Redo Localize sound...\tCtrl+Z");
    EXPECT_EQ(undo_labels(11503)->first, "&Undo Compress/Expand...\tCtrl+Z");
    EXPECT_EQ(std::string(find_effect_command(11509)->shortcut), "Alt+Shift+A");
    EXPECT_EQ(std::string(find_effect_command(11517)->shortcut), "Alt+Shift+I");
    EXPECT_EQ(find_effect_command(11500)->variants.size(), 2u);
    // Only Tempo among the effects sets its own length; the edit operations keep theirs.
    EXPECT_TRUE(changes_length(11500));
    EXPECT_FALSE(changes_length(11501));
    EXPECT_TRUE(changes_length(11303));
    EXPECT_EQ(undo_labels(11303)->first, "&Undo Cut...\tCtrl+Z");
    EXPECT_EQ(find_effect_command(11303), nullptr);
    EXPECT_EQ(find_effect_command("no-such-effect"), nullptr);
    // The presets of the compressor come from the string table.
    ASSERT_TRUE(find_effect_command(11503)->presets.has_value());
    EXPECT_EQ(find_effect_command(11503)->presets->section, "Compressor Presets");
}

// A module entry's work that throws is reported with the entry's name and
// the entry returns 0, as it does when nothing was done.
TEST(ModuleEntries, AnExceptionInAnEntryIsReportedAndTheEntryReturnsZero)
{
    HeadlessUiHost host;
    host.setQuiet(true);
    setUiHost(&host);
    EXPECT_EQ(guarded_entry("echo_waveform", [] { return 7; }), 7);
    EXPECT_TRUE(host.shown().empty());
    EXPECT_EQ(guarded_entry("echo_waveform", []() -> int { throw std::runtime_error("no room"); }), 0);
    ASSERT_EQ(host.shown().size(), 1u);
    EXPECT_NE(host.shown()[0].text.find("echo_waveform"), std::string::npos);
    EXPECT_NE(host.shown()[0].text.find("no room"), std::string::npos);
    // A dialog asked for a parameter it does not have: the mistake stops the effect.
    EffectDialog dialog;
    dialog.name = "Echo";
    dialog.number("delay", "Delay", 0, 10, 1);
    EXPECT_EQ(dialog.value("delay"), 1.0);
    EXPECT_EQ(guarded_entry("echo_waveform", [&] { return static_cast<int>(dialog.value("dealy")); }), 0);
    ASSERT_EQ(host.shown().size(), 2u);
    EXPECT_NE(host.shown()[1].text.find("dealy"), std::string::npos) << host.shown()[1].text;
    setUiHost(nullptr);
}
