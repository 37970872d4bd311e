#include "files/ParsedFiles.h"

#include "files/PxDefParser.h"
#include "files/PxIniParser.h"

namespace trigora {

void forgetParsedFiles() {
    PxIniParser::sharedParser()->removeAllItems();
    PxDefParser::sharedDefParser()->removeAllItems();
}

} // namespace trigora
