// tintara: colour conversion of values and images through ICC profiles and device links.
#include <cstdio>
#include <cstring>
#include <exception>

#include "Commands.h"

namespace host {

bool WantsHelp(Args& args, const char* usage) {
    if (args.Done() || (args.Peek() != "--help" && args.Peek() != "-h")) return false;
    std::fputs(usage, stdout);
    return true;
}

}  // namespace host

namespace {

struct Command {
    const char* name;
    int (*run)(host::Args&);
    const char* summary;
    bool reportsOnly;  // stdout holds only reports and progress, which -q silences
};

const Command kCommands[] = {
    {"info", host::RunInfo, "describe an ICC profile or a saved link (exit 1 on invalid tags)", true},
    {"convert", host::RunConvert, "convert colour values through a profile chain or a link", false},
    {"link", host::RunLink, "build a device link and save it (.icc: an ICC device link)", true},
    {"apply", host::RunApply, "convert a TIFF image through a profile chain or a link", true},
    {"testimage", host::RunTestImage, "write a test image of gradients and colour patches", true},
    {"calibrate", host::RunCalibrate, "calibration curves from measured step wedges", true},
    {"chart", host::RunChart, "show or convert a measurement file (CGATS)", false},
};

void Usage(FILE* out) {
    std::fprintf(out, "usage: tintara COMMAND [OPTIONS] ...\n       tintara --version\n\ncommands:\n");
    for (const auto& command : kCommands) std::fprintf(out, "  %-10s %s\n", command.name, command.summary);
    std::fprintf(out, "\n'tintara COMMAND --help' describes a command. -q (--quiet) after the command\n"
                      "silences the reports and progress of info, link, apply, testimage and calibrate;\n"
                      "--progress draws their progress bars even when stdout is no terminal, from the\n"
                      "start (on a terminal they appear once work takes more than a second);\n"
                      "errors still go to stderr and the exit code tells the outcome:\n"
                      "0 done, 1 failed, 2 a mistake on the command line.\n");
}

// Takes the option `longName` (or `shortName`) out of the command's words; true when it was there.
bool TakeFlag(int& argc, char** argv, const char* shortName, const char* longName) {
    bool found = false;
    int kept = 2;
    for (int i = 2; i < argc; ++i) {
        if (!std::strcmp(argv[i], shortName) || !std::strcmp(argv[i], longName)) found = true;
        else argv[kept++] = argv[i];
    }
    argc = kept;
    return found;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        Usage(stderr);
        return 2;
    }
    if (!std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
        Usage(stdout);
        return 0;
    }
    if (!std::strcmp(argv[1], "--version") || !std::strcmp(argv[1], "-V")) {
        std::printf("tintara %s\n", TINTARA_VERSION);
        return 0;
    }
    for (const auto& command : kCommands) {
        if (std::strcmp(argv[1], command.name) != 0) continue;
        const bool quiet = TakeFlag(argc, argv, "-q", "--quiet");
        const bool progress = TakeFlag(argc, argv, "--progress", "--progress");
        if ((quiet || progress) && !command.reportsOnly) {
            std::fprintf(stderr, "tintara %s: %s does not apply: its output is the result (see 'tintara %s --help')\n",
                         command.name, quiet ? "-q" : "--progress", command.name);
            return 2;
        }
        // The reports go to stdout; errors stay on stderr.
        if (quiet && !std::freopen("/dev/null", "w", stdout)) return 1;
        if (progress) host::ProgressBar::DrawAlways();
        try {
            host::Args args(argc, argv, 2);
            return command.run(args);
        } catch (const host::UsageError& error) {
            std::fprintf(stderr, "tintara %s: %s (see 'tintara %s --help')\n", command.name, error.what(),
                         command.name);
            return 2;
        } catch (const host::Failure& error) {
            std::fprintf(stderr, "tintara %s: %s\n", command.name, error.what());
            return 1;
        } catch (const std::bad_alloc&) {
            std::fprintf(stderr, "tintara %s: out of memory\n", command.name);
            return 1;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "tintara %s: %s\n", command.name, error.what());
            return 1;
        }
    }
    std::fprintf(stderr, "tintara: unknown command '%s'\n", argv[1]);
    Usage(stderr);
    return 2;
}
