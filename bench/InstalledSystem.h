#pragma once

#include <string>

namespace trigora::bench {

constexpr const char* driverName = "Bench Scanner";
/// The button whose event the catalogue binds to the last but one of the user's projects.
constexpr int pressedButton = 50;

/// The system as its users have it: installed by the build's own installation into a root of its own, with a
/// home of its own, a catalogue of 50 events and 200 projects of the user's, and a stand-in in the place of
/// the scan assistant. While it lives, HOME and TRIGORA_ROOT of this process lead there.
class InstalledSystem {
public:
    static constexpr int eventCount = 50;
    static constexpr int projectCount = 200;

    InstalledSystem();
    ~InstalledSystem();
    InstalledSystem(const InstalledSystem&) = delete;
    InstalledSystem& operator=(const InstalledSystem&) = delete;

    std::string agentProgram() const;
    std::string assistantProgram() const;
    const std::string& folder() const { return folder_; }

private:
    std::string onDisk(const std::string& installedPath) const { return folder_ + "/root" + installedPath; }
    void install() const;
    void writeEvents() const;
    void writeProjects() const;

    std::string folder_;
};

} // namespace trigora::bench
