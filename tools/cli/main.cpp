// ondrava-cli: drives the Ondrava core without a display. Messages are the
// program's own texts on stderr; exit 0 on success, 1 when the operation
// failed, 2 for usage errors.

#include "app/app_paths.h"
#include "cli/headless_ui_host.h"
#include "app/instance_files.h"
#include "app/preference_store.h"
#include "cli_args.h"

#include <QGuiApplication>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

namespace {

HeadlessUiHost* g_host = nullptr;

void onInterrupt(int)
{
    // Ctrl+C presses the Cancel button of the running progress box.
    if (g_host)
        g_host->requestCancel();
}

void usage()
{
    std::cerr << "usage: ondrava-cli [--yes|--no] COMMAND ...\n"
                 "  info FILE                       format and INFO items of a WAVE file\n"
                 "  open FILE [--width PX] [--dump-overview]\n"
                 "                                  open FILE as a document, print its levels\n"
                 "  new [--channels 1|2] [--bits 8|16|24|32f] [--rate HZ]\n"
                 "                                  make the next SAMPLE%d.WAV here\n"
                 "  render FILE --width W --height H [--level N] [--first SAMPLE]\n"
                 "         [--time-format 1|24|25|30] --out FILE.png\n"
                 "                                  draw the document as the window does\n"
                 "  convert IN OUT [--channels N] [--bits 8|16|24|32f] [--rate HZ] [--adpcm]\n"
                 "          [--flac-level 0-8] [--vorbis-quality -1..10] [--opus-bitrate KBPS]\n"
                 "          [--mp3-bitrate KBPS | --mp3-vbr 0-9]\n"
                 "                                  save IN (any type, known by its content) as OUT, of the\n"
                 "                                  type its extension names\n"
                 "  run IN [--select START:END] [--channel left|right|both] [--new-from-selection]\n"
                 "         [--save OUT] [--save-selection OUT] [--effect NAME [--param KEY=VALUE ...]]\n"
                 "         [--mark POSITION[:NAME]] [--mark-selection] [--delete-mark INDEX] [--delete-marks]\n"
                 "         [--plugin URI [--param SYMBOL=VALUE ...]]\n"
                 "                                  open IN and apply the steps in order\n"
                 "  effects                         list the effects and their parameters\n"
                 "  plugins                         list the LV2 effect plug-ins and their ports\n"
                 "  recover --list | --delete | N OUT.wav\n"
                 "                                  documents left by a program that was killed: list them,\n"
                 "                                  remove them, or save number N as OUT.wav\n"
                 "  marks FILE [--time-format 1|24|25|30]\n"
                 "                                  list the time marks stored in FILE\n"
                 "  devices                         report the wave devices and the MIDI ports\n"
                 "  play FILE [--select START:END] [--loop N] [--device NAME|N] [--clipboard]\n"
                 "                                  play FILE (or the clipboard) on an output device\n"
                 "  record OUT --seconds S [--channels N] [--bits B] [--rate HZ] [--device NAME|N] [--trigger LEVEL]\n"
                 "                                  record S seconds from an input device into OUT\n"
                 "  chase FILE --cue HH:MM:SS:FF [--fps 24|25|30] [--midi-in N] [--device NAME|N] [--preroll F]\n"
                 "        [--compensate]          play FILE locked to incoming MIDI Time Code until interrupted\n"
                 "  trigger FILE --on delay:S|timecode:HH:MM:SS:FF[@FPS]|start|note[:N[@CH]] [--select START:END]\n"
                 "        [--record S [--save OUT]] [--midi-in N] [--device NAME|N]\n"
                 "                                  play FILE (or record into it) when the trigger comes\n"
                 "Questions are asked on a terminal; --yes or --no answers them all.\n"
                 "A file of more than two channels opens mixed down to stereo with --downmix, or as two of\n"
                 "its channels with --channels-from L,R (numbers from 1); either may stand anywhere.\n"
                 "An effect whose result would clip fails with a message, unless --on-clip normalize (the result\n"
                 "normalized to -0.1 dBFS) or --on-clip clip (applied clipped) stands anywhere on the line.\n";
}

// The subcommands, each in a file of its own.
int runCommand(const std::string& command, const std::vector<std::string>& args)
{
    using Command = int (*)(const std::vector<std::string>&);
    static const std::pair<const char*, Command> commands[] = {
        {"info", run_info_command},       {"open", run_open_command},       {"new", run_new_command},
        {"render", run_render_command},   {"convert", run_convert_command}, {"run", run_run_command},
        {"devices", run_devices_command}, {"play", run_play_command},       {"record", run_record_command},
        {"effects", run_effects_command}, {"marks", run_marks_command},     {"chase", run_chase_command},
        {"trigger", run_trigger_command}, {"plugins", run_plugins_command}, {"recover", run_recover_command},
    };
    for (const auto& [name, run] : commands)
        if (command == name)
            return run(args);
    std::cerr << "ondrava-cli: unknown command " << command << "\n";
    usage();
    return kExitUsage;
}

}  // namespace

