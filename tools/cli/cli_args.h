#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

// Exit codes of ondrava-cli.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

// The arguments of one subcommand: positionals, "--name value" options and
// "--flag" switches. Which names take a value is said up front.
class CliArgs {
public:
    // Returns nothing and prints the reason when the arguments do not parse.
    static std::optional<CliArgs> parse(const std::vector<std::string>& args,
                                        const std::vector<std::string>& valueOptions,
                                        const std::vector<std::string>& flags);

    const std::vector<std::string>& positionals() const { return m_positionals; }
    bool has(const std::string& name) const;
    std::optional<std::string> value(const std::string& name) const;
    // An integer option within [min, max]; prints the reason and returns
    // nothing when it is malformed or out of range.
    std::optional<long> integer(const std::string& name, long min, long max, long fallback) const;
    // --bits: 8, 16 or 24 (PCM) or 32f (float, given as 32); `fallback`
    // when absent. Prints the reason and returns nothing when malformed.
    std::optional<int> bits(int fallback) const;

private:
    std::vector<std::string> m_positionals;
    std::map<std::string, std::string> m_values;
    std::map<std::string, bool> m_flags;
};

// Applies --device (a device's label, its name, or its number in the list of
// ondrava-cli devices) to the output or input device preference for this run.
// false (the reason printed) when no device answers to it.
bool apply_device_option(const CliArgs& args, bool output);

int run_info_command(const std::vector<std::string>& args);
int run_open_command(const std::vector<std::string>& args);
int run_new_command(const std::vector<std::string>& args);
int run_render_command(const std::vector<std::string>& args);
int run_convert_command(const std::vector<std::string>& args);
int run_run_command(const std::vector<std::string>& args);
int run_devices_command(const std::vector<std::string>& args);
int run_play_command(const std::vector<std::string>& args);
int run_record_command(const std::vector<std::string>& args);
int run_effects_command(const std::vector<std::string>& args);
int run_marks_command(const std::vector<std::string>& args);
int run_chase_command(const std::vector<std::string>& args);
int run_trigger_command(const std::vector<std::string>& args);
int run_plugins_command(const std::vector<std::string>& args);
int run_recover_command(const std::vector<std::string>& args);
