// LV2 plug-ins through the plug-in host: the list, a plug-in from the swh-lv2
// package applied with known parameters and the result measured, the splice
// with operation code 181 and its undo, Cancel and failures; and the
// registration of a plug-in bundle into the user's LV2 folder.

#include "modules/plugin_command.h"
#include "modules/plugin_host.h"
#include "modules/effect_dialog.h"

#include "app/edit_menu_state.h"
#include "edit/undo.h"
#include "wavefile/helper_programs.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"

#include <cmath>
#include <cstring>
#include <cstdio>
#include <tuple>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kAmp = "http://plugin.org.uk/swh-plugins/amp";

std::int16_t sampleAt(const std::string& file, std::size_t index)
{
    std::FILE* f = std::fopen(file.c_str(), "rb");
    std::int16_t v = 0;
    if (f && std::fseek(f, static_cast<long>(2 * index), SEEK_SET) == 0 && std::fread(&v, 2, 1, f) == 1) {
    }
    if (f)
        std::fclose(f);
    return v;
}

}  // namespace

class PluginTest : public DocumentTest {
protected:
    void SetUp() override
    {
        DocumentTest::SetUp();
        // DRXIN.WAV and DRXOUT.WAV go to the current folder.
        char here[4096];
        m_cwd = getcwd(here, sizeof here) ? here : ".";
        ASSERT_EQ(chdir(path("").c_str()), 0);
    }
    void TearDown() override
    {
        (void)!chdir(m_cwd.c_str());
        unsetenv("LV2_PATH");
        DocumentTest::TearDown();
    }
    std::string m_cwd;
};

TEST_F(PluginTest, TheAmplifierHalvesTheHighlightAndUndoesInOneStep)
{
    const auto plugins = lv2_effect_plugins();
    const auto amp = std::find_if(plugins.begin(), plugins.end(), [](const PluginInfo& p) { return p.uri == kAmp; });
    ASSERT_NE(amp, plugins.end()) << "swh-lv2 is installed by scripts/setup";
    EXPECT_EQ(amp->audioInputs, 1);
    EXPECT_EQ(amp->audioOutputs, 1);
    ASSERT_EQ(amp->controls.size(), 1u);
    EXPECT_EQ(amp->controls[0].symbol, "gain");
    EXPECT_FLOAT_EQ(amp->controls[0].min, -70.0f);
    EXPECT_FLOAT_EQ(amp->controls[0].max, 70.0f);

    auto doc = openTone(2, 16, 44100, 44100);
    ASSERT_TRUE(doc);
    const std::string before = doc->szFileName;
    doc->bHighlight = 1;
    set_selection_units(*doc, 20000, 60000);
    host.setPluginChoice(std::string("<") + kAmp + ">");
    host.setEffectSettings({{"gain", "-6.0206"}});
    ASSERT_EQ(plugin_process_command(*doc, nullptr), 1);
    EXPECT_EQ(doc->nTotalSamples, 88200u);
    EXPECT_TRUE(fs::exists(exchange_file_path("DRXIN.WAV")));
    EXPECT_TRUE(fs::exists(exchange_file_path("DRXOUT.WAV")));
    // Inside the highlight the samples are halved; outside they are as they were.
    for (std::size_t i : {20000u, 30001u, 45000u, 59998u}) {
        const int was = sampleAt(before, i);
        EXPECT_NEAR(sampleAt(doc->szFileName, i), was / 2.0, 1.0) << i;
    }
    for (std::size_t i : {0u, 19999u, 60000u, 88199u})
        EXPECT_EQ(sampleAt(doc->szFileName, i), sampleAt(before, i)) << i;
    EXPECT_EQ(doc->szUndoLabel, "&Undo DirectX Plugin...\tCtrl+Z");
    undo_redo_toggle(*doc);
    EXPECT_EQ(sampleAt(doc->szFileName, 30001), sampleAt(before, 30001));
}

TEST_F(PluginTest, CancelAndFailuresLeaveTheDocumentAsItWas)
{
    auto doc = openTone(1, 16, 22050, 22050);
    ASSERT_TRUE(doc);
    const std::string file = doc->szFileName;
    // No plug-in chosen: Cancel in the host.
    host.setPluginChoice({});
    EXPECT_EQ(plugin_process_command(*doc, nullptr), 0);
    EXPECT_EQ(doc->szFileName, file);
    EXPECT_EQ(doc->bUndoAvailable, 0);
    // A plug-in that is not there, and a file that is no WAVE file.
    std::string error;
    EXPECT_EQ(process_file_with_plugin("urn:no:such:plugin", {}, path("DRXIN.WAV"), path("x.wav"), error), 0);
    EXPECT_NE(error.find("urn:no:such:plugin"), std::string::npos);
    writeFile(path("junk.wav"), WavBuilder::Bytes(100, 3));
    EXPECT_EQ(process_file_with_plugin(kAmp, {}, path("junk.wav"), path("x.wav"), error), 0);
    EXPECT_FALSE(fs::exists(path("x.wav")));
    // The whole document without a highlight, mono through a mono plug-in.
    host.setPluginChoice(std::string("<") + kAmp + ">");
    host.setEffectSettings({{"gain", "6.0206"}});
    const int was = sampleAt(file, 40);
    ASSERT_EQ(plugin_process_command(*doc, nullptr), 1);
    EXPECT_NEAR(sampleAt(doc->szFileName, 40), std::clamp(was * 2, -32768, 32767), 2.0);
    EXPECT_EQ(doc->nTotalSamples, 22050u);
}

