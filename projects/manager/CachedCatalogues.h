#pragma once

namespace trigora {

/// Drops everything that was made from the user's and the installed files, so that its next use reads them
/// afresh. Main thread only.
void SM_RefreshDataManager();

} // namespace trigora
