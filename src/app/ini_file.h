#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// A small INI file kept exactly as the program writes it: "[Section]" lines
// and "Key=Value" lines, keys written as they are (spaces and all, no
// escaping), sections and keys in their order. Used for the profile and the
// preset files, which people and other programs read by these exact keys.
class IniFile {
public:
    // Reads a file; a missing file is an empty one. false when it exists but
    // cannot be read.
    bool load(const std::string& path);
    // Writes the whole file, replacing the old one only once the new one is
    // complete; false when it cannot be written (read-only, full).
    bool save(const std::string& path) const;

    std::optional<std::string> value(const std::string& section, const std::string& key) const;
    void set(const std::string& section, const std::string& key, const std::string& value);
    void remove(const std::string& section, const std::string& key);
    void removeSection(const std::string& section);
    bool hasSection(const std::string& section) const;
    std::vector<std::string> sectionNames() const;
    std::vector<std::string> keyNames(const std::string& section) const;
    std::string text() const;

private:
    struct Section {
        std::string name;
        std::vector<std::pair<std::string, std::string>> entries;
    };
    Section* find(const std::string& section);
    const Section* find(const std::string& section) const;
    std::vector<Section> m_sections;
};
