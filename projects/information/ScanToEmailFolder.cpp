#include "projects/information/ScanToEmailFolder.h"

#include "files/FileManagerExtension.h"
#include "files/TrFilePathUtility.h"

namespace trigora {

std::string ScanToEmailFolder::begin() {
    const auto paths = TrFilePathUtility::sharedFilePathUtility();
    std::string folder = paths->scanToEmailTempFolderPath();
    const std::lock_guard lock(mutex_);
    if (!hasPages_) {
        exRemoveItemAtPath(folder);
    }
    paths->createFolderPath(folder);
    return folder;
}

void ScanToEmailFolder::willBeScannedInto(const std::string& folder) {
    if (folder == TrFilePathUtility::sharedFilePathUtility()->scanToEmailTempFolderPath()) {
        const std::lock_guard lock(mutex_);
        hasPages_ = true;
    }
}

} // namespace trigora
