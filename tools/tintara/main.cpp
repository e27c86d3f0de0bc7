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
};

const Command kCommands[] = {
    {"info", host::RunInfo, "show the header, tag table and tags of an ICC profile"},
    {"convert", host::RunConvert, "convert colour values through a profile chain or a link"},
    {"link", host::RunLink, "build a device link from a profile chain and save it"},
    {"apply", host::RunApply, "convert a TIFF image through a profile chain or a link"},
    {"testimage", host::RunTestImage, "write a test image of gradients and colour patches"},
    {"calibrate", host::RunCalibrate, "calibration curves from measured step wedges"},
    {"chart", host::RunChart, "show or convert a measurement file (CGATS)"},
};

void Usage(FILE* out) {
    std::fprintf(out, "usage: tintara COMMAND [OPTIONS] ...\n\ncommands:\n");
    for (const auto& command : kCommands) std::fprintf(out, "  %-10s %s\n", command.name, command.summary);
    std::fprintf(out, "\n'tintara COMMAND --help' describes a command.\n");
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
    for (const auto& command : kCommands) {
        if (std::strcmp(argv[1], command.name) != 0) continue;
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
