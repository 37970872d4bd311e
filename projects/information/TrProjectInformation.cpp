#include "projects/information/TrProjectInformation.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/drivers/TrScannerDriverManager.h"
#include "files/TrFilePathUtility.h"
#include "platform/Text.h"
#include "projects/information/ProjectFileName.h"

#include <utility>

namespace trigora {

namespace {

// What the feature kill bits forbid.
constexpr std::uint32_t savePathChange = 0x1;
constexpr std::uint32_t actionChange = 0x2;
constexpr std::uint32_t fileFormatSelection = 0x4;
constexpr std::uint32_t deleteAndRename = 0x8;

std::string projectFilePathInFolder(const std::string& folder, const std::string& fileName) {
    return platform::appendingPathExtension(platform::appendingPathComponent(folder, fileName), "plg");
}

} // namespace

std::shared_ptr<TrProjectInformation> TrProjectInformation::initWithPath(const std::string& path) {
    auto project = std::make_shared<TrProjectInformation>();
    project->PI_ReadProjectInformationWithPath(path);
    return project;
}

void TrProjectInformation::setDefaultSettingsWithName(const std::string& name, const std::string& projectID,
                                                      bool isNecessaryScanSettings) {
    const auto paths = TrFilePathUtility::sharedFilePathUtility();
    const std::string fileName = projectFileName(name);
    setProjectName(name);
    setProjectID(projectID);
    setIsShow(true);
    setVersion("2.1");
    setIconFilePath(paths->customProjectIconPath());
    setActionInformation(nullptr);
    setDescription("");
    setFeatureKillBits(std::nullopt);
    if (!isNecessaryScanSettings) {
        setType("0x0002");
        setProjectFilePath(projectFilePathInFolder(paths->customFolderProjectFolderPath(), fileName));
        setScanSettingsPath(std::nullopt);
        return;
    }
    const auto driver =
        TrScannerDriverManager::sharedScannerDriverManager()->currentScannerDriverInformation();
    const std::string folder = paths->customProjectPathWithScannerDriver(driver);
    const std::string ownFolder = platform::appendingPathComponent(folder, fileName);
    setType("0x0001");
    setProjectFilePath(projectFilePathInFolder(folder, fileName));
    setScanSettingsPath(platform::appendingPathComponent(ownFolder, paths->scanSettingsFileName()));
    PI_SetDefaultScanSettings();
}

std::shared_ptr<TrProjectInformation> TrProjectInformation::copyProjectInformation() const {
    std::shared_ptr<TrProjectInformation> copy(new TrProjectInformation(*this));
    if (actionInformation_) {
        copy->actionInformation_ = actionInformation_->copyActionInformation();
    }
    return copy;
}

void TrProjectInformation::setProjectName(std::optional<std::string> projectName) {
    projectName_ = std::move(projectName);
}

void TrProjectInformation::setProjectID(std::optional<std::string> projectID) {
    projectID_ = std::move(projectID);
    PI_SetProjectIDAtScanSettings(projectID_);
}

void TrProjectInformation::setVersion(std::optional<std::string> version) { version_ = std::move(version); }

void TrProjectInformation::setType(std::optional<std::string> type) { type_ = std::move(type); }

void TrProjectInformation::setScanSettingsPath(std::optional<std::string> path) {
    scanSettingsFilePath_ = std::move(path);
}

void TrProjectInformation::setIconFilePath(std::optional<std::string> path) {
    iconFilePath_ = std::move(path);
}

void TrProjectInformation::setDescription(std::optional<std::string> description) {
    description_ = std::move(description);
}

void TrProjectInformation::setProjectFilePath(std::optional<std::string> path) {
    projectFilePath_ = std::move(path);
}

void TrProjectInformation::setFeatureKillBits(std::optional<std::string> featureKillBits) {
    featureKillBits_ = std::move(featureKillBits);
}

void TrProjectInformation::setActionInformation(std::shared_ptr<TrActionInformation> actionInformation) {
    actionInformation_ = std::move(actionInformation);
}

bool TrProjectInformation::isRunableProject() const {
    return actionInformation_ && actionInformation_->isRunableAction();
}

bool TrProjectInformation::isScanAble() const {
    return type_ == "0x0001" || type_ == "0x0003" || type_ == "0x8001" || type_ == "0x8003";
}

bool TrProjectInformation::isFileFormatSelectable() const {
    return (featureKillMask() & fileFormatSelection) == 0;
}

bool TrProjectInformation::canDeleteRename() const { return (featureKillMask() & deleteAndRename) == 0; }

// The texts "0x0002" and "0x0003" forbid it by themselves, too; both have the bit.
bool TrProjectInformation::isActionChangeAble() const { return (featureKillMask() & actionChange) == 0; }

// The texts "0x0001" and "0x0003" forbid it by themselves, too; both have the bit.
bool TrProjectInformation::isSavePathChangeAble() const { return (featureKillMask() & savePathChange) == 0; }

std::int32_t TrProjectInformation::projectNumber() const {
    return platform::integerValue(projectID_.value_or(""));
}

std::uint32_t TrProjectInformation::featureKillMask() const {
    return platform::hexadecimalValue(featureKillBits_.value_or(""));
}

} // namespace trigora
