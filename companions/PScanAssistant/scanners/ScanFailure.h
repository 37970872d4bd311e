#pragma once

#include <string>

namespace trigora::companions {

/// Why a scan or a confirmation did not come to its end.
struct ScanFailure {
    enum class Kind {
        none,
        notFound,
        busy,
        cannotOpen,
        noAnswer,
        refusedSettings,
        emptyFeeder,
        jammed,
        coverOpen,
        lost,      ///< the scanner went away
        broken,    ///< it reports something else, or what it sends makes no sense
        cancelled, ///< by the user or by who told the assistant to quit
        atScanner, ///< cancelled with the scanner's own key
        folder,    ///< the document could not be written
        fullDisk,
        noMemory,
    };

    Kind kind = Kind::none;
    std::string reason; ///< a sentence in English without its full stop; empty when all went well

    explicit operator bool() const { return kind != Kind::none; }
};

} // namespace trigora::companions
