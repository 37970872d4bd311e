// The text files: parsers, event, action and project files with the texts beside them.
//
// Input: the file, then the texts beside it, with a byte 0x1E in between.

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "files/InstalledPaths.h"
#include "files/PxDefParser.h"
#include "files/PxIniParser.h"
#include "fuzz/FuzzInput.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::fuzz {
namespace {

class TextFiles : public test::PlatformTest {
public:
    explicit TextFiles(FuzzInput input) : file_(input.part()), texts_(input.part()) {
        makeFolder("/Applications/Viewer.app");
        for (const std::string& folder :
             {paths::eventFolder(), paths::actionFolder(), paths::predefinedProjectFolder()}) {
            install(folder + "/A.plg");
            install(folder + "/A.adi");
        }
        install(projectFile_);
    }

    void readCatalogue() const {
        const std::string event = paths::eventFolder() + "/A.plg";
        for (const std::string& section : PxIniParser::sharedParser()->sectionNamesWithFilePath(event)) {
            PxIniParser::sharedParser()->valueWithFilePath(event, section, "EventID");
        }
        PxDefParser::sharedDefParser()->fileContentsWithPath(event);
        TrEventInformation::initWithPath(event);
        const auto action = TrActionInformation::initWithPath(paths::actionFolder() + "/A.adi");
        action->projectApplicationName();
        const TrProjectManager manager;
    }

    /// What was read and written once stays the same ever after.
    void rewriteProject() {
        const std::string written = rewritten();
        require(written == rewritten(), "a project is written as it was read");
    }

private:
    void TestBody() override {}

    void install(const std::string& path) {
        writeFile(path, file_);
        writeFile(platform::deletingPathExtension(path) + "/String.def", texts_);
    }

    std::string rewritten() {
        PxIniParser::sharedParser()->removeAllItems();
        PxDefParser::sharedDefParser()->removeAllItems();
        const auto project = TrProjectInformation::initWithPath(home + projectFile_.substr(1));
        project->setScanSettingsPath(std::nullopt); // which may lie anywhere
        project->menuTitle();
        project->writeProjectInformation();
        return readFile(projectFile_) + readFile("~/Projects/A/String.def");
    }

    const std::string file_;
    const std::string texts_;
    const std::string projectFile_ = "~/Projects/A.plg";
};

} // namespace
} // namespace trigora::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    trigora::fuzz::TextFiles files(trigora::fuzz::FuzzInput(bytes, size));
    files.readCatalogue();
    files.rewriteProject();
    return 0;
}
