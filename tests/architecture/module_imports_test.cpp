// The effect modules reach the core only through the functions the core
// declares for them in src/modules/: every symbol a module imports from a
// core library must be defined by the modules library and named in one of
// the headers of src/modules/.

#include <gtest/gtest.h>

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::vector<std::string> split(const std::string& list)
{
    std::vector<std::string> parts;
    std::stringstream in(list);
    for (std::string part; std::getline(in, part, '|');)
        if (!part.empty())
            parts.push_back(part);
    return parts;
}

// The dynamic symbols nm lists for a library, defined or undefined.
std::set<std::string> dynamicSymbols(const std::string& library, bool defined)
{
    const std::string command =
        std::string("nm -D ") + (defined ? "--defined-only " : "--undefined-only ") + "'" + library + "'";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::set<std::string> symbols;
    if (!pipe)
        return symbols;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe.get())) {
        std::istringstream fields(line);
        std::vector<std::string> words;
        for (std::string w; fields >> w;)
            words.push_back(w);
        if (!words.empty())
            symbols.insert(words.back());
    }
    return symbols;
}

std::string demangled(const std::string& symbol)
{
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status),
                                                std::free);
    return status == 0 && text ? text.get() : symbol;
}

// "EffectDialog::value(std::string const&) const" -> "value".
std::string baseName(const std::string& signature)
{
    std::string name = signature.substr(0, signature.find('('));
    const auto colons = name.rfind("::");
    if (colons != std::string::npos)
        name = name.substr(colons + 2);
    return name;
}

std::string headersOf(const fs::path& folder)
{
    std::string all;
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.path().extension() == ".h") {
            std::ifstream in(entry.path());
            all += std::string(std::istreambuf_iterator<char>(in), {}) + "\n";
        }
    return all;
}

struct Import {
    std::string symbol;
    std::string library;   // the core library that defines it
};

// What `module` imports from the core libraries.
std::vector<Import> coreImports(const std::string& module, const std::vector<std::string>& coreLibraries)
{
    std::map<std::string, std::string> definedBy;
    for (const std::string& library : coreLibraries)
        for (const std::string& s : dynamicSymbols(library, true))
            definedBy.emplace(s, fs::path(library).filename().string());
    std::vector<Import> imports;
    for (const std::string& s : dynamicSymbols(module, false))
        if (auto it = definedBy.find(s); it != definedBy.end())
            imports.push_back({s, it->second});
    return imports;
}

// The imports that break the rule, one line each.
std::vector<std::string> violations(const std::vector<Import>& imports, const std::string& modulesLibrary,
                                    const std::string& moduleHeaders)
{
    std::vector<std::string> found;
    for (const Import& i : imports) {
        const std::string text = demangled(i.symbol);
        const std::regex word("\\b" + baseName(text) + "\\b");
        if (i.library != modulesLibrary)
            found.push_back(text + " comes from " + i.library);
        else if (!std::regex_search(moduleHeaders, word))
            found.push_back(text + " is declared in no header of src/modules");
    }
    return found;
}

}  // namespace

TEST(ModuleImports, EffectModulesCallOnlyTheInterfaceTheCoreDeclaresForThem)
{
    const std::vector<std::string> modules = split(ONDRAVA_EFFECT_MODULES);
    const std::vector<std::string> core = split(ONDRAVA_CORE_LIBRARIES);
    ASSERT_EQ(modules.size(), 4u);
    ASSERT_EQ(core.size(), 8u);
    const std::string modulesLibrary = "libondrava_modules.so";
    const std::string headers = headersOf(fs::path(ONDRAVA_SOURCE_DIR) / "src" / "modules");

    for (const std::string& module : modules) {
        SCOPED_TRACE(module);
        const std::vector<Import> imports = coreImports(module, core);
        // Every module runs its work through the selection processor, so an
        // empty list means nm read nothing.
        ASSERT_FALSE(imports.empty());
        for (const std::string& v : violations(imports, modulesLibrary, headers))
            ADD_FAILURE() << v;
    }

    // The check itself finds imports from elsewhere: the modules library
    // calls into the subsystems before it, which a module may not.
    std::vector<std::string> others;
    for (const std::string& library : core)
        if (fs::path(library).filename() != modulesLibrary)
            others.push_back(library);
    const std::vector<Import> reaching = coreImports(core.at(5), others);
    EXPECT_FALSE(violations(reaching, modulesLibrary, headers).empty());
}
