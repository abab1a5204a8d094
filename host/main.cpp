#include <unistd.h>

#include <cstdio>
#include <exception>

#include "host/FaultHint.h"
#include "host/Interactive.h"
#include "host/Kernel.h"
#include "host/Session.h"
#include "host/Shell.h"

namespace {

constexpr int kFault = 1, kUsage = 2;

void run(host::Shell& shell, const host::Options& options) {
    for (const std::string& command : options.commands) {
        if (!shell.runText(command, "")) return;
    }
    for (const std::string& file : options.files) {
        if (!shell.runFile(file)) return;
    }
    const bool nothingGiven = options.commands.empty() && options.files.empty();
    if (options.batch || (nothingGiven && ::isatty(STDIN_FILENO) == 0)) {
        shell.runStream(stdin, "standard input");
    } else if (nothingGiven) {
        host::runInteractive(shell);
    }
}

}  // namespace

int main(int argc, char** argv) {
    host::Options options;
    try {
        switch (host::parseOptions(argc, argv, options)) {
            case host::ParseOutcome::done:
                return 0;
            case host::ParseOutcome::usageError:
                return kUsage;
            case host::ParseOutcome::run:
                break;
        }
        const host::Session session(options);
        host::Shell shell(options.settings);
        run(shell, options);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            shell.reportFault(0, "cannot write the output");
        return shell.faulted() ? kFault : 0;
    } catch (const host::KernelError& error) {
        std::fprintf(stderr, "fault %d: %s\n%s", error.status(), error.what(),
                     host::faultHint(error.status(), options.data).c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fault 0: %s\n", error.what());
    }
    return kFault;
}
