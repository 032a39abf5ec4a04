#include "cli_args.h"

#include "app/preferences.h"
#include "document_session.h"
#include "edit/timemarks.h"
#include "view/child_frame.h"
#include "view/time_format.h"

#include <cstdio>
#include <iostream>

// ondrava-cli marks FILE [--time-format 1|24|25|30]: the time marks stored
// in FILE, one a line: index, position in sample units, time, what it is
// (mark, pair start with its end's index, pair end) and name.
int run_marks_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"time-format"}, {});
    if (!args || args->positionals().size() != 1) {
        std::cerr << "usage: ondrava-cli marks FILE [--time-format 1|24|25|30]\n";
        return kExitUsage;
    }
    const auto format = args->integer("time-format", 1, 30, preferences().timeFormat);
    if (!format || (*format != 1 && *format != 24 && *format != 25 && *format != 30)) {
        std::cerr << "ondrava-cli: --time-format is 1, 24, 25 or 30\n";
        return kExitUsage;
    }
    DocumentSession session;
    if (!session.open(args->positionals()[0]))
        return kExitFailed;
    const CChildFrame& f = *session.active();
    for (std::size_t i = 0; i < f.timemarks.size(); ++i) {
        const Timemark& m = f.timemarks[i];
        std::string time = position_text(f, m.position, static_cast<int>(*format));
        time.erase(0, time.find_first_not_of(' '));
        std::string kind = "mark";
        if (m.second)
            kind = "pair-end";
        else if (m.partner >= 0)
            kind = "pair-start:" + std::to_string(m.partner);
        std::printf("%zu\t%u\t%s\t%s\t%s\n", i, m.position, time.c_str(), kind.c_str(), m.name.c_str());
    }
    if (f.timemarks.empty())
        std::cerr << "no time marks\n";
    return kExitOk;
}
