#include "edit/undo_labels.h"

namespace {

struct Label {
    int code;
    const char* name;
};

// "&Undo <name>...\tCtrl+Z" and "&Redo <name>...\tCtrl+Z". Insert and
// Insert Silence share "Insert"; Replace reads "Overwrite".
constexpr Label kLabels[] = {
    {181, "DirectX Plugin"},     {393, "Magnified Plot"},  {1813, "Record"},      {1881, "Trim"},
    {11301, "Clear"},            {11302, "Crop"},          {11303, "Cut"},        {11304, "Insert"},
    {11305, "Paste"},            {11306, "Overwrite"},     {11307, "Mix"},        {11311, "Cross-fade"},
    {11500, "Tempo"},            {11501, "Amplify"},       {11502, "Pitch"},      {11503, "Compress/Expand"},
    {11504, "Echo"},             {11505, "Envelope"},      {11506, "Equalize"},   {11507, "Fade"},
    {11508, "Flange"},           {11509, "Filter"},        {11510, "Modulate"},   {11511, "Noise reduction"},
    {11512, "Pan"},              {11513, "Quantize"},      {11514, "Reverb"},     {11515, "Reverse"},
    {11516, "Localize sound"},   {11517, "Special effects"}, {11518, "Insert"},
};

}  // namespace

std::optional<std::pair<std::string, std::string>> undo_labels(int code)
{
    for (const Label& l : kLabels)
        if (l.code == code)
            return std::make_pair(std::string("&Undo ") + l.name + "...\tCtrl+Z",
                                  std::string("&Redo ") + l.name + "...\tCtrl+Z");
    return std::nullopt;
}

bool changes_length(int code)
{
    switch (code) {
    case 11302: case 11303: case 11304: case 11305: case 11306: case 11307: case 11311: case 11518: case 1813: case 11500:
        return true;
    default:
        return false;
    }
}
