#include "wavefile/file_types.h"

#include "app/file_names.h"

#include <algorithm>
#include <cctype>

int last_file_type = kTypeWav;

const std::vector<FileType>& file_types()
{
    static const std::vector<FileType> types = {
        {"Microsoft PCM Files (*.wav)", "*.wav"},
        {"Apple/Amiga (*.8svx)", "*.8sv"},
        {"Mac/SGI (*.aiff)", "*.aif"},
        {"NeXT/SPARC (*.au)", "*.au"},
        {"Amiga (*.iff)", "*.iff"},
        {"Raw PCM Files (*.raw)", "*.raw"},
        {"Signed binary (8bit) files (*.sb)", "*.sb"},
        {"IRCAM Sound File files (*.sf)", ".sf"},
        {"SampleVision/Turtle Beach (*.smp)", "*.smp"},
        {"Sound Tool SND files (*.snd)", "*.snd"},
        {"Unigned binary files (*.sou)", "*.sou"},
        {"Signed word (16bit) files (*.sw)", "*.sw"},
        {"Unigned binary (8bit) files (*.ub)", "*.ub"},
        {"U-LAW (8bit) byte raw files (*.ul)", "*.ul"},
        {"Unigned word (16bit) files (*.uw)", "*.uw"},
        {"Creative Labs VOC (*.voc)", "*.voc"},
        {"Video For Windows files (*.avi)", "*.avi"},
        {"RealMedia files (*.rm, *.ra)", "*.rm"},
        {"MPEG3 files (*.mp3)", "*.mp3"},
        {"JAF files (*.jaf)", "*.jaf"},
        {"All Files (*.*)", "*.*"},
    };
    return types;
}

std::vector<FileType> readable_file_types()
{
    std::vector<FileType> types = file_types();
    types.erase(types.begin() + kTypeRealMedia, types.begin() + kTypeMp3 + 1);
    return types;
}

int file_type_of(const std::string& name)
{
    static const char* const kExtensions[] = {"8sv", "aif", "au", "iff", "raw", "sb",  "sf",  "smp", "snd", "sou",
                                              "sw",  "ub",  "ul", "uw",  "voc", "avi", "rm",  "mp3", "jaf"};
    std::string ext = get_extension(name);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    for (int i = 0; i < 19; ++i)
        if (ext == kExtensions[i])
            return last_file_type = i + 1;
    // A WAVE file is a WAVE file whatever was chosen before: otherwise one
    // foreign file would make every dropped or recent WAV file foreign too.
    if (ext == "wav")
        return last_file_type = kTypeWav;
    return last_file_type;
}
