#include "platform/linux/LinuxPlatform.h"
#include "tools/Command.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>

namespace {

using namespace trigora;

/// The root below which this program is installed as usr/bin/trigoractl; empty when it is not. Without it the
/// platform would look below "/" only.
std::string rootOfThisProgram() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path root = program.parent_path().parent_path().parent_path();
    const bool isInstalled = !error && program == root / "usr/bin/trigoractl" &&
                             std::filesystem::is_directory(root / "Applications/Pelox Software", error);
    return isInstalled ? root.string() : std::string();
}

std::string chosenRoot(const tools::Arguments& arguments) {
    if (const auto root = arguments.text("root")) {
        if (!std::filesystem::is_directory(*root)) {
            throw tools::Failure(tools::notFound, "there is no folder " + *root);
        }
        return *root;
    }
    const char* variable = std::getenv("TRIGORA_ROOT");
    const bool isSet = variable != nullptr && *variable != '\0';
    return isSet ? std::string() : rootOfThisProgram();
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

} // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> words(argv + 1, argv + argc);
        std::unique_ptr<platform::LinuxPlatform> platform;
        return tools::runCommandLine(
            tools::commands(), words, std::cout, std::cerr,
            [&](const tools::Arguments& arguments) { platform = openPlatform(arguments); });
    } catch (const std::exception& exception) {
        std::cerr << "trigoractl: " << exception.what() << '\n';
        return tools::failed;
    }
}
