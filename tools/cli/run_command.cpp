#include "app/timing_trace.h"
#include "cli_args.h"

#include "cli/headless_ui_host.h"
#include "document_session.h"
#include "modules/effect_commands.h"
#include "view/spectrogram_image.h"
#include "edit/edit_operations.h"
#include "edit/mix.h"
#include "modules/plugin_command.h"
#include "edit/timemarks.h"
#include "edit/undo.h"
#include "view/child_frame.h"
#include "view/document_save.h"

#include <QElapsedTimer>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>

// ondrava-cli run IN [STEP...]: opens IN as a document and applies the steps
// in the order given, each as its menu command does. Positions are sample
// units (a stereo frame counts two). The clipboard lives in the work folder,
// so a copy in one run can be pasted in the next.
namespace {

int usage()
{
    std::cerr << "usage: ondrava-cli run IN [STEP...]\n"
                 "  --select START:END  --channel left|right|both\n"
                 "  --copy  --cut  --paste  --replace  --crop  --trim\n"
                 "  --mix [--clip-level X] [--dest-level Y] [--target both|left|right]\n"
                 "  --crossfade [--curve linear|exponential]\n"
                 "  --insert-silence SECONDS|selection  --undo  --redo\n"
                 "  --new-from-selection  --save OUT  --save-selection OUT\n"
                 "  --effect NAME [--preset NAME] [--param KEY=VALUE ...]   (ondrava-cli effects lists them)\n"
                 "  --spectrum OUT.png   the spectrum display of the selection\n"
                 "  --draw CHANNEL:FROM:VALUE:TO:VALUE ...   redraw samples in the magnified plot\n"
                 "  --mark POSITION[:NAME]  --mark-selection  --delete-mark INDEX  --delete-marks\n"
                 "  --plugin URI [--param SYMBOL=VALUE ...]   an LV2 plug-in (ondrava-cli plugins lists them)\n";
    return kExitUsage;
}

// What a step came to: done, failed (exit 1), or a mistake on the command
// line (exit 2), with the usage shown or after its own message.
enum class Outcome { Done, Failed, Usage, Refused };

Outcome done(int ok) { return ok ? Outcome::Done : Outcome::Failed; }

// A step at work: the document, the command line, where the step stands in
// it (a step may take the arguments that belong to it, moving `at` past
// them), and its value.
struct Step {
    CChildFrame& f;
    const std::vector<std::string>& argv;
    size_t& at;
    const std::string& value;
};

bool parseLevel(const std::string& text, double& level)
{
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (*end != '\0' || v < 0.0 || v > 2.0) {
        std::cerr << "ondrava-cli: a level runs from 0.0 to 2.0\n";
        return false;
    }
    level = v;
    return true;
}

MixTarget mixTarget(const std::string& v)
{
    return v == "left" ? MixTarget::Left : v == "right" ? MixTarget::Right : MixTarget::Both;
}

// The settings that follow a step as --param KEY=VALUE; false (and the
// message) on one without "=".
bool takeParams(Step& s, const char* form, std::vector<std::pair<std::string, std::string>>& settings)
{
    while (s.at + 2 < s.argv.size() && s.argv[s.at + 1] == "--param") {
        const std::string& kv = s.argv[s.at + 2];
        const auto eq = kv.find('=');
        if (eq == std::string::npos || eq == 0) {
            std::cerr << "ondrava-cli: --param takes " << form << "\n";
            return false;
        }
        settings.emplace_back(kv.substr(0, eq), kv.substr(eq + 1));
        s.at += 2;
    }
    return true;
}

HeadlessUiHost* commandLineHost() { return dynamic_cast<HeadlessUiHost*>(&uiHost()); }

Outcome selectStep(Step& s) { return select_from_argument(s.f, s.value) ? Outcome::Done : Outcome::Refused; }

Outcome channelStep(Step& s)
{
    if (s.value != "left" && s.value != "right" && s.value != "both")
        return Outcome::Usage;
    s.f.bLeftChannel = s.value != "right";
    s.f.bRightChannel = s.value != "left" || s.f.wfx.nChannels == 1;
    return Outcome::Done;
}

Outcome clipLevelStep(Step& s) { return parseLevel(s.value, mix_settings.clipLevel) ? Outcome::Done : Outcome::Refused; }
Outcome destLevelStep(Step& s) { return parseLevel(s.value, mix_settings.destLevel) ? Outcome::Done : Outcome::Refused; }

Outcome targetStep(Step& s)
{
    if (s.value != "both" && s.value != "left" && s.value != "right")
        return Outcome::Usage;
    mix_settings.target = mixTarget(s.value);
    return Outcome::Done;
}

Outcome curveStep(Step& s)
{
    if (s.value != "linear" && s.value != "exponential")
        return Outcome::Usage;
    mix_settings.crossfadeCurve = s.value == "linear" ? 1 : 0;
    return Outcome::Done;
}

// --mix and --crossfade: their settings follow them on the command line and
// are taken first.
Outcome mixStep(Step& s, bool crossfade)
{
    size_t j = s.at + 1;
    while (j + 1 < s.argv.size() && (s.argv[j] == "--clip-level" || s.argv[j] == "--dest-level" ||
                                     s.argv[j] == "--target" || s.argv[j] == "--curve")) {
        const std::string& name = s.argv[j];
        const std::string& v = s.argv[j + 1];
        if ((name == "--clip-level" && !parseLevel(v, mix_settings.clipLevel)) ||
            (name == "--dest-level" && !parseLevel(v, mix_settings.destLevel)))
            return Outcome::Refused;
        if (name == "--target")
            mix_settings.target = mixTarget(v);
        if (name == "--curve")
            mix_settings.crossfadeCurve = v == "exponential" ? 0 : 1;
        j += 2;
    }
    if (crossfade)
        mix_settings.target = MixTarget::Both;
    s.at = j - 1;
    return done(edit_operation(s.f, s.f, false, crossfade ? kCrossfade : kMix));
}

Outcome insertSilenceStep(Step& s)
{
    std::uint32_t units = 0;
    if (s.value == "selection") {
        if (!s.f.bHighlight) {
            std::cerr << "ondrava-cli: --insert-silence selection needs a highlight\n";
            return Outcome::Failed;
        }
        units = s.f.nSelEnd - s.f.nSelStart;
    } else {
        char* end = nullptr;
        const double seconds = std::strtod(s.value.c_str(), &end);
        if (*end != '\0' || seconds <= 0.0 || seconds > 36000.0)
            return Outcome::Usage;
        units = static_cast<std::uint32_t>(std::lround(seconds * s.f.wfx.nSamplesPerSec)) * s.f.wfx.nChannels;
    }
    return done(insert_silence_command(s.f, units));
}

Outcome undoStep(Step& s)
{
    if (s.f.bUndoAvailable)
        undo_redo_toggle(s.f);
    return Outcome::Done;
}

Outcome redoStep(Step& s)
{
    if (s.f.bRedoAvailable)
        undo_redo_toggle(s.f);
    return Outcome::Done;
}

// The magnified plot: consecutive --draw CHANNEL:FROM:VALUE:TO:VALUE (frames
// counted from the selection's start, values -1..1).
Outcome drawStep(Step& s)
{
    std::vector<HeadlessUiHost::PlotLine> lines;
    size_t i = s.at - 1;
    for (; i + 1 < s.argv.size() && s.argv[i] == "--draw"; i += 2) {
        HeadlessUiHost::PlotLine l{};
        char tail = 0;
        if (std::sscanf(s.argv[i + 1].c_str(), "%d:%zu:%f:%zu:%f%c", &l.channel, &l.fromFrame, &l.fromValue, &l.toFrame,
                        &l.toValue, &tail) != 5) {
            std::cerr << "ondrava-cli: --draw takes CHANNEL:FROM:VALUE:TO:VALUE\n";
            return Outcome::Refused;
        }
        lines.push_back(l);
    }
    s.at = i - 1;
    HeadlessUiHost* host = commandLineHost();
    if (host)
        host->setPlotLines(lines);
    const int ok = magnified_plot_command(s.f);
    if (host)
        host->setPlotLines({});
    return done(ok);
}

Outcome spectrumStep(Step& s)
{
    HeadlessUiHost* host = commandLineHost();
    if (!host || !spectrum_command(s.f) || !host->lastSpectrum()) {
        std::cerr << "ondrava-cli: --spectrum works on a selection (--select START:END)\n";
        return Outcome::Failed;
    }
    if (!render_spectrogram(*host->lastSpectrum(), 800, 400).save(QString::fromStdString(s.value))) {
        std::cerr << "ondrava-cli: cannot write " << s.value << "\n";
        return Outcome::Failed;
    }
    return Outcome::Done;
}

// An LV2 plug-in; its parameters follow it, as the generic dialog's settings.
Outcome pluginStep(Step& s)
{
    std::vector<std::pair<std::string, std::string>> settings;
    if (!takeParams(s, "SYMBOL=VALUE", settings))
        return Outcome::Refused;
    HeadlessUiHost* host = commandLineHost();
    if (host) {
        host->setPluginChoice("<" + s.value + ">");
        host->setEffectSettings(settings);
    }
    const int ok = plugin_process_command(s.f, nullptr);
    if (host) {
        host->setPluginChoice({});
        host->setEffectSettings({});
    }
    return done(ok);
}

Outcome strayParamStep(Step& s)
{
    std::cerr << "ondrava-cli: " << s.argv[s.at - 1] << " belongs after --effect or --plugin\n";
    return Outcome::Refused;
}

// An effect; its preset and its dialog's settings follow it.
Outcome effectStep(Step& s)
{
    const EffectCommand* effect = find_effect_command(s.value);
    if (!effect) {
        std::cerr << "ondrava-cli: no effect " << s.value << " (ondrava-cli effects lists them)\n";
        return Outcome::Refused;
    }
    std::string preset;
    while (s.at + 2 < s.argv.size() && s.argv[s.at + 1] == "--preset") {
        preset = s.argv[s.at + 2];
        s.at += 2;
    }
    std::vector<std::pair<std::string, std::string>> settings;
    if (!takeParams(s, "KEY=VALUE", settings))
        return Outcome::Refused;
    if (!s.f.bHighlight || s.f.nSelEnd <= s.f.nSelStart) {
        std::cerr << "ondrava-cli: --effect works on a selection (--select START:END)\n";
        return Outcome::Failed;
    }
    HeadlessUiHost* host = commandLineHost();
    if (host) {
        host->setEffectSettings(settings);
        host->setPresetChoice(preset);
    }
    const int ok = run_effect_command(s.f, effect->id);
    if (host) {
        host->setEffectSettings({});
        host->setPresetChoice({});
    }
    return done(ok);
}

// POSITION[:NAME], the position in sample units.
Outcome markStep(Step& s)
{
    const auto colon = s.value.find(':');
    char* end = nullptr;
    const std::string number = s.value.substr(0, colon);
    const unsigned long position = std::strtoul(number.c_str(), &end, 10);
    if (number.empty() || *end != '\0' || position > s.f.nTotalSamples) {
        std::cerr << "ondrava-cli: --mark takes a position from 0 to " << s.f.nTotalSamples << "\n";
        return Outcome::Refused;
    }
    return done(add_timemark_at_position(s.f, static_cast<std::uint32_t>(position),
                                         colon == std::string::npos ? std::string() : s.value.substr(colon + 1)) >= 0);
}

Outcome markSelectionStep(Step& s)
{
    if (!s.f.bHighlight) {
        std::cerr << "ondrava-cli: --mark-selection needs a highlight (--select START:END)\n";
        return Outcome::Failed;
    }
    return done(add_timemark_pair(s.f));
}

Outcome deleteMarkStep(Step& s)
{
    char* end = nullptr;
    const long index = std::strtol(s.value.c_str(), &end, 10);
    if (*end != '\0' || index < 0 || index >= static_cast<long>(s.f.timemarks.size())) {
        std::cerr << "ondrava-cli: no time mark " << s.value << "\n";
        return Outcome::Failed;
    }
    delete_timemark(s.f, static_cast<int>(index));
    return Outcome::Done;
}

// Every step: its name, how many values it takes, and its handler.
struct StepKind {
    const char* name;
    int values;
    Outcome (*run)(Step&);
};
const StepKind kSteps[] = {
    {"--select", 1, selectStep},
    {"--channel", 1, channelStep},
    {"--clip-level", 1, clipLevelStep},
    {"--dest-level", 1, destLevelStep},
    {"--target", 1, targetStep},
    {"--curve", 1, curveStep},
    {"--mix", 0, [](Step& s) { return mixStep(s, false); }},
    {"--crossfade", 0, [](Step& s) { return mixStep(s, true); }},
    {"--copy", 0, [](Step& s) { return done(copy_command(s.f)); }},
    {"--cut", 0, [](Step& s) { return done(edit_operation(s.f, s.f, true, kCut)); }},
    {"--paste", 0, [](Step& s) { return done(edit_operation(s.f, s.f, false, kPaste)); }},
    {"--replace", 0, [](Step& s) { return done(edit_operation(s.f, s.f, false, kReplace)); }},
    {"--crop", 0, [](Step& s) { return done(edit_operation(s.f, s.f, true, kCrop)); }},
    {"--trim", 0, [](Step& s) { return done(trim_command(s.f)); }},
    {"--insert-silence", 1, insertSilenceStep},
    {"--undo", 0, undoStep},
    {"--redo", 0, redoStep},
    {"--new-from-selection", 0, [](Step& s) { return done(new_file_from_selection(s.f)); }},
    {"--draw", 1, drawStep},
    {"--spectrum", 1, spectrumStep},
    {"--plugin", 1, pluginStep},
    {"--param", 1, strayParamStep},
    {"--preset", 1, strayParamStep},
    {"--effect", 1, effectStep},
    {"--mark", 1, markStep},
    {"--mark-selection", 0, markSelectionStep},
    {"--delete-mark", 1, deleteMarkStep},
    {"--delete-marks", 0, [](Step& s) {
         delete_all_timemarks(s.f);
         return Outcome::Done;
     }},
    {"--save", 1, [](Step& s) { return done(save_waveform_file(s.f, s.value, 0, 0)); }},
    {"--save-selection", 1, [](Step& s) { return done(save_waveform_file(s.f, s.value, 1, 0)); }},
};

const StepKind* findStep(const std::string& name)
{
    for (const StepKind& k : kSteps)
        if (name == k.name)
            return &k;
    return nullptr;
}

}  // namespace

