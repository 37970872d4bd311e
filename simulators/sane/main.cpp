// The user's hands on simulated scanners, for scripts.
#include "simulators/scanners/ScannerFolder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>

namespace trigora::simulators {

namespace {

constexpr const char* help =
    "Simulates scanners for programs that use SANE. They lie in a folder of their own.\n\n"
    "    simulated-scanner FOLDER environment                  what SANE needs to find them, as NAME=VALUE\n"
    "    simulated-scanner FOLDER list                         the devices, as SANE names them\n"
    "    simulated-scanner FOLDER plug BACKEND VENDOR MODEL    another one; writes the device\n"
    "    simulated-scanner FOLDER tap DEVICE BUTTON [MILLISECONDS]\n"
    "    simulated-scanner FOLDER press DEVICE BUTTON          until it is released\n"
    "    simulated-scanner FOLDER release DEVICE BUTTON\n"
    "    simulated-scanner FOLDER load DEVICE SHEETS           into the feeder\n"
    "    simulated-scanner FOLDER unplug DEVICE\n"
    "    simulated-scanner FOLDER replug DEVICE                writes its new name\n";

using Words = std::vector<std::string>;

ScannerControl scannerNamed(const ScannerFolder& folder, const std::string& device) {
    for (ScannerControl& scanner : folder.scanners()) {
        if (scanner.device() == device) {
            return scanner;
        }
    }
    throw std::invalid_argument("no simulated scanner is called " + device);
}

struct Command {
    std::size_t least; ///< words
    std::size_t most;
    std::function<void(ScannerFolder& folder, const Words& words)> run;
};

const std::map<std::string, Command>& commands() {
    static const std::map<std::string, Command> all{
        {"environment",
         {0, 0,
          [](ScannerFolder& folder, const Words&) {
              std::ranges::for_each(folder.environment(),
                                    [](const std::string& line) { std::puts(line.c_str()); });
          }}},
        {"list",
         {0, 0,
          [](ScannerFolder& folder, const Words&) {
              for (const ScannerControl& scanner : folder.scanners()) {
                  std::puts(scanner.device().c_str());
              }
          }}},
        {"plug",
         {3, 3,
          [](ScannerFolder& folder, const Words& words) {
              ScannerDescription description;
              description.backend = words[0];
              description.vendor = words[1];
              description.model = words[2];
              std::puts(folder.plugIn(description).device().c_str());
          }}},
        {"tap",
         {2, 3,
          [](ScannerFolder& folder, const Words& words) {
              Tap tap;
              if (words.size() > 2) {
                  tap.length = std::chrono::milliseconds(std::atoi(words[2].c_str()));
              }
              scannerNamed(folder, words[0]).tap(words[1], tap);
          }}},
        {"press",
         {2, 2,
          [](ScannerFolder& folder, const Words& words) { scannerNamed(folder, words[0]).press(words[1]); }}},
        {"release",
         {2, 2,
          [](ScannerFolder& folder, const Words& words) {
              scannerNamed(folder, words[0]).release(words[1]);
          }}},
        {"load",
         {2, 2,
          [](ScannerFolder& folder, const Words& words) {
              scannerNamed(folder, words[0]).loadSheets(std::atoi(words[1].c_str()));
          }}},
        {"unplug",
         {1, 1, [](ScannerFolder& folder, const Words& words) { scannerNamed(folder, words[0]).unplug(); }}},
        {"replug",
         {1, 1,
          [](ScannerFolder& folder, const Words& words) {
              ScannerControl scanner = scannerNamed(folder, words[0]);
              scanner.replug();
              std::puts(scanner.device().c_str());
          }}},
    };
    return all;
}

int run(const Words& words) {
    const auto command = words.size() < 2 ? commands().end() : commands().find(words[1]);
    if (command == commands().end() || words.size() - 2 < command->second.least ||
        words.size() - 2 > command->second.most) {
        std::fputs(help, words.size() == 1 && words[0] == "--help" ? stdout : stderr);
        return words.size() == 1 && words[0] == "--help" ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    ScannerFolder folder(words[0]);
    command->second.run(folder, {words.begin() + 2, words.end()});
    return EXIT_SUCCESS;
}

} // namespace

} // namespace trigora::simulators

int main(int count, char** words) {
    try {
        return trigora::simulators::run({words + 1, words + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "simulated-scanner: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
