#pragma once

namespace trigora {

/// Has every file that a parser remembers read afresh at its next use. Any thread.
void forgetParsedFiles();

} // namespace trigora