TEST_F(PluginTest, ABundleRegistersIntoTheUsersFolderAndUnregisters)
{
    const fs::path source = "/usr/lib/lv2/amp-swh.lv2";
    ASSERT_TRUE(fs::exists(source / "manifest.ttl"));
    const fs::path bundle = path("amp-swh.lv2");
    fs::copy(source, bundle, fs::copy_options::recursive);
    const fs::path user = path("lv2user");
    setenv("LV2_PATH", (user.string() + ":/usr/lib/lv2").c_str(), 1);
    EXPECT_EQ(user_lv2_directory(), user.string());

    host.scriptAnswers({IDYES});
    EXPECT_EQ(offer_plugin_registration(bundle.string()), 1);
    EXPECT_TRUE(fs::exists(user / "amp-swh.lv2" / "manifest.ttl"));
    ASSERT_GE(host.shown().size(), 2u);
    const auto& question = host.shown()[host.shown().size() - 2];
    EXPECT_EQ(question.caption, "Register DirectX Plugin");
    EXPECT_EQ(question.text, "This file (" + bundle.string() +
                                 ") is a DirectX Plug-In that supports self registration.\n\nClick Yes to register it "
                                 "now (or click No to un-register it)");
    EXPECT_EQ(host.shown().back().text, "The DirectX Plug-In " + bundle.string() + " was successfully registered.");

    host.scriptAnswers({IDNO});
    EXPECT_EQ(offer_plugin_registration(bundle.string()), 1);
    EXPECT_FALSE(fs::exists(user / "amp-swh.lv2"));
    EXPECT_EQ(host.shown().back().text, "The DirectX Plug-In " + bundle.string() + " was successfully un-registered.");
    host.scriptAnswers({IDNO});
    EXPECT_EQ(offer_plugin_registration(bundle.string()), 0);
    EXPECT_EQ(host.shown().back().text,
              "The DirectX Plug-In " + bundle.string() + " failed to un-register properly. (80004001h)");

    // Cancel does nothing; a folder without a manifest is passed over in
    // silence; a manifest that declares no plug-in is no plug-in.
    host.clearShown();
    host.scriptAnswers({IDCANCEL});
    EXPECT_EQ(offer_plugin_registration(bundle.string()), 0);
    EXPECT_FALSE(fs::exists(user / "amp-swh.lv2"));
    fs::create_directories(path("empty.lv2"));
    EXPECT_EQ(offer_plugin_registration(path("empty.lv2")), 0);
    EXPECT_EQ(host.shown().size(), 1u) << "only the question of the cancelled offer";
    fs::create_directories(path("notes.lv2"));
    writeFile(path("notes.lv2/manifest.ttl"), [] {
        const std::string t = "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n<x> rdfs:comment \"notes\" .\n";
        return WavBuilder::Bytes(t.begin(), t.end());
    }());
    EXPECT_EQ(offer_plugin_registration(path("notes.lv2")), 0);
    EXPECT_EQ(host.shown().back().text, "The file " + path("notes.lv2") +
                                            " is a binary file that does not supportself registration and is most "
                                            "likely not a DirectX Plug-In.");
}

namespace {

// A mono 16-bit WAVE file of the given samples (-1..1).
void writeMono(const std::string& file, const std::vector<float>& samples, std::uint32_t rate = 44100)
{
    WavBuilder::Bytes data;
    for (float v : samples)
        WavBuilder::put16(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32767))));
    std::FILE* f = std::fopen(file.c_str(), "wb");
    const auto bytes = WavBuilder::pcm(1, rate, 16, data);
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}

std::vector<std::int16_t> monoSamples(const std::string& file)
{
    std::FILE* f = std::fopen(file.c_str(), "rb");
    std::vector<std::int16_t> out;
    if (!f)
        return out;
    std::fseek(f, 44, SEEK_SET);
    std::int16_t v;
    while (std::fread(&v, 2, 1, f) == 1)
        out.push_back(v);
    std::fclose(f);
    return out;
}

}  // namespace

