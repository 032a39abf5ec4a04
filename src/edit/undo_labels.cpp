#include "edit/undo_labels.h"

#include "app/command_ids.h"

#include <vector>

namespace {

struct Label {
    int code;
    const char* name;
    bool changesLength = false;
};

// "&Undo <name>...\tCtrl+Z" and "&Redo <name>...\tCtrl+Z". Insert and
// Insert Silence share "Insert"; Replace reads "Overwrite".
// The edit operations' own; the effects register theirs.
std::vector<Label>& labels()
{
    static std::vector<Label> all = {
        {kCommandPlugIn, "DirectX Plugin"},
        {kCommandMagnifiedPlot, "Magnified Plot"},
        {kCommandRecord, "Record", true},
        {kTrim, "Trim"},
        {kCrop, "Crop", true},
        {kCut, "Cut", true},
        {kCopy, "Insert", true},
        {kPaste, "Paste", true},
        {kReplace, "Overwrite", true},
        {kMix, "Mix", true},
        {kCrossfade, "Cross-fade", true},
        {kInsertSilence, "Insert", true},
    };
    return all;
}

Label* find(int code)
{
    for (Label& l : labels())
        if (l.code == code)
            return &l;
    return nullptr;
}

}  // namespace

std::optional<std::pair<std::string, std::string>> undo_labels(int code)
{
    if (const Label* l = find(code))
        return std::make_pair(std::string("&Undo ") + l->name + "...\tCtrl+Z",
                              std::string("&Redo ") + l->name + "...\tCtrl+Z");
    return std::nullopt;
}

bool changes_length(int code)
{
    const Label* l = find(code);
    return l && l->changesLength;
}

void register_undo_label(int code, const char* name, bool changesLength)
{
    if (Label* l = find(code))
        *l = {code, name, changesLength};
    else
        labels().push_back({code, name, changesLength});
}
