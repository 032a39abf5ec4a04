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
#include <map>

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

// Steps and how many values each takes.
const std::map<std::string, int> kSteps = {
    {"--select", 1},   {"--channel", 1},    {"--save", 1},       {"--save-selection", 1}, {"--insert-silence", 1},
    {"--clip-level", 1}, {"--dest-level", 1}, {"--target", 1},   {"--curve", 1},          {"--new-from-selection", 0},
    {"--copy", 0},     {"--cut", 0},        {"--paste", 0},      {"--replace", 0},        {"--crop", 0},
    {"--trim", 0},     {"--mix", 0},        {"--crossfade", 0},  {"--undo", 0},           {"--redo", 0},
    {"--effect", 1},   {"--param", 1},      {"--preset", 1},     {"--spectrum", 1},     {"--draw", 1},
    {"--mark", 1},     {"--mark-selection", 0}, {"--delete-mark", 1}, {"--delete-marks", 0},
    {"--plugin", 1},
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

}  // namespace

int run_run_command(const std::vector<std::string>& argv)
{
    if (argv.empty() || argv[0].rfind("--", 0) == 0)
        return usage();
    // Check every step before doing any.
    for (size_t i = 1; i < argv.size(); ++i) {
        const auto step = kSteps.find(argv[i]);
        if (step == kSteps.end() || i + static_cast<size_t>(step->second) >= argv.size() + (step->second ? 0 : 1))
            return usage();
        i += static_cast<size_t>(step->second);
    }
    DocumentSession session;
    if (!session.open(argv[0]))
        return kExitFailed;
    for (size_t i = 1; i < argv.size(); ++i) {
        CChildFrame& f = *session.active();
        const std::string& step = argv[i];
        const std::string value = kSteps.at(step) ? argv[++i] : std::string();
        QElapsedTimer took;
        took.start();
        int ok = 1;
        if (step == "--select") {
            if (!select_from_argument(f, value))
                return kExitUsage;
        } else if (step == "--channel") {
            if (value != "left" && value != "right" && value != "both")
                return usage();
            f.bLeftChannel = value != "right";
            f.bRightChannel = value != "left" || f.wfx.nChannels == 1;
        } else if (step == "--clip-level") {
            if (!parseLevel(value, mix_settings.clipLevel))
                return kExitUsage;
        } else if (step == "--dest-level") {
            if (!parseLevel(value, mix_settings.destLevel))
                return kExitUsage;
        } else if (step == "--target") {
            if (value != "both" && value != "left" && value != "right")
                return usage();
            mix_settings.target = value == "left" ? MixTarget::Left : value == "right" ? MixTarget::Right : MixTarget::Both;
        } else if (step == "--curve") {
            if (value != "linear" && value != "exponential")
                return usage();
            mix_settings.crossfadeCurve = value == "linear" ? 1 : 0;
        } else if (step == "--mix" || step == "--crossfade") {
            // Their settings follow them on the command line: take those first.
            size_t j = i + 1;
            while (j + 1 < argv.size() && (argv[j] == "--clip-level" || argv[j] == "--dest-level" ||
                                           argv[j] == "--target" || argv[j] == "--curve")) {
                const std::string& name = argv[j];
                const std::string& v = argv[j + 1];
                if ((name == "--clip-level" && !parseLevel(v, mix_settings.clipLevel)) ||
                    (name == "--dest-level" && !parseLevel(v, mix_settings.destLevel)))
                    return kExitUsage;
                if (name == "--target")
                    mix_settings.target = v == "left" ? MixTarget::Left : v == "right" ? MixTarget::Right : MixTarget::Both;
                if (name == "--curve")
                    mix_settings.crossfadeCurve = v == "exponential" ? 0 : 1;
                j += 2;
            }
            if (step == "--crossfade")
                mix_settings.target = MixTarget::Both;
            i = j - 1;
            ok = edit_operation(f, f, false, step == "--mix" ? kMix : kCrossfade);
        } else if (step == "--copy") {
            ok = copy_command(f);
        } else if (step == "--cut") {
            ok = edit_operation(f, f, true, kCut);
        } else if (step == "--paste") {
            ok = edit_operation(f, f, false, kPaste);
        } else if (step == "--replace") {
            ok = edit_operation(f, f, false, kReplace);
        } else if (step == "--crop") {
            ok = edit_operation(f, f, true, kCrop);
        } else if (step == "--trim") {
            ok = trim_command(f);
        } else if (step == "--insert-silence") {
            std::uint32_t units = 0;
            if (value == "selection") {
                if (!f.bHighlight) {
                    std::cerr << "ondrava-cli: --insert-silence selection needs a highlight\n";
                    return kExitFailed;
                }
                units = f.nSelEnd - f.nSelStart;
            } else {
                char* end = nullptr;
                const double seconds = std::strtod(value.c_str(), &end);
                if (*end != '\0' || seconds <= 0.0 || seconds > 36000.0)
                    return usage();
                units = static_cast<std::uint32_t>(std::lround(seconds * f.wfx.nSamplesPerSec)) * f.wfx.nChannels;
            }
            ok = insert_silence_command(f, units);
        } else if (step == "--undo") {
            if (f.bUndoAvailable)
                undo_redo_toggle(f);
        } else if (step == "--redo") {
            if (f.bRedoAvailable)
                undo_redo_toggle(f);
        } else if (step == "--new-from-selection") {
            ok = new_file_from_selection(f);
        } else if (step == "--draw") {
            // The magnified plot: consecutive lines CHANNEL:FROM:VALUE:TO:VALUE
            // (frames counted from the selection's start, values -1..1).
            std::vector<HeadlessUiHost::PlotLine> lines;
            for (--i; i + 1 < argv.size() && argv[i] == "--draw"; i += 2) {
                HeadlessUiHost::PlotLine l{};
                char tail = 0;
                if (std::sscanf(argv[i + 1].c_str(), "%d:%zu:%f:%zu:%f%c", &l.channel, &l.fromFrame, &l.fromValue,
                                &l.toFrame, &l.toValue, &tail) != 5) {
                    std::cerr << "ondrava-cli: --draw takes CHANNEL:FROM:VALUE:TO:VALUE\n";
                    return kExitUsage;
                }
                lines.push_back(l);
            }
            --i;
            auto* host = dynamic_cast<HeadlessUiHost*>(&uiHost());
            if (host)
                host->setPlotLines(lines);
            ok = magnified_plot_command(f);
            if (host)
                host->setPlotLines({});
        } else if (step == "--spectrum") {
            auto* host = dynamic_cast<HeadlessUiHost*>(&uiHost());
            if (!host || !spectrum_command(f) || !host->lastSpectrum()) {
                std::cerr << "ondrava-cli: --spectrum works on a selection (--select START:END)\n";
                return kExitFailed;
            }
            if (!render_spectrogram(*host->lastSpectrum(), 800, 400).save(QString::fromStdString(value))) {
                std::cerr << "ondrava-cli: cannot write " << value << "\n";
                return kExitFailed;
            }
        } else if (step == "--plugin") {
            // Its parameters follow it, as the generic dialog's settings.
            std::vector<std::pair<std::string, std::string>> settings;
            while (i + 2 < argv.size() && argv[i + 1] == "--param") {
                const std::string& kv = argv[i + 2];
                const auto eq = kv.find('=');
                if (eq == std::string::npos || eq == 0) {
                    std::cerr << "ondrava-cli: --param takes SYMBOL=VALUE\n";
                    return kExitUsage;
                }
                settings.emplace_back(kv.substr(0, eq), kv.substr(eq + 1));
                i += 2;
            }
            auto* host = dynamic_cast<HeadlessUiHost*>(&uiHost());
            if (host) {
                host->setPluginChoice("<" + value + ">");
                host->setEffectSettings(settings);
            }
            ok = plugin_process_command(f, nullptr);
            if (host) {
                host->setPluginChoice({});
                host->setEffectSettings({});
            }
        } else if (step == "--param" || step == "--preset") {
            std::cerr << "ondrava-cli: " << step << " belongs after --effect or --plugin\n";
            return kExitUsage;
        } else if (step == "--effect") {
            const EffectCommand* effect = find_effect_command(value);
            if (!effect) {
                std::cerr << "ondrava-cli: no effect " << value << " (ondrava-cli effects lists them)\n";
                return kExitUsage;
            }
            // The dialog's settings follow the effect on the command line.
            std::vector<std::pair<std::string, std::string>> settings;
            std::string preset;
            while (i + 2 < argv.size() && argv[i + 1] == "--preset") {
                preset = argv[i + 2];
                i += 2;
            }
            while (i + 2 < argv.size() && argv[i + 1] == "--param") {
                const std::string& kv = argv[i + 2];
                const auto eq = kv.find('=');
                if (eq == std::string::npos || eq == 0) {
                    std::cerr << "ondrava-cli: --param takes KEY=VALUE\n";
                    return kExitUsage;
                }
                settings.emplace_back(kv.substr(0, eq), kv.substr(eq + 1));
                i += 2;
            }
            if (!f.bHighlight || f.nSelEnd <= f.nSelStart) {
                std::cerr << "ondrava-cli: --effect works on a selection (--select START:END)\n";
                return kExitFailed;
            }
            auto* host = dynamic_cast<HeadlessUiHost*>(&uiHost());
            if (host) {
                host->setEffectSettings(settings);
                host->setPresetChoice(preset);
            }
            ok = run_effect_command(f, effect->id);
            if (host) {
                host->setEffectSettings({});
                host->setPresetChoice({});
            }
        } else if (step == "--mark") {
            // POSITION[:NAME], the position in sample units.
            const auto colon = value.find(':');
            char* end = nullptr;
            const std::string number = value.substr(0, colon);
            const unsigned long position = std::strtoul(number.c_str(), &end, 10);
            if (number.empty() || *end != '\0' || position > f.nTotalSamples) {
                std::cerr << "ondrava-cli: --mark takes a position from 0 to " << f.nTotalSamples << "\n";
                return kExitUsage;
            }
            ok = add_timemark_at_position(f, static_cast<std::uint32_t>(position),
                                          colon == std::string::npos ? std::string() : value.substr(colon + 1)) >= 0;
        } else if (step == "--mark-selection") {
            if (!f.bHighlight) {
                std::cerr << "ondrava-cli: --mark-selection needs a highlight (--select START:END)\n";
                return kExitFailed;
            }
            ok = add_timemark_pair(f);
        } else if (step == "--delete-mark") {
            char* end = nullptr;
            const long index = std::strtol(value.c_str(), &end, 10);
            if (*end != '\0' || index < 0 || index >= static_cast<long>(f.timemarks.size())) {
                std::cerr << "ondrava-cli: no time mark " << value << "\n";
                return kExitFailed;
            }
            delete_timemark(f, static_cast<int>(index));
        } else if (step == "--delete-marks") {
            delete_all_timemarks(f);
        } else if (step == "--save" || step == "--save-selection") {
            ok = save_waveform_file(f, value, step == "--save-selection", 0);
        }
        timing_trace(QStringLiteral("step"),
                     QStringLiteral("%1 %2").arg(QString::fromStdString(step)).arg(took.elapsed()));
        if (!ok)
            return kExitFailed;
    }
    return kExitOk;
}