// Our own test plug-in delays its input by 220 frames and reports it, and
// needs its optional CV and atom ports connected: the host takes the
// latency out (the output lines up with the input sample for sample, the
// last samples kept) and gives those ports silence. Output that is no
// numbers is refused and nothing is written.
TEST_F(PluginTest, LatencyIsTakenOutAndOptionalPortsGetSilence)
{
    setenv("LV2_PATH", (std::string(ONDRAVA_TEST_LV2) + "/..").c_str(), 1);
    const auto plugins = lv2_effect_plugins();
    ASSERT_TRUE(std::any_of(plugins.begin(), plugins.end(),
                            [](const PluginInfo& p) { return p.uri == "urn:ondrava:test:delay"; }));
    std::vector<float> in(10000);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = 0.5f * std::sin(0.01f * static_cast<float>(i)) * (i > 9700 ? 1.0f : 0.5f);
    in[5000] = 0.9f;
    writeMono(path("in.wav"), in);
    const auto expected = monoSamples(path("in.wav"));
    std::string error;
    ASSERT_EQ(process_file_with_plugin("urn:ondrava:test:delay", {}, path("in.wav"), path("out.wav"), error), 1) << error;
    const auto out = monoSamples(path("out.wav"));
    ASSERT_EQ(out.size(), expected.size());
    EXPECT_TRUE(out == expected) << "the output lines up with the input, its last frames included";

    EXPECT_EQ(process_file_with_plugin("urn:ondrava:test:delay", {{"poison", 1.0f}}, path("in.wav"), path("bad.wav"), error),
              0);
    EXPECT_EQ(error, "The plug-in Ondrava test delay gave samples that are not numbers; nothing was changed.");
    EXPECT_FALSE(fs::exists(path("bad.wav")));
}

// The swh Glame low-pass's cut-off is a fraction of the sample rate: the
// dialog shows it in Hz at the file's rate, its default lets a 1 kHz tone
// through at its level and without DC, and 500 Hz asked turns the tone down.
// A plug-in that gives a constant instead of sound changes nothing.
TEST_F(PluginTest, SampleRatePortsAreInHzAndAConstantIsRefused)
{
    constexpr const char* kLowPass = "http://plugin.org.uk/swh-plugins/lowpass_iir";
    std::vector<float> tone(44100);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = 0.5f * static_cast<float>(std::sin(2 * M_PI * 1000 * i / 44100.0));
    writeMono(path("tone.wav"), tone);
    auto doc = open_document_file(path("tone.wav"));
    ASSERT_TRUE(doc);
    const auto levels = [&](const std::vector<std::int16_t>& s) {
        double sum = 0, square = 0;
        for (std::size_t i = 4410; i < s.size(); ++i) {
            sum += s[i] / 32768.0;
            square += (s[i] / 32768.0) * (s[i] / 32768.0);
        }
        const double n = static_cast<double>(s.size() - 4410), mean = sum / n;
        return std::make_pair(mean, 10 * std::log10(square / n - mean * mean));
    };
    const double toneDb = levels(monoSamples(path("tone.wav"))).second;

    host.setPluginChoice(std::string("<") + kLowPass + ">");
    host.setEffectSettings({});
    ASSERT_EQ(plugin_process_command(*doc, nullptr), 1);
    const EffectDialog& shown = host.effectDialogsShown().back();
    const auto cutoff = std::find_if(shown.parameters.begin(), shown.parameters.end(),
                                     [](const EffectParameter& p) { return p.key == "cutoff"; });
    ASSERT_NE(cutoff, shown.parameters.end());
    EXPECT_NEAR(cutoff->min, 0.0001 * 44100, 0.01);
    EXPECT_NEAR(cutoff->max, 0.45 * 44100, 0.1);
    EXPECT_NEAR(cutoff->value, 0.337525 * 44100, 0.5);
    EXPECT_EQ(cutoff->unit, "Hz");
    EXPECT_NE(cutoff->label.find("logarithmic"), std::string::npos);
    auto [mean, db] = levels(monoSamples(exchange_file_path("DRXOUT.WAV")));
    EXPECT_LT(std::fabs(mean), 1e-3) << "no DC";
    EXPECT_NEAR(db, toneDb, 0.5);

    undo_menu_command(*doc);
    host.setEffectSettings({{"cutoff", "500"}, {"stages", "2"}});
    ASSERT_EQ(plugin_process_command(*doc, nullptr), 1);
    std::tie(mean, db) = levels(monoSamples(exchange_file_path("DRXOUT.WAV")));
    EXPECT_LT(db, toneDb - 12) << "an octave above a 500 Hz cut-off of four poles";

    // Our test plug-in set to give a constant whatever comes in.
    undo_menu_command(*doc);
    setenv("LV2_PATH", (std::string(ONDRAVA_TEST_LV2) + "/..").c_str(), 1);
    const std::string shownFile = doc->szFileName;
    host.setPluginChoice("<urn:ondrava:test:delay>");
    host.setEffectSettings({{"constant", "1"}});
    host.clearShown();
    EXPECT_EQ(plugin_process_command(*doc, nullptr), 0);
    EXPECT_EQ(doc->szFileName, shownFile);
    ASSERT_FALSE(host.shown().empty());
    EXPECT_NE(host.shown().back().text.find("gave a constant 0.750 (DC) instead of sound; nothing was changed."),
              std::string::npos)
        << host.shown().back().text;
}
