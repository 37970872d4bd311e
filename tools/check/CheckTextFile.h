#pragma once

#include "tools/check/Findings.h"

namespace trigora::tools {

// What the parsers pass over in silence. Each returns false when the file cannot be read at all.

/// A file of key=value lines. A missing one is a finding.
bool checkDefinitionFile(const std::string& path, Findings& findings);
/// A file of sections. A missing one is a finding.
bool checkSectionFile(const std::string& path, Findings& findings);

/// Lines within the sections of a file that say nothing, in files in which no line is meant as a remark.
/// Those before the first section are remarks.
void checkLinesOfSections(const std::string& path, Findings& findings);

/// The file of texts of an event, an action or a project, whose folder is given.
void checkTexts(const std::string& folder, Findings& findings);
/// A picture that a file names under a key; empty for none.
void checkPicture(const std::string& path, const std::string& namedBy, const std::string& key,
                  Findings& findings);

} // namespace trigora::tools