int run_run_command(const std::vector<std::string>& argv)
{
    if (argv.empty() || argv[0].rfind("--", 0) == 0)
        return usage();
    // Check every step before doing any.
    for (size_t i = 1; i < argv.size(); ++i) {
        const StepKind* kind = findStep(argv[i]);
        if (!kind || i + static_cast<size_t>(kind->values) >= argv.size() + (kind->values ? 0 : 1))
            return usage();
        i += static_cast<size_t>(kind->values);
    }
    DocumentSession session;
    if (!session.open(argv[0]))
        return kExitFailed;
    for (size_t i = 1; i < argv.size(); ++i) {
        const StepKind* kind = findStep(argv[i]);
        const std::string name = argv[i];
        const std::string value = kind->values ? argv[++i] : std::string();
        QElapsedTimer took;
        took.start();
        Step step{*session.active(), argv, i, value};
        const Outcome outcome = kind->run(step);
        if (outcome == Outcome::Usage)
            return usage();
        if (outcome == Outcome::Refused)
            return kExitUsage;
        timing_trace(QStringLiteral("step"), QStringLiteral("%1 %2").arg(QString::fromStdString(name)).arg(took.elapsed()));
        if (outcome == Outcome::Failed)
            return kExitFailed;
    }
    return kExitOk;
}
