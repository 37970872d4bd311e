#pragma once

#include "platform/Value.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace trigora {

class TrActionInformation;
struct ScanSetting;

/// One project: a saved job, with a name, a decimal ID, a type, an optional action (what runs after the
/// scan, or for a folder) and, for projects that scan, scan settings.
///
/// On disk a project My is three files: the project file My.plg, "String.def" with the name and the
/// description in the folder My beside it, and a property list of scan settings, usually in that folder,
/// too. An object is made empty, from its file (`initWithPath`) or with the defaults of a new project
/// (`setDefaultSettingsWithName`); it touches the disk again only in `writeProjectInformation`.
///
/// Types: "0x0001" scan project, "0x0002" folder project without scan settings, "0x0003" scans and is
/// described like the first, "0x8001" to "0x8003" the predefined kinds. Main thread only.
class TrProjectInformation {
public:
    TrProjectInformation() = default;
    TrProjectInformation& operator=(const TrProjectInformation&) = delete;

    /// Never null: what the file does not say stays empty, scan settings that it does not have are the
    /// default ones.
    static std::shared_ptr<TrProjectInformation> initWithPath(const std::string& path);
    /// Makes this a new project of the current scanner driver (or, without scan settings, a folder
    /// project). Nothing is written yet.
    void setDefaultSettingsWithName(const std::string& name, const std::string& projectID,
                                    bool isNecessaryScanSettings);
    /// Writes project file, string file and scan settings, each where its path is known. Failures are
    /// passed over and leave the file as it was.
    void writeProjectInformation() const;
    /// A project of its own with the same contents and a copy of the action.
    std::shared_ptr<TrProjectInformation> copyProjectInformation() const;

    void setProjectName(std::optional<std::string> projectName);
    const std::optional<std::string>& projectName() const { return projectName_; }
    /// Also stores the ID in the scan settings, every time, because they may have been replaced since.
    void setProjectID(std::optional<std::string> projectID);
    const std::optional<std::string>& projectID() const { return projectID_; }
    void setVersion(std::optional<std::string> version);
    const std::optional<std::string>& version() const { return version_; }
    void setIsShow(bool isShow) { isShow_ = isShow; }
    bool isShow() const { return isShow_; }
    /// "0x" and four hexadecimal digits.
    void setType(std::optional<std::string> type);
    const std::optional<std::string>& type() const { return type_; }
    void setScanSettingsPath(std::optional<std::string> path);
    const std::optional<std::string>& scanSettingsFilePath() const { return scanSettingsFilePath_; }
    /// Copies all entries in place of the old ones, then runs `validateFolderPath`.
    void setScanSettings(const Dictionary& scanSettings);
    const Dictionary& scanSettings() const { return scanSettings_; }
    void setIconFilePath(std::optional<std::string> path);
    const std::optional<std::string>& iconFilePath() const { return iconFilePath_; }
    void setDescription(std::optional<std::string> description);
    const std::optional<std::string>& description() const { return description_; }
    void setProjectFilePath(std::optional<std::string> path);
    const std::optional<std::string>& projectFilePath() const { return projectFilePath_; }
    /// Hexadecimal text such as "0x0003": what the user may not change.
    void setFeatureKillBits(std::optional<std::string> featureKillBits);
    const std::optional<std::string>& featureKillBits() const { return featureKillBits_; }
    void setActionInformation(std::shared_ptr<TrActionInformation> actionInformation);
    const std::shared_ptr<TrActionInformation>& actionInformation() const { return actionInformation_; }

    // Questions.

    bool isRunableProject() const;
    bool isScanAble() const;
    bool isFileFormatSelectable() const;
    bool canDeleteRename() const;
    bool isActionChangeAble() const;
    bool isSavePathChangeAble() const;
    /// Puts the user's documents folder in the place of a missing or empty folder to save into.
    void validateFolderPath();

    // Labels in the user's language; none for a value without one.

    /// The name, and behind it what the project does when there is something to say.
    std::optional<std::string> menuTitle() const;
    std::optional<std::string> tiffCompressionString() const;
    std::optional<std::string> documentSizeString() const;
    std::optional<std::string> documentSourceString() const;
    std::optional<std::string> fileFormatString() const;
    std::optional<std::string> imageColorString() const;
    std::optional<std::string> qualityTypeString() const;
    std::optional<std::string> targetFolderString() const;
    std::optional<std::string> resolutionString() const;

    // Scan settings, one entry each. A getter returns nothing for a missing entry and for one of another
    // kind; setting a text to none removes the entry.

