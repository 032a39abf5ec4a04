#include "wavefile/open_by_type.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "wavefile/adpcm_open.h"
#include "wavefile/avi_file.h"
#include "wavefile/file_content.h"
#include "wavefile/file_types.h"
#include "wavefile/library_import.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_io.h"
#include "wavefile/wave_state.h"

#include <memory>

namespace {

constexpr int kReadByLibrary = -1;
constexpr int kRefused = -2;

// The row whose reader takes `content`, given the row the name (or the
// dialog) chose. The converter rows go by the file's extension, so they keep
// their own content; the same content under another name, and everything a
// media library reads, goes to the library. Contents of no known signature
// (the raw types among them) keep the chosen row.
int rowForContent(const std::string& name, int type)
{
    const FileContent content = file_content_of(name);
    auto rowOf = [](const char* example) { return file_type_of(example, kTypeWav); };
    auto keepOr = [&](std::initializer_list<int> rows) {
        for (int row : rows)
            if (row == type)
                return type;
        return kReadByLibrary;
    };
    switch (content) {
    case FileContent::Unknown: return type;
    case FileContent::Wave:
    case FileContent::Rf64: return type == kTypeJaf ? kTypeJaf : kTypeWav;
    case FileContent::Avi: return kTypeAvi;
    case FileContent::Aiff: return keepOr({rowOf("x.aif"), rowOf("x.iff")});
    case FileContent::Svx: return keepOr({rowOf("x.8sv"), rowOf("x.iff")});
    case FileContent::SunAu: return keepOr({rowOf("x.au"), rowOf("x.snd")});
    case FileContent::Voc: return keepOr({rowOf("x.voc")});
    case FileContent::Ircam: return keepOr({rowOf("x.sf")});
    case FileContent::SampleVision: return keepOr({rowOf("x.smp")});
    case FileContent::Midi:
    case FileContent::NotAudio:
        message_box(nullptr, unopenable_content_description(name), kProductName, MB_OK | MB_ICONEXCLAMATION);
        return kRefused;
    default: return kReadByLibrary;
    }
}

}  // namespace

int open_by_type(const std::string& name, int type)
{
    szOpenedAviFileName.clear();
    discard_imported_file();
    if (type < 0 || type >= static_cast<int>(file_types().size()))
        type = kTypeWav;
    // What the file holds decides, not its name.
    type = rowForContent(name, type);
    if (type == kRefused)
        return 0;
    if (type == kReadByLibrary)
        return open_library_file(name);
    const FileType& t = file_types()[static_cast<std::size_t>(type)];
    if (!t.canRead || !t.open) {
        // Types the program writes but does not read: say so, and what the
        // file holds when its bytes tell.
        std::string text = unopenable_content_description(name);
        if (text.empty())
            text = file_name_part(name) + " is of a type this version writes but cannot open.";
        message_box(nullptr, text, kProductName, MB_OK | MB_ICONEXCLAMATION);
        return 0;
    }
    return t.open(name);
}

int open_wave_file(const std::string& name)
{
    if (ReadInputWaveformHeader(name, 0)) {
        // PCM or float that a document holds as it is; other widths and more
        // than two channels are decoded by the library.
        const WaveFormat& f = current_wave_format;
        if (is_document_format(f.wFormatTag, f.nChannels, f.wBitsPerSample) &&
            wave_fmt_record.nBlockAlign == f.nChannels * f.wBitsPerSample / 8) {
            szOpenedFileName = name;
            return 1;
        }
        return open_library_file(name);
    }
    // Tags other than PCM and ADPCM (a-law, u-law, IMA ADPCM, GSM ...): the
    // library decodes what it knows.
    WaveFacts facts;
    if (read_wave_facts(name, facts) && facts.formatTag != 1 && facts.formatTag != 2 && facts.formatTag != 3 &&
        facts.formatTag != kWaveFormatExtensible) {
        const int decoded = open_library_file(name, false);
        if (decoded >= 0)
            return decoded;
    }
    std::unique_ptr<wave_io_info> info;
    const int walked = wioFileOpen(&info, name.c_str(), 0);
    if (walked == WIOERR_REFUSED)
        return 0;  // the user declined to load it
    const std::uint16_t tag = walked == WIOERR_NOERROR ? current_wave_format.wFormatTag : 1;
    info.reset();
    if (tag == 1) {
        // A RIFF WAVE file that fails the PCM check: say why (the check
        // fails again, now with its message).
        static_cast<void>(ReadInputWaveformHeader(name, 1));
        return 0;
    }
    if (tag == 2)
        return convert_adpcm_file_on_open(name);
    message_box(nullptr, name + " has an unknown (non-PCM) format.", "Unknown File Format", MB_OK | MB_ICONEXCLAMATION);
    return 0;
}