int main(int argc, char** argv)
{
    // Rendering needs fonts, hence a GUI application, but never a display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ensure_runtime_directory();
    // The command's own arguments, taken before Qt sees them: Qt would
    // consume some of its own (-plugin, -platform ...) from the line.
    std::vector<std::string> args(argv + 1, argv + argc);
    int qtArgc = 1;
    QGuiApplication app(qtArgc, argv);

    HeadlessUiHost host;
    host.setInteractive(true);
    g_host = &host;
    setUiHost(&host);
    std::signal(SIGINT, onInterrupt);

    while (!args.empty() && (args.front() == "--yes" || args.front() == "--no")) {
        host.setDefaultAgree(args.front() == "--yes");
        host.setInteractive(false);
        args.erase(args.begin());
    }
    // The answer to the question of files of more than two channels.
    for (auto it = args.begin(); it != args.end();) {
        if (*it == "--downmix") {
            host.setChannelChoice(ChannelChoice{});
            it = args.erase(it);
        } else if (*it == "--on-clip") {
            const std::string answer = it + 1 != args.end() ? *(it + 1) : std::string();
            if (answer == "normalize")
                host.setClipAnswer(ModuleDialogs::ClipAnswer::Normalize);
            else if (answer == "clip")
                host.setClipAnswer(ModuleDialogs::ClipAnswer::Clip);
            else if (answer == "fail")
                host.setClipAnswer(std::nullopt);
            else {
                std::cerr << "ondrava-cli: --on-clip takes normalize, clip or fail\n";
                return kExitUsage;
            }
            it = args.erase(it, it + 2);
        } else if (*it == "--channels-from") {
            const auto pair = it + 1 != args.end() ? parse_channel_pair(*(it + 1)) : std::nullopt;
            if (!pair) {
                std::cerr << "ondrava-cli: --channels-from takes two channel numbers, as in 1,2\n";
                return kExitUsage;
            }
            host.setChannelChoice(*pair);
            it = args.erase(it, it + 2);
        } else {
            ++it;
        }
    }
    if (args.empty() || args.front() == "--help" || args.front() == "-h") {
        usage();
        return args.empty() ? kExitUsage : kExitOk;
    }
    const std::string command = args.front();
    args.erase(args.begin());

    read_preferences();
    int result = kExitUsage;
    // An exception that escapes a command ends it with a message, not with
    // an abort that would leave the run's working files behind.
    try {
        result = runCommand(command, args);
    } catch (const std::exception& e) {
        std::cerr << "ondrava-cli: " << command << " stopped on an internal error: " << e.what() << "\n";
        result = kExitFailed;
    } catch (...) {
        std::cerr << "ondrava-cli: " << command << " stopped on an internal error\n";
        result = kExitFailed;
    }
    // Every document has closed: this run's own folder goes with it.
    remove_instance_directory();
    setUiHost(nullptr);
    return result;
}
