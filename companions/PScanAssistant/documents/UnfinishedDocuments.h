#pragma once

#include "companions/PScanAssistant/documents/DocumentWriter.h"

#include <string>
#include <vector>

namespace trigora::companions {

/// What has become of a document whose program was killed.
struct RescuedDocument {
    std::string path; ///< on the disk
    std::size_t pages = 0;
};

/// Notes beside a file in the work folder what it is going to be, so that a later program can complete it.
/// The note goes with `forget`. Nothing happens for a file that has no name there.
void noteUnfinished(const DocumentFile& file, FileFormat format, const std::string& folder,
                    const NumberedName& name);
void forgetUnfinished(const std::string& workPath);

/// Completes what killed programs have left in the work folder and gives it its name where it was to go, or
/// else in the first of the other folders that takes it. What is still being written is left alone.
std::vector<RescuedDocument> rescueUnfinished(const std::string& workFolder,
                                              const std::vector<std::string>& otherFolders);

/// Publishes a file in the folder, which is made anew when it has gone, or else in the first of the other
/// folders that takes it: its path there. None, with the first error number in errno, when none takes it.
std::optional<std::string> publishSomewhere(DocumentFile& file, const std::string& folder,
                                            const std::vector<std::string>& otherFolders, NumberedName& name);

} // namespace trigora::companions
