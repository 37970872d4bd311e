#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace trigora::test {

/// A message bus of the test's own, which knows no installed services. While it lives it is the session
/// bus of this process and of the programs that it starts. Throws when there is no dbus-daemon.
class PrivateBus {
public:
    PrivateBus() {
        std::string name = (std::filesystem::temp_directory_path() / "trigora-bus-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder for the bus");
        }
        folder_ = name;
        start();
        if (const char* former = std::getenv(variable)) {
            formerAddress_ = former;
        }
        setenv(variable, address_.c_str(), 1);
    }
    ~PrivateBus() {
        end();
        std::error_code error;
        std::filesystem::remove_all(folder_, error);
        formerAddress_ ? setenv(variable, formerAddress_->c_str(), 1) : unsetenv(variable);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const std::string& address() const { return address_; }

    /// Ends the bus, as at the end of a session; everybody on it loses the connection.
    void end() {
        if (daemon_ > 0) {
            kill(daemon_, SIGKILL);
            waitpid(daemon_, nullptr, 0);
            daemon_ = 0;
        }
    }

private:
    static constexpr const char* variable = "DBUS_SESSION_BUS_ADDRESS";

    void start() {
        const std::string configuration = folder_ + "/bus.conf";
        std::ofstream(configuration) << "<busconfig><type>session</type><listen>unix:path=" << folder_
                                     << "/bus</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                                        "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                                        "<allow own=\"*\"/></policy></busconfig>\n";
        const std::string option = "--config-file=" + configuration;
        int channel[2];
        if (pipe2(channel, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe for the bus");
        }
        const pid_t parent = getpid();
        daemon_ = fork();
        if (daemon_ == 0) {
            // The daemon goes when the test does, however that ends.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int log = open((folder_ + "/log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            if (getppid() == parent && dup2(channel[1], STDOUT_FILENO) >= 0 &&
                dup2(log, STDERR_FILENO) >= 0) {
                execlp("dbus-daemon", "dbus-daemon", option.c_str(), "--nofork", "--nopidfile", "--nosyslog",
                       "--print-address=1", static_cast<char*>(nullptr));
            }
            _exit(127);
        }
        close(channel[1]);
        readAddress(channel[0]);
        close(channel[0]);
        if (address_.empty()) {
            end();
            std::ostringstream log;
            log << std::ifstream(folder_ + "/log").rdbuf();
            throw std::runtime_error("dbus-daemon cannot be started; is it installed? " + log.str());
        }
    }

    /// The daemon writes its address once it accepts connections.
    void readAddress(int descriptor) {
        char character = 0;
        while (read(descriptor, &character, 1) == 1 && character != '\n') {
            address_ += character;
        }
    }

    std::string folder_;
    std::string address_;
    std::optional<std::string> formerAddress_;
    pid_t daemon_ = 0;
};

} // namespace trigora::test
