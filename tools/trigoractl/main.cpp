#include "platform/linux/LinuxPlatform.h"
#include "tools/commands/Commands.h"

#include <poll.h>
#include <unistd.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>

namespace {

using namespace trigora;

std::string chosenRoot(const tools::Arguments& arguments) {
    std::string root = arguments.text("root").value_or("");
    if (!root.empty() && !std::filesystem::is_directory(root)) {
        throw tools::Failure(tools::notFound, "there is no folder " + root);
    }
    return root;
}

std::unique_ptr<platform::LinuxPlatform> openPlatform(const tools::Arguments& arguments) {
    std::string error;
    auto real = platform::LinuxPlatform::create(
        {.root = chosenRoot(arguments), .mainBundlePath = {}, .needsBus = false}, error);
    if (!real) {
        throw tools::Failure(tools::failed, error);
    }
    platform::install(&real->platform());
    return real;
}

/// Whether the output is a pipe that nobody reads any more, as behind "| head".
bool hasReaderGone() {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> words(argv + 1, argv + argc);
        std::unique_ptr<platform::LinuxPlatform> platform;
        const tools::ExitCode code = tools::runCommandLine(
            tools::commands(), words, std::cout, std::cerr,
            [&](const tools::Arguments& arguments) { platform = openPlatform(arguments); });
        if (!std::cout.flush() && !hasReaderGone()) {
            std::cerr << "trigoractl: the output could not be written; is the disk full?\n";
            return code == tools::done ? tools::failed : code;
        }
        return code;
    } catch (const std::exception& exception) {
        std::cerr << "trigoractl: " << exception.what() << '\n';
        return tools::failed;
    }
}
