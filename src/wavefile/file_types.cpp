#include "wavefile/file_types.h"

#include "app/file_names.h"
#include "wavefile/avi_export.h"
#include "wavefile/foreign_formats.h"
#include "wavefile/compressed_export.h"
#include "wavefile/jaf_file.h"
#include "wavefile/library_import.h"
#include "wavefile/mp3_export.h"
#include "wavefile/open_by_type.h"
#include "wavefile/realmedia_export.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

std::function<int(const SaveRequest&)>& jafExporter()
{
    static std::function<int(const SaveRequest&)> exporter;
    return exporter;
}

int saveWave(const SaveRequest& r) { return r.saveWave(r.target, r.options); }
int openByLibrary(const std::string& name) { return open_library_file(name); }
int saveJaf(const SaveRequest& r) { return jafExporter() ? jafExporter()(r) : 0; }

// A foreign type: read and written through the converter.
FileType foreign(const char* filter, const char* pattern, std::vector<const char*> extensions)
{
    return {filter, pattern, std::move(extensions), true, true, open_foreign_file, save_foreign_file};
}
FileType foreign(const char* filter, const char* pattern, const char* extension)
{
    return foreign(filter, pattern, std::vector<const char*>{extension});
}

}  // namespace

void set_jaf_exporter(std::function<int(const SaveRequest&)> exporter) { jafExporter() = std::move(exporter); }

const std::vector<FileType>& file_types()
{
    // filter text, dialog pattern, extensions, can read, can write, open, save
    static const std::vector<FileType> types = {
        {"Microsoft PCM Files (*.wav)", "*.wav", {"wav"}, true, true, open_wave_file, saveWave},
        foreign("Apple/Amiga (*.8svx)", "*.8sv", {"8sv", "8svx"}),
        foreign("Mac/SGI (*.aiff)", "*.aif", {"aif", "aiff", "aifc"}),
        foreign("NeXT/SPARC (*.au)", "*.au", "au"),
        foreign("Amiga (*.iff)", "*.iff", "iff"),
        foreign("Raw PCM Files (*.raw)", "*.raw", "raw"),
        foreign("Signed binary (8bit) files (*.sb)", "*.sb", "sb"),
        foreign("IRCAM Sound File files (*.sf)", ".sf", "sf"),
        foreign("SampleVision/Turtle Beach (*.smp)", "*.smp", "smp"),
        foreign("Sound Tool SND files (*.snd)", "*.snd", "snd"),
        foreign("Unigned binary files (*.sou)", "*.sou", "sou"),
        foreign("Signed word (16bit) files (*.sw)", "*.sw", "sw"),
        foreign("Unigned binary (8bit) files (*.ub)", "*.ub", "ub"),
        foreign("U-LAW (8bit) byte raw files (*.ul)", "*.ul", "ul"),
        foreign("Unigned word (16bit) files (*.uw)", "*.uw", "uw"),
        foreign("Creative Labs VOC (*.voc)", "*.voc", "voc"),
        {"Video For Windows files (*.avi)", "*.avi", {"avi"}, true, true, open_avi_sound, save_avi_export},
        {"RealMedia files (*.rm, *.ra)", "*.rm", {"rm"}, false, true, nullptr, save_realmedia_export},
        {"MPEG3 files (*.mp3)", "*.mp3", {"mp3"}, true, true, openByLibrary, save_mp3_export},
        {"JAF files (*.jaf)", "*.jaf", {"jaf"}, true, true, open_jaf_file, saveJaf},
        // Read through libsndfile or FFmpeg, written through FFmpeg's encoders.
        {"FLAC files (*.flac)", "*.flac", {"flac"}, true, true, openByLibrary, save_flac_export},
        {"Ogg Vorbis files (*.ogg)", "*.ogg", {"ogg", "oga"}, true, true, openByLibrary, save_vorbis_export},
        {"Opus files (*.opus)", "*.opus", {"opus"}, true, true, openByLibrary, save_opus_export},
        {"AAC/MPEG-4 audio files (*.m4a)", "*.m4a", {"m4a", "aac", "mp4"}, true, false, openByLibrary, nullptr},
        {"Core Audio files (*.caf)", "*.caf", {"caf"}, true, false, openByLibrary, nullptr},
        {"Sony Wave64 files (*.w64)", "*.w64", {"w64"}, true, false, openByLibrary, nullptr},
        // Any name: read and written as WAV; its extension names no type.
        {"All Files (*.*)", "*.*", {}, true, true, open_wave_file, saveWave},
    };
    return types;
}

std::vector<int> readable_types()
{
    std::vector<int> rows;
    for (std::size_t i = 0; i < file_types().size(); ++i)
        if (file_types()[i].canRead)
            rows.push_back(static_cast<int>(i));
    return rows;
}

std::vector<FileType> readable_file_types()
{
    std::vector<FileType> rows;
    for (int i : readable_types())
        rows.push_back(file_types()[static_cast<std::size_t>(i)]);
    return rows;
}

int file_type_of(const std::string& name, int otherwise)
{
    std::string ext = get_extension(name);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    for (std::size_t i = 0; i < file_types().size(); ++i)
        for (const char* known : file_types()[i].extensions)
            if (ext == known)
                return static_cast<int>(i);
    return otherwise;
}

int written_type_of(const std::string& name, int chosen)
{
    const std::string extension = last_extension(name);
    if (extension.size() <= 1)
        return chosen;
    const int named = file_type_of("x" + extension, -1);
    if (named < 0 || !file_types()[static_cast<std::size_t>(named)].canWrite)
        return -1;
    return named;
}

int remember_file_type(const std::string& name)
{
    // A WAVE file is a WAVE file whatever was chosen before: otherwise one
    // foreign file would make every dropped or recent WAV file foreign too.
    return last_file_type = file_type_of(name, last_file_type);
}
