#include "tools/Command.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> words(argv + 1, argv + argc);
        return trigora::tools::runCommandLine(trigora::tools::commands(), words, std::cout, std::cerr);
    } catch (const std::exception& exception) {
        std::cerr << "trigoractl: " << exception.what() << '\n';
        return trigora::tools::failed;
    }
}
