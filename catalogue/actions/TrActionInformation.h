#pragma once

#include "platform/Value.h"

#include <memory>
#include <optional>
#include <string>

namespace trigora {

/// What a project does after, or instead of, scanning: the application to launch and how to hand it the job.
/// Read from an installed action file, or filled in by the reader of a project file. Main thread only.
class TrActionInformation {
public:
    /// The ID of the action whose application the user has chosen.
    static constexpr const char* userApplicationID = "900";

    /// The option that an option type says by its sixth character: "0x0001", "0x0002" or "unknown".
    static std::string optionOfType(const std::string& optionType);

    /// Everything is none.
    TrActionInformation() = default;

    /// Reads an action file and the localized texts beside it. Never null: a missing file or key leaves
    /// fields none. The file path is not kept; callers set it.
    static std::shared_ptr<TrActionInformation> initWithPath(const std::string& path);
    static std::shared_ptr<TrActionInformation> initWithActionID(const std::optional<std::string>& actionID);

    /// A new action with the same fields. The application path is resolved again on the way, so an
    /// application that has gone since leaves the copy without one.
    std::shared_ptr<TrActionInformation> copyActionInformation() const;

    const std::optional<std::string>& actionFilePath() const { return string_ActionFilePath; }
    void setActionFilePath(std::optional<std::string> path) { string_ActionFilePath = std::move(path); }
    const std::optional<std::string>& actionID() const { return string_ActionID; }
    void setActionID(std::optional<std::string> actionID) { string_ActionID = std::move(actionID); }
    const std::optional<std::string>& description() const { return string_Description; }
    void setDescription(std::optional<std::string> description) {
        string_Description = std::move(description);
    }
    /// "0x0001", "0x0002", "unknown", or what a project's reader sets.
    const std::optional<std::string>& option() const { return string_Option; }
    void setOption(std::optional<std::string> option) { string_Option = std::move(option); }
    const std::optional<Dictionary>& optionData() const { return dictionary_OptionData; }
    void setOptionData(std::optional<Dictionary> data) { dictionary_OptionData = std::move(data); }
    const std::optional<std::string>& version() const { return string_Version; }
    void setVersion(std::optional<std::string> version) { string_Version = std::move(version); }
    const std::optional<std::string>& applicationPath() const { return string_ApplicationPath; }
    /// Keeps where the application is found: at the path, or beside it with the extension "app"; none when
    /// it is at neither. The scanning application is looked for in the maker's folder first.
    void setApplicationPath(const std::optional<std::string>& path);
    const std::optional<std::string>& maker() const { return string_Maker; }
    void setMaker(std::optional<std::string> maker) { string_Maker = std::move(maker); }
    /// The application's name for the user. Without one it is taken, once, from the application path.
    const std::optional<std::string>& projectApplicationName();
    void setProjectApplicationName(std::optional<std::string> name) {
        string_ProjectApplicationName = std::move(name);
    }
    /// The application's creator code as text.
    const std::optional<std::string>& signature() const { return string_Signature; }
    void setSignature(std::optional<std::string> signature) { string_Signature = std::move(signature); }

    /// Whether there is an application path with something at it.
    bool isRunableAction() const;

private:
    void AI_ReadActionFile(const std::string& path);

    std::optional<std::string> string_ActionFilePath;
    std::optional<std::string> string_ActionID;
    std::optional<std::string> string_Description;
    std::optional<std::string> string_Option;
    std::optional<Dictionary> dictionary_OptionData;
    std::optional<std::string> string_Version;
    std::optional<std::string> string_ApplicationPath;
    std::optional<std::string> string_Maker;
    std::optional<std::string> string_ProjectApplicationName;
    std::optional<std::string> string_Signature;
};

} // namespace trigora
