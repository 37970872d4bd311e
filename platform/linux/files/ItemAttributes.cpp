#include "platform/linux/files/ItemAttributes.h"

#include "platform/linux/files/ItemPlace.h"

#include <array>
#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace trigora::platform {

namespace {

/// The extended attribute that holds a file's creator code, four bytes.
constexpr const char* creatorAttribute = "user.hfs.creator";

/// Runs one of the account look-ups of the C library with a buffer that grows until it is large enough.
/// Returns what `take` makes of the record, none when there is no such account.
template <typename Record, typename LookUp, typename Take> auto account(LookUp lookUp, Take take) {
    constexpr std::size_t largestBuffer = std::size_t{1} << 20;
    std::vector<char> buffer(1024);
    Record record = {};
    Record* found = nullptr;
    while (lookUp(&record, buffer.data(), buffer.size(), &found) == ERANGE && buffer.size() < largestBuffer) {
        buffer.resize(buffer.size() * 4);
    }
    return found == nullptr ? std::nullopt : std::optional(take(*found));
}

std::optional<uid_t> userID(const std::string& name) {
    return account<passwd>([&](auto... rest) { return ::getpwnam_r(name.c_str(), rest...); },
                           [](const passwd& record) { return record.pw_uid; });
}

std::optional<gid_t> groupID(const std::string& name) {
    return account<group>([&](auto... rest) { return ::getgrnam_r(name.c_str(), rest...); },
                          [](const group& record) { return record.gr_gid; });
}

bool setCreatorCode(const FileDescriptor& item, std::uint32_t code) {
    std::array<std::uint8_t, 4> bytes = {};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(code >> (24 - 8 * i));
    }
    // Without extended attributes there is nowhere to keep it, which harms nobody.
    return ::setxattr(pathOfDescriptor(item).c_str(), creatorAttribute, bytes.data(), bytes.size(), 0) == 0 ||
           errno == ENOTSUP;
}

/// Changes the accounts that exist; the kernel keeps those given as -1.
bool setAccounts(const FileDescriptor& item, const FileAttributes& attributes) {
    const auto& owner = attributes.ownerAccountName;
    const auto& group = attributes.groupOwnerAccountName;
    const std::optional<uid_t> user = owner ? userID(*owner) : std::nullopt;
    const std::optional<gid_t> users = group ? groupID(*group) : std::nullopt;
    if (!user && !users) {
        return true;
    }
    return ::chown(pathOfDescriptor(item).c_str(), user.value_or(static_cast<uid_t>(-1)),
                   users.value_or(static_cast<gid_t>(-1))) == 0;
}

} // namespace

bool applyAttributes(const FileDescriptor& item, const FileAttributes& attributes) {
    bool done = true;
    if (attributes.hfsCreatorCode) {
        done = setCreatorCode(item, *attributes.hfsCreatorCode);
    }
    // Permissions before accounts: afterwards the file may be another's. Each applies even if the other
    // does not.
    if (attributes.posixPermissions) {
        done = ::chmod(pathOfDescriptor(item).c_str(), *attributes.posixPermissions & 07777) == 0 && done;
    }
    return setAccounts(item, attributes) && done;
}

std::optional<std::uint32_t> creatorCode(const std::string& path) {
    std::array<std::uint8_t, 4> bytes = {};
    const ssize_t length = ::getxattr(path.c_str(), creatorAttribute, bytes.data(), bytes.size());
    if (length != static_cast<ssize_t>(bytes.size())) {
        return std::nullopt;
    }
    std::uint32_t code = 0;
    for (const std::uint8_t byte : bytes) {
        code = (code << 8) | byte;
    }
    return code;
}

void copyCreatorCode(const std::string& from, const FileDescriptor& to) {
    if (const std::optional<std::uint32_t> code = creatorCode(from)) {
        setCreatorCode(to, *code);
    }
}

} // namespace trigora::platform
