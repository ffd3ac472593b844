// lumomath: resizes images, converts PSFs to MTFs and demonstrates the
// library's resize methods from the command line.
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include "commands.h"

namespace {

constexpr const char* kUsage =
    "usage: lumomath COMMAND [ARGS]\n"
    "\n"
    "  resize IN OUT --size SIZE [--method M] [--region X,Y,W,H] [--threads N]\n"
    "  otf PSF_IMAGE OUT_PREFIX [--double]\n"
    "  info\n"
    "  demo [IMAGE] [--out FILE]\n"
    "\n"
    "'lumomath COMMAND --help' describes a command.\n";

struct Command {
    const char* name;
    int (*run)(const lumotool::Args&);
};
constexpr Command kCommands[] = {{"resize", lumotool::RunResize},
                                 {"otf", lumotool::RunOtf},
                                 {"info", lumotool::RunInfo},
                                 {"demo", lumotool::RunDemo}};

int Fail(const char* message, int status) {
    std::fprintf(stderr, "lumomath: %s\n", message);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0 || std::strcmp(argv[1], "help") == 0) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    const lumotool::Args args(argv + 2, argv + argc);
    for (const Command& command : kCommands) {
        if (std::strcmp(argv[1], command.name) != 0) continue;
        try {
            return command.run(args);
        } catch (const lumotool::UsageError& e) {
            return Fail(e.what(), 2);
        } catch (const lumotool::ToolError& e) {
            return Fail(e.what(), 1);
        } catch (const std::bad_alloc&) {
            return Fail("out of memory", 1);
        } catch (const std::exception& e) {
            return Fail(e.what(), 1);
        }
    }
    std::fprintf(stderr, "lumomath: unknown command '%s' (try lumomath --help)\n", argv[1]);
    return 2;
}
