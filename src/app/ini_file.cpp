#include "app/ini_file.h"

#include "app/atomic_file.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace {

std::string trimmed(const std::string& s)
{
    const auto begin = s.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return {};
    return s.substr(begin, s.find_last_not_of(" \t\r") - begin + 1);
}

// Section and key names compare without regard to case, as the profile
// functions always have.
bool sameName(const std::string& a, const std::string& b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}

}  // namespace

bool IniFile::load(const std::string& path)
{
    m_sections.clear();
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return true;
    std::ifstream in(path);
    if (!in)
        return false;
    std::string line;
    Section* current = nullptr;
    while (std::getline(in, line)) {
        const std::string t = trimmed(line);
        if (t.empty() || t[0] == ';')
            continue;
        if (t.front() == '[' && t.back() == ']') {
            const std::string name = t.substr(1, t.size() - 2);
            current = find(name);
            if (!current) {
                m_sections.push_back({name, {}});
                current = &m_sections.back();
            }
            continue;
        }
        const auto eq = t.find('=');
        if (!current || eq == std::string::npos || eq == 0)
            continue;  // a line that is not an entry is passed over
        current->entries.emplace_back(trimmed(t.substr(0, eq)), trimmed(t.substr(eq + 1)));
    }
    return true;
}

std::string IniFile::text() const
{
    std::ostringstream out;
    for (const Section& s : m_sections) {
        out << "[" << s.name << "]\n";
        for (const auto& [key, value] : s.entries)
            out << key << "=" << value << "\n";
        out << "\n";
    }
    return out.str();
}

bool IniFile::save(const std::string& path) const
{
    // Written beside the old file and renamed over it: a full disk or a kill
    // halfway leaves the previous file whole.
    AtomicFile file;
    if (!file.begin(path))
        return false;
    {
        std::ofstream out(file.temporaryPath(), std::ios::trunc);
        if (!out)
            return false;
        out << text();
        out.flush();
        if (!out)
            return false;
    }
    return file.commit();
}

IniFile::Section* IniFile::find(const std::string& section)
{
    for (Section& s : m_sections)
        if (sameName(s.name, section))
            return &s;
    return nullptr;
}

const IniFile::Section* IniFile::find(const std::string& section) const
{
    return const_cast<IniFile*>(this)->find(section);
}

std::optional<std::string> IniFile::value(const std::string& section, const std::string& key) const
{
    if (const Section* s = find(section))
        for (const auto& [k, v] : s->entries)
            if (sameName(k, key))
                return v;
    return std::nullopt;
}

void IniFile::set(const std::string& section, const std::string& key, const std::string& value)
{
    Section* s = find(section);
    if (!s) {
        m_sections.push_back({section, {}});
        s = &m_sections.back();
    }
    for (auto& [k, v] : s->entries)
        if (sameName(k, key)) {
            v = value;
            return;
        }
    s->entries.emplace_back(key, value);
}

void IniFile::remove(const std::string& section, const std::string& key)
{
    if (Section* s = find(section))
        std::erase_if(s->entries, [&](const auto& e) { return sameName(e.first, key); });
}

void IniFile::removeSection(const std::string& section)
{
    std::erase_if(m_sections, [&](const Section& s) { return sameName(s.name, section); });
}

bool IniFile::hasSection(const std::string& section) const { return find(section) != nullptr; }

std::vector<std::string> IniFile::sectionNames() const
{
    std::vector<std::string> names;
    for (const Section& s : m_sections)
        names.push_back(s.name);
    return names;
}

std::vector<std::string> IniFile::keyNames(const std::string& section) const
{
    std::vector<std::string> names;
    if (const Section* s = find(section))
        for (const auto& entry : s->entries)
            names.push_back(entry.first);
    return names;
}
