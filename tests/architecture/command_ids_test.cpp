// Every command id is named once, in app/command_ids.h: no two names share a
// number there, and no other file of the program names a command.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string textOf(const fs::path& file)
{
    std::ifstream in(file);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

TEST(CommandIds, EachCommandIsNamedOnceInOneHeader)
{
    const fs::path root(ONDRAVA_SOURCE_DIR);
    const std::string header = textOf(root / "src/app/command_ids.h");
    static const std::regex definition(R"re(constexpr int (\w+) = (\d+);)re");
    std::map<int, std::string> byNumber;
    int count = 0;
    for (std::sregex_iterator it(header.begin(), header.end(), definition), end; it != end; ++it) {
        const int number = std::stoi((*it)[2]);
        const auto [place, added] = byNumber.emplace(number, (*it)[1]);
        EXPECT_TRUE(added) << (*it)[1] << " and " << place->second << " are both " << number;
        ++count;
    }
    // File, Edit, View, Play, the effects and the rest: far more than a few.
    EXPECT_GT(count, 60);

    // A command named anywhere else would be a second name for it.
    static const std::regex elsewhere(R"re(constexpr int (kCommand\w+|kEffect\w+|ID_\w+) =)re");
    std::vector<std::string> found;
    for (const char* folder : {"src", "gui", "tools", "modules"})
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            const std::string ext = entry.path().extension().string();
            if (!entry.is_regular_file() || (ext != ".cpp" && ext != ".h") ||
                entry.path().filename() == "command_ids.h")
                continue;
            const std::string text = textOf(entry.path());
            std::smatch m;
            if (std::regex_search(text, m, elsewhere))
                found.push_back(fs::relative(entry.path(), root).string() + ": " + m[1].str());
        }
    EXPECT_TRUE(found.empty()) << found.front();
}
