// CRVCNVRT.EXE SOURCE TARGET: converts a sound file for the program that
// started it, through SoX's library: a foreign format into RIFF WAVE (8-bit
// unsigned, 16- or 24-bit signed PCM or float, as the source's precision and
// encoding ask) or RIFF
// WAVE into a foreign format, each chosen by the file's extension. On
// success "outadpcm.wav" appears in the exchange folder (the program's sign of
// success); in every case the marker file "finished" follows. Raw formats
// carry no header: they are read as one channel at 44100 Hz (u-law at
// 8000 Hz). A ".snd" source in the Sun/NeXT layout is read as such.

#include "app/app_paths.h"
#include "wavefile/helper_programs.h"

#include <sox.h>

#include <QCoreApplication>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// How SoX knows each extension of the program's file-type list.
struct SoxType {
    const char* extension;
    const char* type;
    bool raw;  // no header: the signal must be given when reading
    unsigned rate;
};
constexpr SoxType kTypes[] = {
    {"wav", "wav", false, 0},    {"8sv", "8svx", false, 0}, {"aif", "aiff", false, 0},
    {"aiff", "aiff", false, 0},  {"aifc", "aifc", false, 0}, {"8svx", "8svx", false, 0}, {"au", "au", false, 0},     {"iff", "8svx", false, 0},
    {"raw", "s16", true, 44100}, {"sb", "sb", true, 44100},  {"sf", "ircam", false, 0},
    {"smp", "smp", false, 0},    {"snd", "sndt", false, 0}, {"sou", "ub", true, 44100},
    {"sw", "sw", true, 44100},   {"ub", "ub", true, 44100},  {"ul", "ul", true, 8000},
    {"uw", "uw", true, 44100},   {"voc", "voc", false, 0},
};

// A ".snd" file is either Sound Tool's or, far more often today, Sun/NeXT
// audio (what SoX and most programs write under that name): its first four
// bytes tell.
constexpr SoxType kSunNext = {"snd", "au", false, 0};

bool startsWithSunMagic(const std::string& name)
{
    char magic[4] = {};
    std::ifstream in(name, std::ios::binary);
    return in.read(magic, 4) && std::memcmp(magic, ".snd", 4) == 0;
}

const SoxType* typeOf(const std::string& name, bool reading)
{
    const std::string leaf = name.substr(name.find_last_of('/') + 1);
    const auto dot = leaf.find('.');
    if (dot == std::string::npos)
        return nullptr;
    std::string ext = leaf.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    if (reading && ext == "snd" && startsWithSunMagic(name))
        return &kSunNext;
    for (const SoxType& t : kTypes)
        if (ext == t.extension)
            return &t;
    return nullptr;
}

// SoX marks the end of its input with SOX_EOF in the format's error field;
// that is no error.
bool failed(const sox_format_t* f) { return f->sox_errno != 0 && f->sox_errno != SOX_EOF; }

// The VOC reader, after the last block its file declares, looks for another
// block header and reports "premature EOF" when the file simply ends there
// (SoX's own program takes it for the end, too). An end-of-file report once
// samples have reached the output is the end of the input; any other error
// is a failure.
bool inputFailed(const sox_format_t* in, const sox_format_t* out)
{
    if (!failed(in))
        return false;
    return out->olength == 0 || std::strstr(in->sox_errstr, "EOF") == nullptr;
}

bool convert(const std::string& source, const std::string& target)
{
    const SoxType* from = typeOf(source, true);
    const SoxType* to = typeOf(target, false);
    if (!from || !to) {
        std::cerr << "CRVCNVRT: unknown file type\n";
        return false;
    }
    sox_signalinfo_t given{};
    if (from->raw) {
        given.rate = from->rate;
        given.channels = 1;
        given.precision = 0;
        given.length = SOX_UNSPEC;
    }
    sox_format_t* in = sox_open_read(source.c_str(), from->raw ? &given : nullptr, nullptr, from->type);
    if (!in)
        return false;
    sox_encodinginfo_t encoding{};
    sox_init_encodinginfo(&encoding);
    sox_signalinfo_t signal = in->signal;
    if (std::strcmp(to->type, "wav") == 0) {
        // The program edits 8-, 16- and 24-bit PCM and float: the narrowest
        // of them that holds the source's precision.
        const unsigned precision = in->signal.precision;
        const bool narrow = precision != 0 && precision <= 8;
        const bool isFloat = in->encoding.encoding == SOX_ENCODING_FLOAT;
        const bool deep = !isFloat && precision > 16;
        encoding.encoding = narrow ? SOX_ENCODING_UNSIGNED : isFloat ? SOX_ENCODING_FLOAT : SOX_ENCODING_SIGN2;
        encoding.bits_per_sample = narrow ? 8 : isFloat ? 32 : deep ? 24 : 16;
        signal.precision = narrow ? 8 : isFloat ? 24 : deep ? 24 : 16;
    }
    sox_format_t* out = sox_open_write(target.c_str(), &signal, std::strcmp(to->type, "wav") == 0 ? &encoding : nullptr,
                                       to->type, nullptr, nullptr);
    if (!out) {
        sox_close(in);
        return false;
    }
    // What the target cannot hold (a format that is mono only, or fixed
    // rates) the chain mixes down or resamples.
    sox_effects_chain_t* chain = sox_create_effects_chain(&in->encoding, &out->encoding);
    sox_signalinfo_t interim = in->signal;
    bool ok = chain != nullptr;
    const auto add = [&](const char* name, int argc, char** args) {
        if (!ok)
            return;
        sox_effect_t* e = sox_create_effect(sox_find_effect(name));
        ok = e && sox_effect_options(e, argc, args) == SOX_SUCCESS &&
             sox_add_effect(chain, e, &interim, &out->signal) == SOX_SUCCESS;
        free(e);
    };
    char* input[] = {reinterpret_cast<char*>(in)};
    add("input", 1, input);
    if (in->signal.channels != out->signal.channels)
        add("channels", 0, nullptr);
    if (in->signal.rate != out->signal.rate)
        add("rate", 0, nullptr);
    char* output[] = {reinterpret_cast<char*>(out)};
    add("output", 1, output);
    if (ok)
        ok = sox_flow_effects(chain, nullptr, nullptr) == SOX_SUCCESS && !inputFailed(in, out) && !failed(out);
    if (chain)
        sox_delete_effects_chain(chain);
    sox_close(out);
    sox_close(in);
    if (!ok)
        ::unlink(target.c_str());
    return ok;
}

}  // namespace

int main(int argc, char** argv)
{
    // The arguments are file names, read as they are: Qt is given none of
    // them, so a name that looks like one of its options stays a name.
    int qtArgc = 1;
    QCoreApplication app(qtArgc, argv);
    if (argc != 3) {
        std::cerr << "usage: CRVCNVRT.EXE SOURCE TARGET\n";
        return 2;
    }
    const std::string output = converter_output_path();
    ::unlink(output.c_str());
    bool converted = false;
    if (sox_init() == SOX_SUCCESS) {
        // Errors only: a format that cannot hold stereo is mixed down on purpose.
        sox_get_globals()->verbosity = 1;
        converted = convert(argv[1], argv[2]);
        sox_quit();
    }
    // The program takes the existence of "outadpcm.wav" for success (and
    // deletes it); it is the converted file under a second name.
    if (converted && ::link(argv[2], output.c_str()) != 0)
        std::ofstream(output) << "converted\n";
    std::ofstream(converter_marker_path()) << (converted ? "ok\n" : "failed\n");
    return converted ? 0 : 1;
}