    void setDocumentTypeAtScanSettings(std::int64_t documentType);
    std::optional<std::int64_t> documentTypeFromScanSettings() const;
    void setDocumentSizeAtScanSettings(std::int64_t documentSize);
    std::optional<std::int64_t> documentSizeFromScanSettings() const;
    void setFileFormatAtScanSettings(std::int64_t fileFormat);
    std::optional<std::int64_t> fileFormatFromScanSettings() const;
    void setImageTypeAtScanSettings(std::int64_t imageType);
    std::optional<std::int64_t> imageTypeFromScanSettings() const;
    void setDocumentSourceAtScanSettings(std::int64_t documentSource);
    std::optional<std::int64_t> documentSourceFromScanSettings() const;
    /// Dots per inch.
    void setResolutionAtScanSettings(std::int64_t resolution);
    std::optional<std::int64_t> resolutionFromScanSettings() const;
    void setQualityTypeAtScanSettings(std::int64_t qualityType);
    std::optional<std::int64_t> qualityTypeFromScanSettings() const;
    void setOrientationAtScanSettings(std::int64_t orientation);
    std::optional<std::int64_t> orientationFromScanSettings() const;
    void setUnSharpMaskAtScanSettings(bool unSharpMask);
    std::optional<bool> unSharpMaskFromScanSettings() const;
    void setDescreenAtScanSettings(bool descreen);
    std::optional<bool> descreenFromScanSettings() const;
    void setAutoEnhanceAtScanSettings(bool autoEnhance);
    std::optional<bool> autoEnhanceFromScanSettings() const;
    void setJpegCompressionAtScanSettings(std::int64_t jpegCompression);
    std::optional<std::int64_t> jpegCompressionFromScanSettings() const;
    void setByteOrderAtScanSettings(std::int64_t byteOrder);
    std::optional<std::int64_t> byteOrderFromScanSettings() const;
    void setTiffCompressionAtScanSettings(std::int64_t tiffCompression);
    std::optional<std::int64_t> tiffCompressionFromScanSettings() const;
    /// The folder to save into.
    void setFolderPathAtScanSettings(const std::optional<std::string>& folderPath);
    std::optional<std::string> folderPathFromScanSettings() const;
    /// The beginning of the scanned files' names.
    void setPrefixAtScanSettings(const std::optional<std::string>& prefix);
    std::optional<std::string> prefixFromScanSettings() const;
    void setStartNumberAtScanSettings(std::int64_t startNumber);
    std::optional<std::int64_t> startNumberFromScanSettings() const;
    void setPdfCompressionAtScanSettings(const std::optional<std::string>& pdfCompression);
    std::optional<std::string> pdfCompressionFromScanSettings() const;
    void setPdfSettingFolderAtScanSettings(const std::optional<std::string>& pdfSettingFolder);
    std::optional<std::string> pdfSettingFolderFromScanSettings() const;
    void setDriverNameAtScanSettings(const std::optional<std::string>& driverName);
    std::optional<std::string> driverNameFromScanSettings() const;
    /// Whether the driver shows its own dialog.
    void setTwainUIAtScanSettings(bool isTwainUI);
    std::optional<bool> isTwainUIFromScanSettings() const;
    /// Whether it scans without any dialog.
    void setNoneUIAtScanSettings(bool isNoneUI);
    std::optional<bool> isNoneUIFromScanSettings() const;
    /// Written by `setProjectID`.
    std::optional<std::string> projectIDFromScanSettings() const;
    void setExtFeatureBitAtScanSettings(Value extFeatureBit);
    std::optional<Value> extFeatureBitFromScanSettings() const;
    void setIPAddressAtScanSettings(const std::optional<std::string>& ipAddress);
    std::optional<std::string> ipAddressFromScanSettings() const;

private:
    TrProjectInformation(const TrProjectInformation&) = default;

    void PI_ReadProjectInformationWithPath(const std::string& path);
    void readTexts();
    void readAction(const std::string& actionID);
    void readUserApplicationAction();
    /// `storedPath` is what the project file says, none when it says nothing.
    void readScanSettings(const std::optional<std::string>& storedPath);
    std::optional<std::string> formerScanSettingsPath() const;
    /// The path of the installed action file with that ID; none when there is none.
    static std::optional<std::string> PI_AdiPathWithActionID(const std::string& actionID);
    void PI_WriteProjectFile() const;
    void PI_WriteStringDefFile(const std::string& folder) const;
    void PI_WriteScanSettingsFile() const;
    /// Makes a stored relative folder ("%…") absolute.
    void PI_CheckFolderPath();

    void PI_SetDefaultScanSettings();
    void setDefaultPdfSettings();
    void setScanToEmailSettings();
    void PI_SetProjectIDAtScanSettings(const std::optional<std::string>& projectID);
    /// Nothing removes the entry.
    void storeAtScanSettings(const ScanSetting& setting, Value value);

    std::optional<std::string> PI_MenuDescription() const;
    std::optional<std::string> PI_ActionDescription() const;
    std::string scanDescription() const;

    std::int32_t projectNumber() const;
    std::uint32_t featureKillMask() const;

    std::optional<std::string> projectName_;
    std::optional<std::string> projectID_;
    std::optional<std::string> version_;
    bool isShow_ = false;
    std::optional<std::string> type_;
    std::optional<std::string> scanSettingsFilePath_;
    Dictionary scanSettings_;
    std::optional<std::string> iconFilePath_;
    std::optional<std::string> description_;
    std::optional<std::string> projectFilePath_;
    std::optional<std::string> featureKillBits_;
    std::shared_ptr<TrActionInformation> actionInformation_;
};

} // namespace trigora
