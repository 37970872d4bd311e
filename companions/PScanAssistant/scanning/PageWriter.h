#pragma once

#include "companions/PScanAssistant/documents/PageImage.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace trigora::companions {

/// Writes pages on a thread of its own while the next one is read. There are never more than two of them: the
/// one that is being written, and the one that waits for it.
class PageWriter {
public:
    /// Answers false when the page could not be written; it is not called again then.
    using Write = std::function<bool(PageImage)>;

    explicit PageWriter(Write write);
    PageWriter(const PageWriter&) = delete;
    PageWriter& operator=(const PageWriter&) = delete;
    /// Waits until all has been written.
    ~PageWriter();

    /// Hands over a page as soon as the one before has been written. False when writing has failed.
    bool put(PageImage page);
    /// Waits until all has been written; false when that has failed.
    bool finish();

private:
    void run();

    Write write_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<PageImage> page_; // guarded by mutex_
    bool isWriting_ = false;        // guarded by mutex_
    bool isEnding_ = false;         // guarded by mutex_
    bool hasFailed_ = false;        // guarded by mutex_
    std::thread thread_;
};

} // namespace trigora::companions
