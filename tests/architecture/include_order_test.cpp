// The core's subsystems form a line: app, wavefile, view, edit, audio,
// modules, sync, midi_tools. A file may include headers of its own subsystem
// and of those before it, never of one after it.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::vector<std::string> kOrder = {"app", "audio", "edit", "midi_tools", "modules", "sync", "view", "wavefile"};

// The position of each subsystem in the line, written out rather than taken
// from kOrder (which is sorted) so that a mistake in one shows in the other.
int rank(const std::string& subsystem)
{
    static const std::vector<std::pair<std::string, int>> ranks = {
        {"app", 0}, {"wavefile", 1}, {"view", 2}, {"edit", 3}, {"audio", 4}, {"modules", 5}, {"sync", 6}, {"midi_tools", 7}};
    for (const auto& [name, r] : ranks)
        if (name == subsystem)
            return r;
    return -1;
}

// "file:line: includes <header>" for every include of a later subsystem in
// the files under `root` (one folder per subsystem).
std::vector<std::string> upwardIncludes(const fs::path& root)
{
    static const std::regex include(R"re(^\s*#\s*include\s*"([a-z_]+)/[^"]+")re");
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string ext = entry.path().extension().string();
        if (!entry.is_regular_file() || (ext != ".cpp" && ext != ".h"))
            continue;
        const std::string subsystem = fs::relative(entry.path(), root).begin()->string();
        std::ifstream in(entry.path());
        std::string line;
        for (int n = 1; std::getline(in, line); ++n) {
            std::smatch m;
            if (std::regex_search(line, m, include) && rank(m[1]) > rank(subsystem))
                found.push_back(fs::relative(entry.path(), root).string() + ":" + std::to_string(n) + ": " + line);
        }
    }
    return found;
}

}  // namespace

TEST(IncludeOrder, EveryFolderOfTheCoreHasItsPlaceInTheLine)
{
    const fs::path src = fs::path(ONDRAVA_SOURCE_DIR) / "src";
    std::vector<std::string> folders;
    for (const auto& entry : fs::directory_iterator(src))
        if (entry.is_directory())
            folders.push_back(entry.path().filename().string());
    std::sort(folders.begin(), folders.end());
    EXPECT_EQ(folders, kOrder) << "a new subsystem folder needs its place in the order (src/CMakeLists.txt)";
    for (const std::string& f : folders)
        EXPECT_GE(rank(f), 0) << f;
}

TEST(IncludeOrder, NoFileOfTheCoreIncludesALaterSubsystem)
{
    const std::vector<std::string> found = upwardIncludes(fs::path(ONDRAVA_SOURCE_DIR) / "src");
    std::string list;
    for (const std::string& f : found)
        list += "  " + f + "\n";
    EXPECT_TRUE(found.empty()) << "includes up the order app > wavefile > view > edit > audio > modules > sync > "
                                  "midi_tools:\n"
                               << list;
}

// The check itself: a tree with one include up the line and one down it.
TEST(IncludeOrder, TheCheckFindsAnIncludeUpTheLineAndOnlyThat)
{
    const fs::path root = fs::temp_directory_path() / ("include-order-" + std::to_string(::getpid()));
    fs::create_directories(root / "view");
    fs::create_directories(root / "edit");
    std::ofstream(root / "view" / "a.cpp") << "#include \"view/a.h\"\n#include \"app/x.h\"\n  #  include \"edit/undo.h\"\n";
    std::ofstream(root / "edit" / "b.h") << "#pragma once\n#include \"view/child_frame.h\"\n#include <audio/none.h>\n";
    const std::vector<std::string> found = upwardIncludes(root);
    fs::remove_all(root);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NE(found[0].find("view/a.cpp:3:"), std::string::npos) << found[0];
}
